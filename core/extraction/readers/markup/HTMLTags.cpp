#include "core/extraction/readers/markup/HTMLTags.h"

#include "core/extraction/readers/Ascii.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>

namespace vesto::readers {
namespace {

struct Names {
    std::string_view words;
    void (*mark)(TagTraits&);
};

constexpr Names lists[] = {
    {"address article aside blockquote body caption center dd details dialog dir div dl dt fieldset "
     "figcaption figure "
     "footer form h1 h2 h3 h4 h5 h6 head header hgroup hr html legend li main menu nav ol p pre section "
     "summary table "
     "tbody tfoot thead title tr ul",
     [](TagTraits& traits) { traits.isBlock = true; }},
    {"area base basefont bgsound br col embed frame hr img input keygen link meta param source track wbr",
     [](TagTraits& traits) { traits.isVoid = true; }},
    {"iframe noembed noframes script style textarea title", [](TagTraits& traits) { traits.isRaw = true; }},
    {"audio canvas datalist noscript object select svg template video",
     [](TagTraits& traits) { traits.hides = true; }},
    {"body head html", [](TagTraits& traits) { traits.isTransparent = true; }},
    {"pre", [](TagTraits& traits) { traits.keepsLines = true; }},
    {"nav", [](TagTraits& traits) { traits.isNavigation = true; }},
    {"svg", [](TagTraits& traits) { traits.isDrawing = true; }},
    {"li", [](TagTraits& traits) { traits.roles |= listItem; }},
    {"ul ol menu dir", [](TagTraits& traits) { traits.roles |= listBox; }},
    {"dt dd", [](TagTraits& traits) { traits.roles |= definition; }},
    {"dl", [](TagTraits& traits) { traits.roles |= definitionBox; }},
    {"p", [](TagTraits& traits) { traits.roles |= paragraph; }},
    {"td th", [](TagTraits& traits) { traits.roles |= tableCell; }},
    {"tr", [](TagTraits& traits) { traits.roles |= tableRow; }},
    {"tbody tfoot thead", [](TagTraits& traits) { traits.roles |= tableGroup; }},
    {"table", [](TagTraits& traits) { traits.roles |= tableBox; }},
};
constexpr std::size_t longestName = 10;

std::unordered_map<std::string_view, TagTraits> traitsTable() {
    std::unordered_map<std::string_view, TagTraits> table;
    for (const Names& list : lists)
        for (std::string_view words = list.words; !words.empty();) {
            const std::size_t end = std::min(words.find(' '), words.size());
            list.mark(table[words.substr(0, end)]);
            words.remove_prefix(std::min(end + 1, words.size()));
        }
    return table;
}

struct Attribute {
    std::string_view name, value;
};

/// Takes the first attribute off; nothing at the end. `attributes` ends before the bracket of the tag.
std::optional<Attribute> takeAttribute(std::string_view& attributes) {
    std::size_t i = 0;
    const auto skipSpace = [&] {
        while (i < attributes.size() && ascii::isSpace(attributes[i]))
            ++i;
    };
    while (i < attributes.size() && (ascii::isSpace(attributes[i]) || attributes[i] == '/'))
        ++i;
    if (i == attributes.size())
        return std::nullopt;
    const std::size_t nameBegin = i++;
    while (i < attributes.size() && !ascii::isSpace(attributes[i]) && attributes[i] != '/' &&
           attributes[i] != '=')
        ++i;
    Attribute result{attributes.substr(nameBegin, i - nameBegin), {}};
    const std::size_t nameEnd = i;
    skipSpace();
    if (i == attributes.size() || attributes[i] != '=') {
        attributes.remove_prefix(nameEnd);
        return result;
    }
    ++i;
    skipSpace();
    const std::size_t valueBegin = i;
    if (i < attributes.size() && (attributes[i] == '"' || attributes[i] == '\'')) {
        const std::size_t end = std::min(attributes.find(attributes[i], i + 1), attributes.size());
        result.value = attributes.substr(i + 1, end - i - 1);
        i = std::min(end + 1, attributes.size());
    } else {
        while (i < attributes.size() && !ascii::isSpace(attributes[i]))
            ++i;
        result.value = attributes.substr(valueBegin, i - valueBegin);
    }
    attributes.remove_prefix(i);
    return result;
}

/// Where the tag whose attributes begin at `from` ends, or npos. A bracket in quotes does not end it.
std::size_t endOfTag(std::string_view text, std::size_t from) {
    for (std::size_t i = from; i < text.size(); ++i) {
        if (text[i] == '>')
            return i;
        if (text[i] != '=')
            continue;
        std::size_t value = i + 1;
        while (value < text.size() && ascii::isSpace(text[value]))
            ++value;
        if (value < text.size() && (text[value] == '"' || text[value] == '\'')) {
            i = text.find(text[value], value + 1);
            if (i == text.npos)
                return i;
        } else {
            i = value - 1;
        }
    }
    return text.npos;
}

Tag declaration(std::string_view text) {
    if (text.starts_with("<!--")) {
        const std::size_t end = text.find("-->", 2);
        return {.size = end == text.npos ? text.size() : end + 3};
    }
    const std::size_t end = text.find('>');
    return {.size = end == text.npos ? text.size() : end + 1};
}

} // namespace

TagTraits traitsOf(std::string_view name) {
    static const std::unordered_map<std::string_view, TagTraits> table = traitsTable();
    if (name.size() > longestName)
        return {};
    std::array<char, longestName> lower{};
    std::transform(name.begin(), name.end(), lower.begin(), ascii::lower);
    const auto found = table.find(std::string_view(lower.data(), name.size()));
    return found == table.end() ? TagTraits{} : found->second;
}

Tag tagAt(std::string_view text) {
    const bool isEnd = text.starts_with("</");
    const std::size_t nameBegin = isEnd ? 2 : 1;
    if (nameBegin >= text.size())
        return {};
    if (!ascii::isLetter(text[nameBegin]))
        return isEnd || text[1] == '!' || text[1] == '?' ? declaration(text) : Tag{};
    std::size_t nameEnd = nameBegin;
    while (nameEnd < text.size() && !ascii::isSpace(text[nameEnd]) && text[nameEnd] != '>' &&
           text[nameEnd] != '/')
        ++nameEnd;
    const std::size_t end = endOfTag(text, nameEnd);
    if (end == text.npos)
        return {.size = text.size()};
    const std::string_view attributes = text.substr(nameEnd, end - nameEnd);
    return {.name = text.substr(nameBegin, nameEnd - nameBegin),
            .attributes = attributes,
            .isEnd = isEnd,
            .closesItself = attributes.ends_with('/'),
            .size = end + 1};
}

std::optional<std::string_view> attribute(std::string_view attributes, std::string_view name) {
    while (const std::optional<Attribute> next = takeAttribute(attributes))
        if (ascii::equalsIgnoringCase(next->name, name))
            return next->value;
    return std::nullopt;
}

} // namespace vesto::readers
