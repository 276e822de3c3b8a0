#include "core/support/UnicodeSearch.h"

#include "core/support/Unicode.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <climits>

namespace vesto::unicode {
namespace {

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::string turkicFolded(std::string_view text) {
    const std::string before = composed(text);
    std::string result;
    icu::StringByteSink<std::string> sink(&result);
    UErrorCode status = U_ZERO_ERROR;
    const auto size = static_cast<std::int32_t>(std::min<std::size_t>(before.size(), INT_MAX / 8));
    icu::CaseMap::utf8Fold(U_FOLD_CASE_EXCLUDE_SPECIAL_I, icu::StringPiece(before.data(), size), sink,
                           nullptr, status);
    return composed(result);
}

std::string foldedFor(std::string_view text, bool turkic) {
    // Where only letters of one byte are there, no apostrophe but the grave accent has another form.
    if (isAscii(text) && text.find('`') == std::string_view::npos && !turkic)
        return caseFolded(text);
    const std::string straight = withStraightApostrophes(text);
    return turkic ? turkicFolded(straight) : caseFolded(straight);
}

bool isCombining(char32_t scalar) {
    return scalar >= 0x300 && u_getCombiningClass(static_cast<UChar32>(scalar)) != 0;
}

} // namespace

CaselessSearch::CaselessSearch(std::string_view word, std::string_view languageCode)
    : m_turkic(languageCode == "tr" || languageCode == "az")
    , m_folded(foldedFor(word, m_turkic)) {}

bool CaselessSearch::matches(std::string_view text) const {
    const std::string folded = foldedFor(text, m_turkic);
    for (std::size_t at = folded.find(m_folded); at != std::string::npos;
         at = folded.find(m_folded, at + 1)) {
        const std::size_t end = at + m_folded.size();
        if (end == folded.size() || !isCombining(scalarAt(folded, end).value))
            return true;
    }
    return false;
}

std::string CaselessSearch::keyOf(std::string_view text) {
    constexpr char32_t dotlessI = 0x0131;
    constexpr char32_t dotAbove = 0x0307;
    std::string folded = foldedFor(text, false);
    if (isAscii(folded))
        return folded;
    std::string key;
    key.reserve(folded.size());
    for (std::size_t offset = 0; offset < folded.size();) {
        const Scalar scalar = scalarAt(folded, offset);
        if (scalar.value != dotAbove)
            append(key, scalar.value == dotlessI ? U'i' : scalar.value);
        offset += scalar.size;
    }
    return composed(key);
}

} // namespace vesto::unicode
