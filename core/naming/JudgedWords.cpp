#include "core/naming/JudgedWords.h"

#include "core/extraction/MonthNames.h"
#include "core/extraction/NumericDate.h"
#include "core/naming/ContentSummary.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace vesto::judged {
namespace {

constexpr std::size_t minTokenLength = 3; // grapheme clusters, as all lengths of tokens
constexpr std::size_t sharedPrefixLength = 5;
constexpr std::size_t maxLengthDifference = 2;

constexpr std::array<std::string_view, 30> stopWords{
    "les", "des", "une",  "pour", "par", "sur", "dans", "avec", "aux", "the",
    "and", "for", "with", "from", "est", "son", "ses",  "leur", "du",  "de",
    "la",  "le",  "un",   "et",   "en",  "au",  "of",   "to",   "on",  "in",
};

bool isASCII(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::size_t lengthOf(std::string_view token) {
    return isASCII(token) ? token.size() : unicode::graphemeCount(token);
}

/// The first five scalars, or nothing where there are fewer; whoever shares five characters shares them.
std::string_view firstScalars(std::string_view token) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < sharedPrefixLength; ++i) {
        if (offset >= token.size())
            return {};
        offset += unicode::scalarAt(token, offset).size;
    }
    return token.substr(0, offset);
}

/// The month of «2025-03-12» at `offset`, 0 where the digits name none; nothing where no such date stands
/// there.
struct ISODate {
    std::size_t end = 0;
    int month = 0;
};
std::optional<ISODate> isoDateAt(std::string_view text, std::size_t offset) {
    const DigitRun year = digitsAt(text, offset, 4);
    if (year.count < 4 || !text.substr(year.end).starts_with('-'))
        return std::nullopt;
    const DigitRun month = digitsAt(text, year.end + 1, 2);
    if (month.count < 2 || !text.substr(month.end).starts_with('-'))
        return std::nullopt;
    const DigitRun day = digitsAt(text, month.end + 1, 2);
    if (day.count < 2 || !unicode::isWordBoundary(text, day.end))
        return std::nullopt;
    return ISODate{.end = day.end, .month = month.value.value_or(0)};
}

std::size_t firstByteOf(std::string_view token) {
    return static_cast<unsigned char>(token.front());
}

/// What the words of a file say about the tokens of a title. It holds the title's few tokens and lets the
/// file's many pass by, so that each of them costs two lookups. What it is given must outlive it.
class SourceWords {
public:
    explicit SourceWords(const std::vector<std::string_view>& titleTokens) {
        for (const std::string_view token : titleTokens) {
            m_firstBytes.set(firstByteOf(token));
            m_equal.try_emplace(token, false);
            if (const std::string_view scalars = firstScalars(token); !scalars.empty())
                m_watchedPrefixes.insert(scalars);
        }
    }

    void see(std::string_view sourceToken) {
        if (!m_firstBytes.test(firstByteOf(sourceToken))) // as for most of them
            return;
        if (const auto found = m_equal.find(sourceToken); found != m_equal.end())
            found->second = true;
        const std::string_view scalars = firstScalars(sourceToken);
        if (scalars.empty() || !m_watchedPrefixes.contains(scalars))
            return;
        if (const std::size_t length = lengthOf(sourceToken); length >= sharedPrefixLength)
            m_lengths[unicode::graphemePrefix(sourceToken, sharedPrefixLength)].insert(length);
    }

    [[nodiscard]] bool holds(std::string_view titleToken) const {
        const auto found = m_equal.find(titleToken);
        return found != m_equal.end() && found->second;
    }

    [[nodiscard]] bool holdsNear(std::string_view titleToken) const {
        const std::size_t length = lengthOf(titleToken);
        if (length < sharedPrefixLength)
            return false;
        const auto lengths = m_lengths.find(unicode::graphemePrefix(titleToken, sharedPrefixLength));
        if (lengths == m_lengths.end())
            return false;
        const auto nearest = lengths->second.lower_bound(length - maxLengthDifference);
        return nearest != lengths->second.end() && *nearest <= length + maxLengthDifference;
    }

private:
    std::bitset<256> m_firstBytes;
    std::unordered_map<std::string_view, bool> m_equal;
    std::unordered_set<std::string_view> m_watchedPrefixes;
    std::unordered_map<std::string_view, std::set<std::size_t>>
        m_lengths; // of source tokens, by first characters
};

} // namespace

bool namesPeriod(std::string_view token, const Period& period) {
    return period && (token == std::to_string(period->year) || monthOfName(token) == period->month);
}

bool isMeaningful(std::string_view token) {
    return lengthOf(token) >= minTokenLength && std::ranges::find(stopWords, token) == stopWords.end();
}

std::vector<std::string_view> tokensOf(std::string_view foldedTitle, const Period& period) {
    std::vector<std::string_view> tokens;
    forEachToken(foldedTitle, [&](std::string_view token) {
        if (isMeaningful(token) && !namesPeriod(token, period))
            tokens.push_back(token);
    });
    return tokens;
}

bool areNear(std::string_view left, std::string_view right) {
    const std::size_t length = lengthOf(left);
    const std::size_t other = lengthOf(right);
    return length >= sharedPrefixLength && other >= sharedPrefixLength &&
           std::max(length, other) - std::min(length, other) <= maxLengthDifference &&
           unicode::graphemePrefix(left, sharedPrefixLength) ==
               unicode::graphemePrefix(right, sharedPrefixLength);
}

std::string sourceOf(std::string_view text, const std::optional<std::string>& documentTitle) {
    std::string source(text);
    source += ' ';
    source += documentTitle.value_or("");
    return source;
}

bool canGround(std::string_view text, const std::optional<std::string>& documentTitle,
               std::int64_t minLetters) {
    const auto enough = static_cast<std::size_t>(std::max<std::int64_t>(minLetters, 0));
    return documentTitle || letterCount(text, enough) >= enough;
}

std::vector<Match> matchesOf(const std::vector<std::string_view>& tokens, std::string_view source) {
    const std::string folded = unicode::folded(source);
    SourceWords words(tokens);
    forEachToken(folded, [&](std::string_view token) { words.see(token); });
    std::optional<std::bitset<13>> months; // by number; looked for only where a month's name needs them
    std::vector<Match> matches;
    matches.reserve(tokens.size());
    for (const std::string_view token : tokens) {
        Match match = words.holds(token)       ? Match::exact
                      : words.holdsNear(token) ? Match::near
                                               : Match::absent;
        const std::optional<int> month = match == Match::absent ? monthOfName(token) : std::nullopt;
        if (month && !months) {
            months.emplace();
            forEachDate(source,
                        [&](const DatePlace& date) { months->set(static_cast<std::size_t>(date.month)); });
        }
        if (month && months->test(static_cast<std::size_t>(*month)))
            match = Match::month;
        matches.push_back(match);
    }
    return matches;
}

/// In one walk, but each form by itself, since a date of one form may overlap one of the other.
void forEachDate(std::string_view text, const std::function<void(const DatePlace&)>& take) {
    std::size_t numericEnd = 0;
    std::size_t isoEnd = 0;
    std::size_t next = 0;
    for (std::size_t offset = 0; offset < text.size(); offset = next) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        next = offset + scalar.size;
        if (!unicode::isDecimalDigit(scalar.value) || !unicode::isWordBoundary(text, offset))
            continue;
        if (offset >= numericEnd) {
            const std::optional<NumericDate> date = numericDateAt(text, offset);
            if (date && unicode::isWordBoundary(text, date->end)) {
                numericEnd = date->end;
                if (date->period)
                    take({offset, date->end, static_cast<int>(date->period->month)});
            }
        }
        if (offset >= isoEnd) {
            if (const std::optional<ISODate> date = isoDateAt(text, offset)) {
                isoEnd = date->end;
                if (date->month >= 1 && date->month <= 12)
                    take({offset, date->end, date->month});
            }
        }
    }
}

} // namespace vesto::judged
