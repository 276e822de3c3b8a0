#pragma once
#include <cstddef>
#include <optional>
#include <string_view>

/// The grammar of HTML tags, as far as the text between them depends on it.
namespace vesto::readers {

/// What starts and ends of elements mean to those around them; bits of a set.
enum TagRole : unsigned {
    listItem = 1,
    listBox = 2,
    definition = 4,
    definitionBox = 8,
    paragraph = 16,
    tableCell = 32,
    tableRow = 64,
    tableGroup = 128,
    tableBox = 256
};

struct TagTraits {
    bool isBlock = false;       // stands on lines of its own
    bool isVoid = false;        // has no content and no end tag
    bool isRaw = false;         // its content is not text, and holds no tags
    bool hides = false;         // its content is not shown
    bool isTransparent = false; // html, head, body: their end is not trusted
    bool keepsLines = false;    // pre
    bool isNavigation = false;
    bool isDrawing = false; // svg
    unsigned roles = 0;     // of TagRole
};

/// Nothing special where `name` (any letter case) is unknown.
[[nodiscard]] TagTraits traitsOf(std::string_view name);

struct Tag {
    std::string_view name = {}; // as written; empty for what is no tag: a comment, a declaration
    std::string_view attributes = {};
    bool isEnd = false;
    bool closesItself = false; // written «<…/>»
    std::size_t size = 0;      // bytes with the brackets; 0 where «<» is a plain character
};

/// What begins with the «<» that `text` starts with. What nothing closes takes the rest of the text.
[[nodiscard]] Tag tagAt(std::string_view text);

/// The value of the attribute `name`, empty where it has none; nothing where it is missing.
[[nodiscard]] std::optional<std::string_view> attribute(std::string_view attributes, std::string_view name);

} // namespace vesto::readers
