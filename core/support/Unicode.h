#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Unicode work on UTF-8 text. With its neighbours (`UnicodePattern.h`, `UnicodeDates.h`, `Charset.h`) the
/// only place that includes ICU.
///
/// Every function takes any bytes: what is not valid UTF-8 counts as U+FFFD, one for each maximal bad
/// sequence. All are pure and thread-safe, run in linear time, and never fail.
namespace vesto::unicode {

inline constexpr char32_t replacementCharacter = 0xFFFD;

// ---- Scalars ----

struct Scalar {
    char32_t value;   // U+FFFD for a bad sequence
    std::size_t size; // bytes, at least 1
};

namespace detail {
[[nodiscard]] Scalar multibyteScalarAt(std::string_view text, std::size_t offset);
[[nodiscard]] Scalar multibyteScalarBefore(std::string_view text, std::size_t offset);
[[nodiscard]] bool isLetterOrMarkBeyondASCII(char32_t scalar);
[[nodiscard]] bool isLetterBeyondASCII(char32_t scalar);
[[nodiscard]] bool isMarkBeyondASCII(char32_t scalar);
[[nodiscard]] bool isNumberBeyondASCII(char32_t scalar);
[[nodiscard]] bool isDecimalDigitBeyondASCII(char32_t scalar);
[[nodiscard]] bool isAlphanumericBeyondASCII(char32_t scalar);
[[nodiscard]] bool isWhiteSpaceBeyondASCII(char32_t scalar);

[[nodiscard]] constexpr bool isASCIILetter(char32_t scalar) {
    return (scalar >= 'a' && scalar <= 'z') || (scalar >= 'A' && scalar <= 'Z');
}
[[nodiscard]] constexpr bool isASCIIDigit(char32_t scalar) {
    return scalar >= '0' && scalar <= '9';
}
} // namespace detail

/// The scalar that starts at byte `offset`, which must be below the size.
[[nodiscard]] inline Scalar scalarAt(std::string_view text, std::size_t offset) {
    const auto first = static_cast<unsigned char>(text[offset]);
    return first < 0x80 ? Scalar{first, 1} : detail::multibyteScalarAt(text, offset);
}

/// The scalar that ends right before byte `offset`, which must be above 0.
[[nodiscard]] inline Scalar scalarBefore(std::string_view text, std::size_t offset) {
    const auto last = static_cast<unsigned char>(text[offset - 1]);
    return last < 0x80 ? Scalar{last, 1} : detail::multibyteScalarBefore(text, offset);
}

void append(std::string& text, char32_t scalar);

[[nodiscard]] bool isValid(std::string_view text);

/// The text with every bad sequence turned into U+FFFD.
[[nodiscard]] std::string repaired(std::string_view text);

// ---- Classes of one scalar ----

// ASCII, most of what is asked about, is answered on the spot.

/// General categories L and M: the «letters» that are counted.
[[nodiscard]] inline bool isLetterOrMark(char32_t scalar) {
    return scalar < 0x80 ? detail::isASCIILetter(scalar) : detail::isLetterOrMarkBeyondASCII(scalar);
}
[[nodiscard]] inline bool isLetter(char32_t scalar) { // L
    return scalar < 0x80 ? detail::isASCIILetter(scalar) : detail::isLetterBeyondASCII(scalar);
}
[[nodiscard]] inline bool isMark(char32_t scalar) { // M
    return scalar >= 0x80 && detail::isMarkBeyondASCII(scalar);
}
[[nodiscard]] inline bool isNumber(char32_t scalar) { // N
    return scalar < 0x80 ? detail::isASCIIDigit(scalar) : detail::isNumberBeyondASCII(scalar);
}
[[nodiscard]] inline bool isDecimalDigit(char32_t scalar) { // Nd, a pattern's \d
    return scalar < 0x80 ? detail::isASCIIDigit(scalar) : detail::isDecimalDigitBeyondASCII(scalar);
}
[[nodiscard]] inline bool isAlphanumeric(char32_t scalar) { // L, M and N
    return scalar < 0x80 ? detail::isASCIILetter(scalar) || detail::isASCIIDigit(scalar)
                         : detail::isAlphanumericBeyondASCII(scalar);
}
[[nodiscard]] inline bool isWhiteSpace(char32_t scalar) { // property White_Space, a pattern's \s
    return scalar < 0x80 ? scalar == ' ' || (scalar >= '\t' && scalar <= '\r')
                         : detail::isWhiteSpaceBeyondASCII(scalar);
}
[[nodiscard]] bool isSymbol(char32_t scalar);  // S
[[nodiscard]] bool isNewline(char32_t scalar); // U+000A to U+000D, U+0085, U+2028, U+2029
[[nodiscard]] bool isBlank(char32_t scalar);   // white space without line breaks: Zs and tab
[[nodiscard]] bool isControl(char32_t scalar); // Cc and Cf

/// Whether a pattern's \b holds at byte `offset`. Marks and format characters belong to what stands before
/// them.
[[nodiscard]] bool isWordBoundary(std::string_view text, std::size_t offset);

// ---- Whole texts ----

[[nodiscard]] std::string composed(std::string_view text);  // NFC
[[nodiscard]] std::string lowercase(std::string_view text); // full mapping, no locale
[[nodiscard]] std::string uppercase(std::string_view text); // full mapping, no locale

/// Full case folding without a locale, then NFC: two names are the same when their keys are equal.
[[nodiscard]] std::string caseFolded(std::string_view text);

/// Case and diacritics folded without a locale («Relevé d’août» becomes «releve d'aout»): marks dropped,
/// typographic apostrophes made straight.
[[nodiscard]] std::string folded(std::string_view text);

/// U+2019, U+2018, U+02BC, U+FF07 and "`" made the straight apostrophe.
[[nodiscard]] std::string withStraightApostrophes(std::string_view text);

/// Leading and trailing scalars of `isBlank`, respectively of `isWhiteSpace`, removed.
[[nodiscard]] std::string_view trimmedBlanks(std::string_view text);
[[nodiscard]] std::string_view trimmedWhiteSpace(std::string_view text);

// ---- Grapheme clusters (user-perceived characters) ----

[[nodiscard]] std::size_t graphemeCount(std::string_view text);

/// The first `count` grapheme clusters, or the whole text where it has no more.
[[nodiscard]] std::string_view graphemePrefix(std::string_view text, std::size_t count);

/// The longest prefix of whole grapheme clusters in at most `bytes` bytes; may be empty.
[[nodiscard]] std::string_view graphemePrefixWithin(std::string_view text, std::size_t bytes);

/// Bytes of the first, respectively last, grapheme cluster; 0 for an empty text.
[[nodiscard]] std::size_t firstGraphemeSize(std::string_view text);
[[nodiscard]] std::size_t lastGraphemeSize(std::string_view text);

} // namespace vesto::unicode
