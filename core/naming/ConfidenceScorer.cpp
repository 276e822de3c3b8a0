#include "core/naming/ConfidenceScorer.h"

#include "core/extraction/MonthNames.h"
#include "core/extraction/NumericDate.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vesto {
namespace {

constexpr std::size_t minTokenLength = 3; // grapheme clusters, as all lengths of tokens
constexpr std::size_t sharedPrefixLength = 5;
constexpr std::size_t maxLengthDifference = 2;

constexpr std::array<std::string_view, 30> stopWords{
    "les", "des", "une",  "pour", "par", "sur", "dans", "avec", "aux", "the",
    "and", "for", "with", "from", "est", "son", "ses",  "leur", "du",  "de",
    "la",  "le",  "un",   "et",   "en",  "au",  "of",   "to",   "on",  "in",
};

using MonthSet = std::bitset<13>; // by number

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

/// Calls `take` with each run of letters, marks and digits of `folded`, in order.
template <typename Take> void forEachToken(std::string_view folded, Take take) {
    std::size_t start = 0;
    for (std::size_t offset = 0; offset < folded.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(folded, offset);
        if (!unicode::isAlphanumeric(scalar.value)) {
            if (offset > start)
                take(folded.substr(start, offset - start));
            start = offset + scalar.size;
        }
        offset += scalar.size;
    }
    if (folded.size() > start)
        take(folded.substr(start));
}

/// A title that repeats the period, which may have been appended to it, proves nothing by that.
bool namesPeriod(std::string_view token, const std::optional<DocumentPeriodExtractor::Period>& period) {
    return period && (token == std::to_string(period->year) || monthOfName(token) == period->month);
}

std::vector<std::string_view> judgedTokens(std::string_view foldedTitle, const ContentSummary& summary) {
    std::vector<std::string_view> tokens;
    forEachToken(foldedTitle, [&](std::string_view token) {
        if (lengthOf(token) >= minTokenLength && std::ranges::find(stopWords, token) == stopWords.end() &&
            !namesPeriod(token, summary.period))
            tokens.push_back(token);
    });
    return tokens;
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

/// The months of all dates in digits, read in two passes, since a date of one form may overlap one of the
/// other.
MonthSet monthsOfDates(std::string_view text) {
    MonthSet months;
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
                    months.set(static_cast<std::size_t>(date->period->month));
            }
        }
        if (offset >= isoEnd) {
            if (const std::optional<ISODate> date = isoDateAt(text, offset)) {
                isoEnd = date->end;
                if (date->month >= 1 && date->month <= 12)
                    months.set(static_cast<std::size_t>(date->month));
            }
        }
    }
    return months;
}

/// What the words of a file say about the tokens of a title. It holds the title's few tokens and lets the
/// file's many pass by, so that each of them costs two lookups.
class Evidence {
public:
    explicit Evidence(const std::vector<std::string_view>& titleTokens) {
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

    [[nodiscard]] bool supports(std::string_view titleToken) const {
        if (const auto found = m_equal.find(titleToken); found != m_equal.end() && found->second)
            return true;
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
    static std::size_t firstByteOf(std::string_view token) {
        return static_cast<unsigned char>(token.front());
    }

    std::bitset<256> m_firstBytes;
    std::unordered_map<std::string_view, bool> m_equal;
    std::unordered_set<std::string_view> m_watchedPrefixes;
    std::unordered_map<std::string_view, std::set<std::size_t>>
        m_lengths; // of source tokens, by first characters
};

double groundingIn(std::string_view text, std::string_view title, const ContentSummary& summary) {
    const std::string foldedTitle = unicode::folded(title);
    const std::vector<std::string_view> tokens = judgedTokens(foldedTitle, summary);
    if (tokens.empty())
        return 0;
    std::string source(text);
    source += ' ';
    source += summary.documentTitle.value_or("");
    const std::string foldedSource = unicode::folded(source);
    Evidence evidence(tokens);
    forEachToken(foldedSource, [&](std::string_view token) { evidence.see(token); });
    std::optional<MonthSet> months; // looked for only where a month's name needs them
    std::size_t found = 0;
    for (const std::string_view token : tokens) {
        bool isFound = evidence.supports(token);
        if (const std::optional<int> month = isFound ? std::nullopt : monthOfName(token)) {
            if (!months)
                months = monthsOfDates(source);
            isFound = months->test(static_cast<std::size_t>(*month));
        }
        if (isFound)
            ++found;
    }
    return static_cast<double>(found) / static_cast<double>(tokens.size());
}

} // namespace

double ConfidenceScorer::score(std::string_view title, const ContentSummary& summary, Source source) const {
    const std::string text = summary.text();
    double raw = 0;
    const auto enough = static_cast<std::size_t>(std::max<std::int64_t>(minLettersForGrounding, 0));
    if (!summary.documentTitle && letterCount(text, enough) < enough)
        raw = summary.labels.empty() ? 0.1 : 0.35 * summary.labels.front().confidence + 0.2;
    else
        raw = 0.65 * groundingIn(text, title, summary) + 0.35;
    if (source == Source::fallback && raw > fallbackCap)
        raw = fallbackCap;
    if (!(raw > 0)) // a classifier's confidence may be anything, even no number
        return 0;
    return std::min(std::round(raw * 100) / 100, 1.0);
}

double ConfidenceScorer::grounding(std::string_view title, const ContentSummary& summary) const {
    return groundingIn(summary.text(), title, summary);
}

std::string_view rawValue(ConfidenceScorer::Source source) {
    switch (source) {
    case ConfidenceScorer::Source::model:
        return "model";
    case ConfidenceScorer::Source::fallback:
        return "fallback";
    }
    return {};
}

std::optional<ConfidenceScorer::Source> sourceOfRawValue(std::string_view rawValue) {
    if (rawValue == "model")
        return ConfidenceScorer::Source::model;
    if (rawValue == "fallback")
        return ConfidenceScorer::Source::fallback;
    return std::nullopt;
}

} // namespace vesto
