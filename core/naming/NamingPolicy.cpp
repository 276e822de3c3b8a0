#include "core/naming/NamingPolicy.h"

#include "core/naming/ScalarWalk.h"
#include "core/naming/TitleCleanup.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <algorithm>

namespace vesto {
namespace {

// Sets are looked up by scalar: "/" is a slash whatever mark follows it.
bool isForbidden(char32_t scalar) {
    return scalar < 0x80 && std::u32string_view(U"/:\\?*\"<>|").contains(scalar);
}

bool isQuote(char32_t scalar) {
    return std::u32string_view(U"\"'«»“”‘’`„").contains(scalar);
}

bool isTrailingPunctuation(char32_t scalar) {
    return std::u32string_view(U".,;!…-_–—·•").contains(scalar);
}

/// The first line that is not blank, untrimmed.
std::string_view firstFilledLine(std::string_view text) {
    while (!text.empty()) {
        text = withoutFirst(text, unicode::isNewline);
        const std::size_t end =
            skipForward(text, 0, [](char32_t scalar) { return !unicode::isNewline(scalar); });
        if (const std::string_view line = text.substr(0, end); !unicode::trimmedBlanks(line).empty())
            return line;
        text.remove_prefix(end);
    }
    return {};
}

/// What a joiner may stand between. A forbidden symbol is about to be replaced and does not count.
bool isJoinable(char32_t scalar) {
    return unicode::isLetterOrMark(scalar) || (unicode::isSymbol(scalar) && !isForbidden(scalar));
}

/// Whether the scalar at `offset` is a zero-width joiner or non-joiner that shapes its neighbours, as in
/// Persian words and in emoji.
bool isJoinerAtWork(std::string_view text, std::size_t offset, unicode::Scalar scalar) {
    const std::size_t end = offset + scalar.size;
    return (scalar.value == 0x200C || scalar.value == 0x200D) && offset > 0 && end < text.size() &&
           isJoinable(unicode::scalarBefore(text, offset).value) &&
           isJoinable(unicode::scalarAt(text, end).value);
}

/// Composed, without control characters and line breaks.
std::string composedWithoutControls(std::string_view raw) {
    std::string text = unicode::composed(raw);
    std::string kept;
    std::size_t copied = 0; // bytes of `text` that are in `kept` or dropped
    for (std::size_t offset = 0; offset < text.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        if ((unicode::isControl(scalar.value) && !isJoinerAtWork(text, offset, scalar)) ||
            unicode::isNewline(scalar.value)) {
            kept.append(text, copied, offset - copied);
            copied = offset + scalar.size;
        }
        offset += scalar.size;
    }
    if (copied == 0)
        return text;
    kept.append(text, copied);
    return unicode::composed(kept); // a letter may have met its accent
}

/// Forbidden characters made spaces ("/" and ":" made `separator`), white space collapsed and trimmed.
std::string collapsed(std::string_view text, char separator) {
    std::string result;
    result.reserve(text.size());
    bool spaceIsDue = false;
    for (std::size_t offset = 0; offset < text.size();) {
        auto [value, size] = unicode::scalarAt(text, offset);
        offset += size;
        if (value == U'/' || value == U':')
            value = static_cast<char32_t>(separator);
        if (isForbidden(value) || unicode::isWhiteSpace(value)) {
            spaceIsDue = true;
            continue;
        }
        if (spaceIsDue && !result.empty())
            result += ' ';
        spaceIsDue = false;
        unicode::append(result, value);
    }
    return result;
}

std::string_view trimmedEdges(std::string_view text) {
    text = withoutLast(unicode::trimmedBlanks(text),
                       [](char32_t scalar) { return scalar == U' ' || isTrailingPunctuation(scalar); });
    return withoutFirst(text, [](char32_t scalar) { return std::u32string_view(U". -_").contains(scalar); });
}

/// At most `limit` grapheme clusters, cut at a space where that leaves half of them.
std::string_view shortened(std::string_view text, std::size_t limit) {
    const std::string_view prefix = unicode::graphemePrefix(text, limit);
    if (prefix.size() == text.size())
        return text;
    const std::size_t space = prefix.rfind(' ');
    if (space != std::string_view::npos && unicode::graphemeCount(prefix.substr(0, space)) >= limit / 2)
        return prefix.substr(0, space);
    return prefix;
}

bool holdsTwoLetters(std::string_view text) {
    std::size_t letters = 0;
    for (std::size_t offset = 0; offset < text.size() && letters < 2;) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        letters += unicode::isLetterOrMark(scalar.value) ? 1u : 0u;
        offset += scalar.size;
    }
    return letters == 2;
}

/// The longest prefix of whole grapheme clusters within `bytes`, which may be negative, but never less than
/// the first cluster.
std::string_view cutToBytes(std::string_view text, std::int64_t bytes) {
    if (static_cast<std::int64_t>(text.size()) <= bytes)
        return text;
    const std::string_view prefix =
        unicode::graphemePrefixWithin(text, static_cast<std::size_t>(std::max<std::int64_t>(bytes, 0)));
    return prefix.empty() ? text.substr(0, unicode::firstGraphemeSize(text)) : prefix;
}

} // namespace

std::string NamingPolicy::cleanTitle(std::string_view raw) const {
    using namespace titleCleanup;
    const std::string line = composedWithoutControls(firstFilledLine(raw));
    const std::string_view named = withoutExtensions(withoutScreenshotPhrase(withoutLabel(line)));
    const std::string plain = collapsed(withoutTrailingDate(withoutLeadingDate(named)), ' ');
    const std::string_view unquoted =
        unicode::trimmedBlanks(withoutLast(withoutFirst(plain, isQuote), isQuote));
    const std::string joined = withTypographicApostrophes(unquoted);
    const auto limit = static_cast<std::size_t>(std::max<std::int64_t>(maxTitleLength, 0));
    const std::string_view title = trimmedEdges(shortened(trimmedEdges(joined), limit));
    if (!holdsTwoLetters(title))
        return {};
    const std::size_t first = unicode::firstGraphemeSize(title);
    return unicode::uppercase(title.substr(0, first)).append(title.substr(first));
}

std::string NamingPolicy::sanitizeFileName(std::string_view text) {
    const std::string plain = collapsed(composedWithoutControls(text), '-');
    const auto isDotOrSpace = [](char32_t scalar) { return scalar == U'.' || scalar == U' '; };
    return std::string(withoutLast(withoutFirst(plain, isDotOrSpace), isDotOrSpace));
}

std::string NamingPolicy::fileName(std::string_view base, std::string_view ext,
                                   std::optional<std::int64_t> suffix) const {
    constexpr std::size_t maxNumberedTailBytes = 200;
    std::string stem = sanitizeFileName(base);
    if (stem.empty())
        stem = text("Sans titre");
    const std::string dottedExtension = ext.empty() ? std::string() : "." + std::string(ext);
    std::string tail = dottedExtension;
    if (suffix)
        tail = " " + std::to_string(*suffix) + dottedExtension;
    if (tail.size() > maxNumberedTailBytes)
        tail = dottedExtension;
    // A limit from a stored record may be anything; below 0 it is as strict as 0.
    const std::int64_t limit = std::max<std::int64_t>(maxFileNameBytes, 0);
    const std::string_view cut = cutToBytes(stem, limit - static_cast<std::int64_t>(tail.size()));
    const std::int64_t room = limit - static_cast<std::int64_t>(cut.size());
    std::string_view end = tail;
    if (static_cast<std::int64_t>(tail.size()) > room)
        end = unicode::graphemePrefix(tail, static_cast<std::size_t>(std::max<std::int64_t>(room, 0)));
    return std::string(cut).append(end);
}

} // namespace vesto
