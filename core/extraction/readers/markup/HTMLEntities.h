#pragma once
#include <cstddef>
#include <string>
#include <string_view>

/// Character references of HTML: named ones («&eacute;»), decimal and hexadecimal numbers. Linear time.
namespace vesto::readers {

struct EntityReference {
    char32_t scalar;  // U+FFFD for a number that is no scalar
    std::size_t size; // bytes that the reference takes, its semicolon included
};

/// The reference that `text`, beginning with «&», starts with; a size of 0 where there is none. The semicolon
/// may be missing after a number and after the names of Latin-1, as browsers have it.
[[nodiscard]] EntityReference entityAt(std::string_view text);

/// The text with its references replaced; what is none stays as it is.
[[nodiscard]] std::string decodeEntities(std::string_view text);

} // namespace vesto::readers
