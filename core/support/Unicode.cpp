#include "core/support/Unicode.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <climits>

// The macros of <unicode/utf8.h> convert as C does.
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace vesto::unicode {
namespace {

constexpr std::size_t maxChunk = INT_MAX / 8; // ICU counts bytes in 32 bits; no text of ours comes near

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::int32_t icuSize(std::string_view text) {
    return static_cast<std::int32_t>(std::min(text.size(), maxChunk));
}

icu::StringPiece piece(std::string_view text) {
    return {text.data(), icuSize(text)};
}

std::uint32_t categoryMask(char32_t scalar) {
    return U_GET_GC_MASK(static_cast<UChar32>(scalar));
}

enum class CaseMapping { lower, upper, fold };

std::string mapCase(std::string_view text, CaseMapping mapping) {
    std::string result;
    result.reserve(text.size());
    icu::StringByteSink<std::string> sink(&result);
    UErrorCode status = U_ZERO_ERROR;
    switch (mapping) {
    case CaseMapping::lower:
        icu::CaseMap::utf8ToLower("", 0, piece(text), sink, nullptr, status);
        break;
    case CaseMapping::upper:
        icu::CaseMap::utf8ToUpper("", 0, piece(text), sink, nullptr, status);
        break;
    case CaseMapping::fold:
        icu::CaseMap::utf8Fold(0, piece(text), sink, nullptr, status);
        break;
    }
    return result;
}

std::string asciiLowercase(std::string_view text) {
    std::string result(text);
    for (char& byte : result)
        if (byte >= 'A' && byte <= 'Z')
            byte = static_cast<char>(byte - 'A' + 'a');
    return result;
}

const icu::Normalizer2& nfc() {
    UErrorCode status = U_ZERO_ERROR;
    return *icu::Normalizer2::getNFCInstance(status);
}

const icu::Normalizer2& nfd() {
    UErrorCode status = U_ZERO_ERROR;
    return *icu::Normalizer2::getNFDInstance(status);
}

/// The marks of combining class 0 that decompose to others: Tibetan vowel signs.
bool isComposedMark(char32_t scalar) {
    return scalar == 0x0F73 || scalar == 0x0F75 || scalar == 0x0F81;
}

int combiningClass(char32_t scalar) {
    return scalar < 0x300 ? 0 : u_getCombiningClass(static_cast<UChar32>(scalar));
}

/// Whether ICU, which puts marks in order by insertion, would take quadratic time: nobody writes so many.
bool holdsLongRunOfMarks(std::string_view text) {
    constexpr std::size_t longRun = 64; // scalars
    std::size_t run = 0;
    for (std::size_t offset = 0; offset < text.size() && run <= longRun;) {
        const Scalar scalar = scalarAt(text, offset);
        run = combiningClass(scalar.value) != 0 || isComposedMark(scalar.value) ? run + 1 : 0;
        offset += scalar.size;
    }
    return run > longRun;
}

/// A canonically equivalent text with its marks in order.
std::string withSortedMarks(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    std::u32string marks;
    const auto appendMarks = [&] {
        std::ranges::stable_sort(marks, {}, combiningClass);
        for (const char32_t mark : marks)
            append(result, mark);
        marks.clear();
    };
    for (std::size_t offset = 0; offset < text.size();) {
        const Scalar scalar = scalarAt(text, offset);
        offset += scalar.size;
        if (isComposedMark(scalar.value)) {
            marks += {0x0F71, scalar.value == 0x0F73   ? U'\u0F72'
                              : scalar.value == 0x0F75 ? U'\u0F74'
                                                       : U'\u0F80'};
        } else if (combiningClass(scalar.value) != 0) {
            marks += scalar.value;
        } else {
            appendMarks();
            append(result, scalar.value);
        }
    }
    appendMarks();
    return result;
}

std::string normalized(std::string_view text, const icu::Normalizer2& normalizer) {
    std::string sorted;
    if (holdsLongRunOfMarks(text)) {
        sorted = withSortedMarks(text);
        text = sorted;
    }
    std::string result;
    result.reserve(text.size());
    icu::StringByteSink<std::string> sink(&result);
    UErrorCode status = U_ZERO_ERROR;
    normalizer.normalizeUTF8(0, piece(text), sink, nullptr, status);
    return result;
}

bool isStraightenedApostrophe(char32_t scalar) {
    return scalar == 0x2019 || scalar == 0x2018 || scalar == 0x02BC || scalar == 0xFF07 || scalar == U'`';
}

/// The whole road of `folded` for text of any script.
std::string foldedByIcu(std::string_view text) {
    const std::string decomposed = normalized(mapCase(text, CaseMapping::fold), nfd());
    std::string stripped;
    stripped.reserve(decomposed.size());
    for (std::size_t offset = 0; offset < decomposed.size();) {
        const Scalar scalar = scalarAt(decomposed, offset);
        if ((categoryMask(scalar.value) & U_GC_MN_MASK) == 0)
            append(stripped, scalar.value);
        offset += scalar.size;
    }
    return normalized(stripped, nfc());
}

/// `foldedByIcu` of every scalar of Latin text, which folds scalar by scalar.
constexpr char32_t latinEnd = 0x0250;
const std::array<std::string, latinEnd>& foldedLatin() {
    static const auto table = [] {
        std::array<std::string, latinEnd> result;
        for (char32_t scalar = 0; scalar < latinEnd; ++scalar) {
            std::string text;
            append(text, scalar);
            result[scalar] = foldedByIcu(text);
        }
        return result;
    }();
    return table;
}

/// Typographic punctuation and the euro sign: common beside Latin text, and neither cased nor decomposed.
bool foldsToItself(char32_t scalar) {
    return (scalar >= 0x2010 && scalar <= 0x2027) || (scalar >= 0x202F && scalar <= 0x205E) ||
           scalar == 0x20AC;
}

} // namespace

Scalar detail::multibyteScalarAt(std::string_view text, std::size_t offset) {
    const std::string_view window = text.substr(offset, 4);
    std::int32_t position = 0;
    UChar32 scalar = 0;
    U8_NEXT_OR_FFFD(window.data(), position, static_cast<std::int32_t>(window.size()), scalar);
    return {static_cast<char32_t>(scalar), static_cast<std::size_t>(position)};
}

Scalar detail::multibyteScalarBefore(std::string_view text, std::size_t offset) {
    const std::size_t start = offset >= 4 ? offset - 4 : 0;
    const std::string_view window = text.substr(start, offset - start);
    auto position = static_cast<std::int32_t>(window.size());
    UChar32 scalar = 0;
    U8_PREV_OR_FFFD(window.data(), 0, position, scalar);
    return {static_cast<char32_t>(scalar), window.size() - static_cast<std::size_t>(position)};
}

void append(std::string& text, char32_t scalar) {
    if (scalar < 0x80) {
        text.push_back(static_cast<char>(scalar));
        return;
    }
    if (scalar > 0x10FFFF || (scalar >= 0xD800 && scalar <= 0xDFFF))
        scalar = replacementCharacter;
    std::array<char, U8_MAX_LENGTH> bytes{};
    std::size_t size = 0;
    U8_APPEND_UNSAFE(bytes.data(), size, scalar);
    text.append(bytes.data(), size);
}

bool isValid(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        const Scalar scalar = scalarAt(text, offset);
        if (scalar.value == replacementCharacter && text.substr(offset, 3) != "\xEF\xBF\xBD")
            return false;
        offset += scalar.size;
    }
    return true;
}

std::string repaired(std::string_view text) {
    if (isValid(text))
        return std::string(text);
    std::string result;
    result.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size();) {
        const Scalar scalar = scalarAt(text, offset);
        append(result, scalar.value);
        offset += scalar.size;
    }
    return result;
}

bool detail::isLetterOrMarkBeyondASCII(char32_t scalar) {
    return (categoryMask(scalar) & (U_GC_L_MASK | U_GC_M_MASK)) != 0;
}
bool detail::isLetterBeyondASCII(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_L_MASK) != 0;
}
bool detail::isMarkBeyondASCII(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_M_MASK) != 0;
}
bool detail::isNumberBeyondASCII(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_N_MASK) != 0;
}
bool detail::isDecimalDigitBeyondASCII(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_ND_MASK) != 0;
}
bool isSymbol(char32_t scalar) {
    return (categoryMask(scalar) & U_GC_S_MASK) != 0;
}
bool detail::isAlphanumericBeyondASCII(char32_t scalar) {
    return (categoryMask(scalar) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}
bool detail::isWhiteSpaceBeyondASCII(char32_t scalar) {
    return u_isUWhiteSpace(static_cast<UChar32>(scalar)) != 0;
}
bool isNewline(char32_t scalar) {
    return (scalar >= 0x0A && scalar <= 0x0D) || scalar == 0x85 || scalar == 0x2028 || scalar == 0x2029;
}
bool isBlank(char32_t scalar) {
    return scalar == U'\t' || (categoryMask(scalar) & U_GC_ZS_MASK) != 0;
}
bool isControl(char32_t scalar) {
    return (categoryMask(scalar) & (U_GC_CC_MASK | U_GC_CF_MASK)) != 0;
}

bool isWordBoundary(std::string_view text, std::size_t offset) {
    const auto belongsToPrevious = [](char32_t scalar) {
        return u_hasBinaryProperty(static_cast<UChar32>(scalar), UCHAR_GRAPHEME_EXTEND) ||
               u_charType(static_cast<UChar32>(scalar)) == U_FORMAT_CHAR;
    };
    const auto isWord = [](char32_t scalar) {
        return u_hasBinaryProperty(static_cast<UChar32>(scalar), UCHAR_ALPHABETIC) ||
               (categoryMask(scalar) & (U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK)) != 0 ||
               scalar == 0x200C || scalar == 0x200D;
    };
    bool here = false;
    if (offset < text.size()) {
        const char32_t scalar = scalarAt(text, offset).value;
        if (belongsToPrevious(scalar))
            return false;
        here = isWord(scalar);
    }
    while (offset > 0) {
        const Scalar previous = scalarBefore(text, offset);
        if (!belongsToPrevious(previous.value))
            return here != isWord(previous.value);
        offset -= previous.size;
    }
    return here;
}

std::string composed(std::string_view text) {
    return isAscii(text) ? std::string(text) : normalized(repaired(text), nfc());
}

std::string lowercase(std::string_view text) {
    return isAscii(text) ? asciiLowercase(text) : mapCase(text, CaseMapping::lower);
}

std::string uppercase(std::string_view text) {
    return mapCase(text, CaseMapping::upper);
}

std::string caseFolded(std::string_view text) {
    if (isAscii(text))
        return asciiLowercase(text);
    // Composed before and after: folding can leave a text that is not composed, and its result depends on
    // order.
    return composed(mapCase(composed(text), CaseMapping::fold));
}

std::string folded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    const auto& latin = foldedLatin();
    std::size_t segmentStart = 0; // a segment lies between two plain spaces or line feeds and folds by itself
    std::size_t segmentResult = 0;
    for (std::size_t offset = 0; offset < text.size();) {
        const Scalar scalar = scalarAt(text, offset);
        if (isStraightenedApostrophe(scalar.value)) {
            result.push_back('\'');
        } else if (scalar.value < latinEnd) {
            result += latin[scalar.value];
        } else if (foldsToItself(scalar.value)) {
            append(result, scalar.value);
        } else {
            const std::size_t end = std::min(text.find_first_of(" \n", offset), text.size());
            result.resize(segmentResult);
            result += foldedByIcu(withStraightApostrophes(text.substr(segmentStart, end - segmentStart)));
            offset = end;
            segmentStart = offset;
            segmentResult = result.size();
            continue;
        }
        offset += scalar.size;
        if (scalar.value == U' ' || scalar.value == U'\n') {
            segmentStart = offset;
            segmentResult = result.size();
        }
    }
    return result;
}

std::string withStraightApostrophes(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    std::size_t start = 0; // of what stays as it is
    for (std::size_t offset = 0; offset < text.size();) {
        const Scalar scalar = scalarAt(text, offset);
        const std::size_t end = offset + scalar.size;
        if (isStraightenedApostrophe(scalar.value) || scalar.value == replacementCharacter) {
            result.append(text, start, offset - start);
            append(result, scalar.value == replacementCharacter ? replacementCharacter : U'\'');
            start = end;
        }
        offset = end;
    }
    return result.append(text, start);
}

namespace {

template <typename Predicate> std::string_view trimmed(std::string_view text, Predicate isTrimmed) {
    while (!text.empty()) {
        const Scalar first = scalarAt(text, 0);
        if (!isTrimmed(first.value))
            break;
        text.remove_prefix(first.size);
    }
    while (!text.empty()) {
        const Scalar last = scalarBefore(text, text.size());
        if (!isTrimmed(last.value))
            break;
        text.remove_suffix(last.size);
    }
    return text;
}

} // namespace

std::string_view trimmedBlanks(std::string_view text) {
    return trimmed(text, isBlank);
}

std::string_view trimmedWhiteSpace(std::string_view text) {
    return trimmed(text, isWhiteSpace);
}

} // namespace vesto::unicode
