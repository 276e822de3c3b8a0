#include "core/extraction/readers/markup/HTMLEntities.h"

#include "core/extraction/readers/Ascii.h"
#include "core/extraction/readers/markup/HTMLEntityTable.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>

namespace vesto::readers {
namespace {

constexpr std::size_t longestName = 8;

/// Numbers of 0x80 to 0x9F mean what windows-1252 has there.
constexpr std::array<char32_t, 32> windowsScalars{
    0x20AC, 0x81,   0x201A, 0x192,  0x201E, 0x2026, 0x2020, 0x2021, 0x2C6,  0x2030, 0x160,
    0x2039, 0x152,  0x8D,   0x17D,  0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x2DC,  0x2122, 0x161,  0x203A, 0x153,  0x9D,   0x17E,  0x178};

char32_t scalarOfNumber(char32_t number) {
    if (number >= 0x80 && number < 0xA0)
        return windowsScalars[number - 0x80];
    const bool isScalar = number > 0 && number < 0x110000 && (number < 0xD800 || number > 0xDFFF);
    return isScalar ? number : unicode::replacementCharacter;
}

EntityReference numberAt(std::string_view text) {
    std::size_t i = 2;
    const bool isHex = i < text.size() && ascii::lower(text[i]) == 'x';
    i += isHex ? 1 : 0;
    const std::size_t begin = i;
    char32_t number = 0;
    for (; i < text.size() && (isHex ? ascii::hexValue(text[i]) >= 0 : ascii::isDigit(text[i])); ++i)
        number = std::min<char32_t>(
            number * (isHex ? 16 : 10) + static_cast<char32_t>(ascii::hexValue(text[i])), 0x110000);
    if (i == begin)
        return {0, 0};
    const bool isClosed = i < text.size() && text[i] == ';';
    return {scalarOfNumber(number), i + (isClosed ? 1 : 0)};
}

} // namespace

EntityReference entityAt(std::string_view text) {
    if (text.starts_with("&#"))
        return numberAt(text);
    std::size_t end = 1;
    while (end < text.size() && end <= longestName + 1 && ascii::isAlphanumeric(text[end]))
        ++end;
    const std::string_view name = text.substr(1, end - 1);
    const auto found = std::ranges::lower_bound(htmlEntityTable, name, {}, &HTMLEntity::name);
    if (found == htmlEntityTable.end() || found->name != name)
        return {0, 0};
    if (end < text.size() && text[end] == ';')
        return {found->scalar, end + 1};
    return found->scalar <= 0xFF ? EntityReference{found->scalar, end} : EntityReference{0, 0};
}

std::string decodeEntities(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '&') {
            const auto [scalar, size] = entityAt(text.substr(i));
            if (size > 0) {
                unicode::append(decoded, scalar);
                i += size;
                continue;
            }
        }
        decoded += text[i++];
    }
    return decoded;
}

} // namespace vesto::readers
