#include "core/naming/TitleCleanup.h"

#include "core/naming/CaselessWord.h"
#include "core/naming/ScalarWalk.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <optional>

namespace vesto::titleCleanup {
namespace {

constexpr std::array<std::string_view, 11> titleExtensions{"png",  "jpg",  "jpeg", "heic", "pdf", "gif",
                                                           "tiff", "webp", "txt",  "docx", "doc"};

char asciiLowercase(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

bool isByteOf(std::string_view set, std::string_view text, std::size_t offset) {
    return offset < text.size() && set.contains(text[offset]);
}

std::size_t skipWhiteSpace(std::string_view text, std::size_t offset) {
    return skipForward(text, offset, unicode::isWhiteSpace);
}

/// The byte after white space, of which there must be some.
std::optional<std::size_t> skipSomeWhiteSpace(std::string_view text, std::size_t offset) {
    const std::size_t end = skipWhiteSpace(text, offset);
    return end > offset ? std::optional(end) : std::nullopt;
}

/// The byte after either spelling of an apostrophe.
std::optional<std::size_t> skipApostrophe(std::string_view text, std::size_t offset) {
    for (const std::string_view apostrophe : {"'", "’"})
        if (text.substr(offset).starts_with(apostrophe))
            return offset + apostrophe.size();
    return std::nullopt;
}

/// The byte after «capture d’écran» at the start.
std::optional<std::size_t> skipCaptureWords(std::string_view text) {
    auto end = skipCaselessWord(text, 0, "capture d");
    if (end)
        end = skipApostrophe(text, *end);
    if (!end || (!text.substr(*end).starts_with("é") && !text.substr(*end).starts_with("É")))
        return std::nullopt;
    return skipCaselessWord(text, *end + std::string_view("é").size(), "cran");
}

/// The byte after «de», «d’» or «of».
std::optional<std::size_t> skipArticle(std::string_view text, std::size_t offset) {
    for (const std::string_view article : {"de", "of"})
        if (const auto end = skipCaselessWord(text, offset, article))
            return end;
    const auto end = skipCaselessWord(text, offset, "d");
    return end ? skipApostrophe(text, *end) : std::nullopt;
}

bool isBetweenDateAndTime(char32_t scalar) {
    return scalar == U'T' || unicode::isWhiteSpace(scalar);
}

/// A run of decimal digits of any script.
struct Digits {
    std::size_t count = 0; // scalars
    std::size_t edge = 0;  // byte offset of the end that was walked to
};

Digits digitsFrom(std::string_view text, std::size_t offset, std::size_t most) {
    Digits digits;
    digits.edge = skipForward(text, offset, [&](char32_t scalar) {
        const bool taken = digits.count < most && unicode::isDecimalDigit(scalar);
        digits.count += taken ? 1 : 0;
        return taken;
    });
    return digits;
}

Digits digitsBefore(std::string_view text, std::size_t offset, std::size_t most) {
    Digits digits;
    digits.edge = skipBackward(text, offset, [&](char32_t scalar) {
        const bool taken = digits.count < most && unicode::isDecimalDigit(scalar);
        digits.count += taken ? 1 : 0;
        return taken;
    });
    return digits;
}

constexpr std::string_view dateSeparators = "/.-";
constexpr std::string_view hourSeparators = ":h.";
constexpr std::string_view secondSeparators = ":.";

/// The end of the date that begins at `offset`.
std::optional<std::size_t> dateEnd(std::string_view text, std::size_t offset) {
    const Digits first = digitsFrom(text, offset, 4);
    if (first.count == 0 || first.count == 3 || !isByteOf(dateSeparators, text, first.edge))
        return std::nullopt;
    const Digits second = digitsFrom(text, first.edge + 1, 2);
    if (second.count == 0 || !isByteOf(dateSeparators, text, second.edge))
        return std::nullopt;
    const bool yearFirst = first.count == 4;
    const Digits third = digitsFrom(text, second.edge + 1, yearFirst ? 2 : 4);
    return third.count >= (yearFirst ? 1u : 2u) ? std::optional(third.edge) : std::nullopt;
}

/// The leftmost begin of a date that ends at `offset`.
std::optional<std::size_t> dateBegin(std::string_view text, std::size_t offset) {
    const Digits third = digitsBefore(text, offset, 5);
    if (third.count == 0 || third.count > 4 || third.edge == 0 ||
        !isByteOf(dateSeparators, text, third.edge - 1))
        return std::nullopt;
    const Digits second = digitsBefore(text, third.edge - 1, 3);
    if (second.count == 0 || second.count > 2 || second.edge == 0 ||
        !isByteOf(dateSeparators, text, second.edge - 1))
        return std::nullopt;
    const std::size_t firstEnd = second.edge - 1;
    if (third.count <= 2)
        if (const Digits year = digitsBefore(text, firstEnd, 4); year.count == 4)
            return year.edge;
    const Digits day = digitsBefore(text, firstEnd, 2);
    return third.count >= 2 && day.count > 0 ? std::optional(day.edge) : std::nullopt;
}

/// The end of the blanks and the time that begin at `offset`, or `offset` where there are none.
std::size_t timeEnd(std::string_view text, std::size_t offset) {
    const std::size_t begin = skipForward(text, offset, isBetweenDateAndTime);
    const Digits hours = digitsFrom(text, begin, 2);
    if (begin == offset || hours.count == 0 || !isByteOf(hourSeparators, text, hours.edge))
        return offset;
    const Digits minutes = digitsFrom(text, hours.edge + 1, 2);
    if (minutes.count != 2)
        return offset;
    if (!isByteOf(secondSeparators, text, minutes.edge))
        return minutes.edge;
    const Digits seconds = digitsFrom(text, minutes.edge + 1, 2);
    return seconds.count == 2 ? seconds.edge : minutes.edge;
}

/// The begin of the blanks before the hours that end at `offset`.
std::optional<std::size_t> gapBeforeHours(std::string_view text, std::size_t offset) {
    const Digits hours = digitsBefore(text, offset, 3);
    if (hours.count == 0 || hours.count > 2)
        return std::nullopt;
    const std::size_t gap = skipBackward(text, hours.edge, isBetweenDateAndTime);
    return gap < hours.edge ? std::optional(gap) : std::nullopt;
}

/// The begin of the blanks before the time that ends at `offset`.
std::optional<std::size_t> timeBegin(std::string_view text, std::size_t offset) {
    const Digits last = digitsBefore(text, offset, 3);
    if (last.count != 2 || last.edge == 0)
        return std::nullopt;
    if (isByteOf(hourSeparators, text, last.edge - 1))
        if (const auto gap = gapBeforeHours(text, last.edge - 1))
            return gap;
    if (!isByteOf(secondSeparators, text, last.edge - 1))
        return std::nullopt;
    const Digits minutes = digitsBefore(text, last.edge - 1, 3);
    if (minutes.count != 2 || minutes.edge == 0 || !isByteOf(hourSeparators, text, minutes.edge - 1))
        return std::nullopt;
    return gapBeforeHours(text, minutes.edge - 1);
}

bool callsForElision(std::string_view text, std::size_t offset) {
    constexpr std::u32string_view vowels = U"aeiouyhéèêàâîôûAEIOUYHÉÈÊÀÂÎÔÛ";
    return offset < text.size() && vowels.contains(unicode::scalarAt(text, offset).value);
}

/// Whether the space at `offset` stands where an elision lost its apostrophe.
bool isElision(std::string_view text, std::size_t offset) {
    if (offset == 0 || !callsForElision(text, offset + 1))
        return false;
    if (isByteOf("dDlLjJnNsScCmMtT", text, offset - 1))
        return unicode::isWordBoundary(text, offset - 1);
    return offset >= 2 && text[offset - 1] == 'u' && isByteOf("qQ", text, offset - 2) &&
           unicode::isWordBoundary(text, offset - 2);
}

} // namespace

std::string_view withoutLabel(std::string_view line) {
    for (const std::string_view label : {"titre", "title", "nom", "name"}) {
        const auto labelEnd = skipCaselessWord(line, 0, label);
        if (!labelEnd)
            continue;
        const std::size_t colon = skipWhiteSpace(line, *labelEnd);
        return isByteOf(":", line, colon) ? line.substr(skipWhiteSpace(line, colon + 1)) : line;
    }
    return line;
}

std::string_view withoutScreenshotPhrase(std::string_view line) {
    auto end = skipCaselessWord(line, 0, "screenshot");
    if (!end)
        end = skipCaptureWords(line);
    if (end)
        end = skipSomeWhiteSpace(line, *end);
    if (end)
        end = skipArticle(line, *end);
    if (end)
        end = skipSomeWhiteSpace(line, *end);
    return end ? line.substr(*end) : line;
}

std::string_view withoutExtensions(std::string_view line) {
    for (const std::string_view extension : titleExtensions) {
        if (line.size() <= extension.size())
            continue;
        const std::size_t dot = line.size() - extension.size() - 1;
        if (line[dot] == '.' && std::ranges::equal(line.substr(dot + 1), extension, {}, asciiLowercase))
            line = line.substr(0, dot);
    }
    return line;
}

std::string_view withoutLeadingDate(std::string_view line) {
    const auto end = dateEnd(line, skipWhiteSpace(line, 0));
    return end ? line.substr(skipWhiteSpace(line, timeEnd(line, *end))) : line;
}

std::string_view withoutTrailingDate(std::string_view line) {
    const std::size_t end = skipBackward(line, line.size(), unicode::isWhiteSpace);
    auto begin = dateBegin(line, end);
    // «01.02.2024 03.04.05» ends with a date as well as with a time: the match that begins first counts.
    if (const auto gap = timeBegin(line, end))
        if (const auto dated = dateBegin(line, *gap))
            begin = dated;
    return begin ? line.substr(0, skipBackward(line, *begin, unicode::isWhiteSpace)) : line;
}

std::string withTypographicApostrophes(std::string_view line) {
    constexpr std::string_view apostrophe = "’";
    std::string result;
    result.reserve(line.size() + 8);
    for (std::size_t offset = 0; offset < line.size(); ++offset) {
        const char byte = line[offset];
        if (byte == '\'' || (byte == ' ' && isElision(line, offset)))
            result += apostrophe;
        else
            result += byte;
    }
    return result;
}

} // namespace vesto::titleCleanup
