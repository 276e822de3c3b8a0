#include "core/naming/TitleMatching.h"

#include "core/extraction/MonthNames.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <map>
#include <unordered_map>
#include <vector>

namespace vesto {
namespace {

std::vector<std::string_view> piecesOf(std::string_view title) {
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0; start < title.size();) {
        const std::size_t end = std::min(title.find(' ', start), title.size());
        if (end > start)
            pieces.push_back(title.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

/// Calls `take` with each run of letters and numbers; a mark or a joiner belongs to what stands before it.
template <typename Take> void forEachWord(std::string_view text, Take take) {
    constexpr char32_t firstMark = 0x0300;
    constexpr char32_t nonJoiner = 0x200C;
    constexpr char32_t joiner = 0x200D;
    std::size_t start = 0;
    bool inside = false;
    for (std::size_t offset = 0; offset < text.size();) {
        const auto [scalar, size] = unicode::scalarAt(text, offset);
        const bool continues = unicode::isAlphanumeric(scalar)
                                   ? inside || scalar < firstMark || !unicode::isMark(scalar)
                                   : inside && (scalar == nonJoiner || scalar == joiner);
        if (continues && !inside)
            start = offset;
        if (!continues && inside)
            take(text.substr(start, offset - start));
        inside = continues;
        offset += size;
    }
    if (inside)
        take(text.substr(start));
}

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

/// By which two forms of a word are one: «STRASSE» and «Straße» are two words.
std::string keyOf(std::string_view word) {
    return unicode::composed(unicode::lowercase(word));
}

/// The first bytes of some keys. It tells most words of a text from all of them without a look at the rest.
class FirstBytes {
public:
    void add(std::string_view key) { m_bytes.set(static_cast<unsigned char>(key.front())); }

    /// Always true beside ASCII, where the first letter may become any other.
    [[nodiscard]] bool mayHold(std::string_view word) const {
        const auto first = static_cast<unsigned char>(word.front());
        const bool isCapital = first >= 'A' && first <= 'Z';
        return m_bytes.test(isCapital ? first + ('a' - 'A') : first) || !isASCII(word);
    }

private:
    std::bitset<256> m_bytes;
};

/// How often the text writes a word in each form; forms in code-point order.
using Forms = std::map<std::string, std::size_t>;

const std::string* mostFrequent(const Forms& forms) {
    const auto found = std::ranges::max_element(forms, {}, [](const auto& form) { return form.second; });
    return found == forms.end() ? nullptr : &found->first;
}

std::string joined(const std::vector<std::string_view>& pieces) {
    std::string text;
    for (const std::string_view piece : pieces) {
        if (!text.empty())
            text += ' ';
        text += piece;
    }
    return text;
}

} // namespace

std::array<std::string, 12> foldedMonthNames(const Locale& locale) {
    std::array<std::string, 12> names = unicode::monthNames(locale);
    for (std::string& name : names)
        name = keyOf(name);
    return names;
}

std::string withCasingOf(std::string_view text, std::string_view title,
                         const std::array<std::string, 12>& foldedMonths) {
    std::vector<std::string_view> pieces = piecesOf(title);
    std::vector<std::string> keys(pieces.size()); // empty for a piece that stays
    std::unordered_map<std::string, Forms> formsOfKey;
    FirstBytes firstBytes;
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        if (unicode::lowercase(pieces[i]) == pieces[i])
            continue;
        std::string key = keyOf(pieces[i]);
        if (std::ranges::find(foldedMonths, key) != foldedMonths.end())
            continue;
        firstBytes.add(key);
        formsOfKey.try_emplace(key);
        keys[i] = std::move(key);
    }
    if (formsOfKey.empty())
        return joined(pieces);
    const std::string composedText = unicode::composed(text);
    forEachWord(composedText, [&](std::string_view word) {
        if (!firstBytes.mayHold(word))
            return;
        const auto forms = formsOfKey.find(keyOf(word));
        if (forms != formsOfKey.end())
            ++forms->second[std::string(word)];
    });
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        const auto forms = formsOfKey.find(keys[i]);
        const std::string* form = forms == formsOfKey.end() ? nullptr : mostFrequent(forms->second);
        if (form != nullptr)
            pieces[i] = *form;
    }
    return joined(pieces);
}

std::string withPeriod(const DocumentPeriodExtractor::Period& period, std::string_view title,
                       const Locale& locale, std::int64_t maxLength) {
    for (const std::string_view piece : piecesOf(title))
        if (monthOfName(unicode::folded(piece)) == period.month)
            return std::string(title);
    const std::string label = period.label(locale);
    const auto taken = static_cast<std::int64_t>(unicode::graphemeCount(label)) + 1;
    const auto room = static_cast<std::size_t>(maxLength > taken ? maxLength - taken : 0);
    std::string_view kept = unicode::graphemePrefix(title, room);
    if (kept.size() < title.size()) {
        const std::size_t blank = kept.rfind(' ');
        if (blank != std::string_view::npos && unicode::graphemeCount(kept.substr(0, blank)) >= room / 2)
            kept = kept.substr(0, blank);
    }
    kept = unicode::trimmedWhiteSpace(kept);
    return kept.empty() ? label : std::string(kept) + ' ' + label;
}

} // namespace vesto
