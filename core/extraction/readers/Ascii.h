#pragma once
#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The grammar of the formats read here is ASCII; their text is not, and goes through core/support/Unicode.h.
namespace vesto::readers::ascii {

[[nodiscard]] constexpr char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
[[nodiscard]] constexpr bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}
[[nodiscard]] constexpr bool isLetter(char c) {
    return isLower(lower(c));
}
[[nodiscard]] constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
[[nodiscard]] constexpr bool isAlphanumeric(char c) {
    return isLetter(c) || isDigit(c);
}
[[nodiscard]] constexpr bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The value of a hexadecimal digit, or -1.
[[nodiscard]] constexpr int hexValue(char c) {
    if (isDigit(c))
        return c - '0';
    const char small = lower(c);
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

/// The number that `count` digits (nine at most) at the start of `text` make, which are taken off; nothing
/// where they are not there.
[[nodiscard]] constexpr std::optional<int> takeDigits(std::string_view& text, std::size_t count) {
    if (text.size() < count)
        return std::nullopt;
    int value = 0;
    for (const char digit : text.substr(0, count)) {
        if (!isDigit(digit))
            return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    text.remove_prefix(count);
    return value;
}

[[nodiscard]] constexpr std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

[[nodiscard]] inline std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

[[nodiscard]] constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

[[nodiscard]] constexpr bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && equalsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

/// Where `needle` (a short one) first occurs from `from` on, or npos.
[[nodiscard]] constexpr std::size_t findIgnoringCase(std::string_view text, std::string_view needle,
                                                     std::size_t from = 0) {
    for (std::size_t i = from; i + needle.size() <= text.size(); ++i)
        if (equalsIgnoringCase(text.substr(i, needle.size()), needle))
            return i;
    return std::string_view::npos;
}

} // namespace vesto::readers::ascii
