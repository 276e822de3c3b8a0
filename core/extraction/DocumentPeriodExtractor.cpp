#include "core/extraction/DocumentPeriodExtractor.h"

#include "core/extraction/MonthNames.h"
#include "core/extraction/NumericDate.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cstring>
#include <span>

// Every search below is a pattern with \s in it that a pattern engine runs in quadratic time on a long run of
// blanks. By hand a blank is looked at a bounded number of times. All of them work on folded text.
namespace vesto::DocumentPeriodExtractor {
namespace {

constexpr std::size_t charactersOfKind = 800;

// "releve" is not among them: the word alone is too common in running text.
constexpr std::array<std::string_view, 15> keywords{
    "bulletin de paie",
    "bulletin de salaire",
    "fiche de paie",
    "facture",
    "quittance",
    "avis d'echeance",
    "echeancier",
    "avis d'imposition",
    "note de frais",
    "invoice",
    "statement",
    "payslip",
    "pay slip",
    "receipt",
    "recu",
};
constexpr std::string_view statementWord = "releve";
constexpr std::array<std::string_view, 3> statementComplements{"de", "carte", "compte"};

constexpr std::array<std::string_view, 6> issueLabels{"date d'arrete", "arrete au",    "date d'emission",
                                                      "emis le",       "invoice date", "statement date"};
constexpr std::array<std::string_view, 3> invoiceLabels{"date de facture", "date de facturation",
                                                        "facture du"};
constexpr std::array<std::string_view, 5> otherLabels{"date du releve", "date de releve", "date d'operation",
                                                      "date :", "date:"};
// The order counts: an issue date says more than any «date :».
constexpr std::array<std::span<const std::string_view>, 3> labelGroups{issueLabels, invoiceLabels,
                                                                       otherLabels};

std::size_t find(std::string_view text, std::string_view word, std::size_t from) {
    if (from >= text.size())
        return std::string_view::npos;
    const void* found = ::memmem(text.data() + from, text.size() - from, word.data(), word.size());
    if (found == nullptr)
        return std::string_view::npos;
    return static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

std::size_t skipWhiteSpace(std::string_view text, std::size_t offset) {
    while (offset < text.size()) {
        const unicode::Scalar scalar = unicode::scalarAt(text, offset);
        if (!unicode::isWhiteSpace(scalar.value))
            break;
        offset += scalar.size;
    }
    return offset;
}

/// Whether only white space stands between `offset` and a start of a line at or before it.
bool isFirstOfLine(std::string_view text, std::size_t offset) {
    while (offset > 0) {
        const unicode::Scalar scalar = unicode::scalarBefore(text, offset);
        if (unicode::isNewline(scalar.value))
            return true;
        if (!unicode::isWhiteSpace(scalar.value))
            return false;
        offset -= scalar.size;
    }
    return true;
}

bool isWordAt(std::string_view text, std::size_t offset, std::string_view word) {
    return text.substr(offset).starts_with(word) && unicode::isWordBoundary(text, offset + word.size());
}

bool holdsWord(std::string_view text, std::string_view word) {
    for (std::size_t at = find(text, word, 0); at != std::string_view::npos; at = find(text, word, at + 1))
        if (unicode::isWordBoundary(text, at) && unicode::isWordBoundary(text, at + word.size()))
            return true;
    return false;
}

/// «Relevé» at the start of a line, or «relevé de», «relevé carte», «relevé compte» anywhere.
bool holdsStatement(std::string_view text) {
    for (std::size_t at = find(text, statementWord, 0); at != std::string_view::npos;
         at = find(text, statementWord, at + 1)) {
        const std::size_t end = at + statementWord.size();
        if (unicode::isWordBoundary(text, end) && isFirstOfLine(text, at))
            return true;
        const std::size_t next = skipWhiteSpace(text, end);
        if (next == end || !unicode::isWordBoundary(text, at))
            continue;
        for (const std::string_view complement : statementComplements)
            if (isWordAt(text, next, complement))
                return true;
    }
    return false;
}

/// The first «du 01/03/2025 au 31/03/2025»: the month of its end, or of its start where the end is no date.
std::optional<Period> periodOfRange(std::string_view text) {
    for (std::size_t at = find(text, "du", 0); at != std::string_view::npos; at = find(text, "du", at + 1)) {
        const std::size_t afterFrom = skipWhiteSpace(text, at + 2);
        if (afterFrom == at + 2 || !unicode::isWordBoundary(text, at))
            continue;
        const std::optional<NumericDate> start = numericDateAt(text, afterFrom);
        if (!start)
            continue;
        const std::size_t to = skipWhiteSpace(text, start->end);
        if (to == start->end || !text.substr(to).starts_with("au"))
            continue;
        const std::size_t afterTo = skipWhiteSpace(text, to + 2);
        if (afterTo == to + 2)
            continue;
        if (const std::optional<NumericDate> end = numericDateAt(text, afterTo))
            return end->period ? end->period : start->period;
    }
    return std::nullopt;
}

/// The date after a label that ends at `offset`, with or without a colon between.
std::optional<NumericDate> dateAfterLabel(std::string_view text, std::size_t offset) {
    offset = skipWhiteSpace(text, offset);
    if (offset < text.size() && text[offset] == ':')
        offset = skipWhiteSpace(text, offset + 1);
    return numericDateAt(text, offset);
}

/// The month of the first date that stands after one of `labels`; nothing where that date does not exist.
std::optional<Period> periodOfLabel(std::string_view text, std::span<const std::string_view> labels) {
    std::size_t first = std::string_view::npos;
    std::optional<Period> period;
    for (const std::string_view label : labels) {
        for (std::size_t at = find(text, label, 0); at < first; at = find(text, label, at + 1)) {
            if (const std::optional<NumericDate> date = dateAfterLabel(text, at + label.size())) {
                first = at;
                period = date->period;
            }
        }
    }
    return period;
}

const MonthName* monthNameAt(std::string_view text, std::size_t offset) {
    for (const MonthName& month : monthNameTable())
        if (text[offset] == month.name.front() && text.substr(offset).starts_with(month.name))
            return &month;
    return nullptr;
}

bool isASCIIWordByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '_';
}

/// The first «septembre 2025» of the years 2000 to 2099.
std::optional<Period> periodOfMonthName(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] < 'a' || text[at] > 's' || (at > 0 && isASCIIWordByte(text[at - 1])))
            continue;
        const MonthName* month = monthNameAt(text, at);
        if (month == nullptr || !unicode::isWordBoundary(text, at))
            continue;
        const std::size_t end = at + month->name.size();
        const std::size_t digits = skipWhiteSpace(text, end);
        if (digits == end || !text.substr(digits).starts_with("20"))
            continue;
        const DigitRun year = digitsAt(text, digits, 4);
        if (year.count < 4 || !unicode::isWordBoundary(text, year.end))
            continue;
        if (!year.value)
            return std::nullopt;
        return Period{.month = month->month, .year = *year.value};
    }
    return std::nullopt;
}

} // namespace

std::string Period::label(const Locale& locale) const {
    if (const std::optional<std::string> words = unicode::formatMonthAndYear(month, year, locale))
        return *words;
    return fmt::format("{}/{}", month, year);
}

std::optional<Period> periodOfNumericDate(int first, int second, int year) {
    if (year < 100)
        year += 2000;
    if (year < 1990 || year > 2100)
        return std::nullopt;
    const bool monthFirst = first < 13 && second > 12;
    const int month = monthFirst ? first : second;
    const int day = monthFirst ? second : first;
    if (month < 1 || month > 12 || day < 1)
        return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year{year},
                                           std::chrono::month{static_cast<unsigned>(month)},
                                           std::chrono::day{static_cast<unsigned>(day)}};
    if (!date.ok())
        return std::nullopt;
    return Period{.month = month, .year = year};
}

bool isPeriodicDocument(std::string_view text) {
    const std::string folded = unicode::folded(unicode::graphemePrefix(text, charactersOfKind));
    for (const std::string_view keyword : keywords)
        if (holdsWord(folded, keyword))
            return true;
    return holdsStatement(folded);
}

std::optional<Period> extract(std::string_view text, bool allowMonthName) {
    const std::string folded = unicode::folded(text);
    if (const std::optional<Period> period = periodOfRange(folded))
        return period;
    for (const std::span<const std::string_view> labels : labelGroups)
        if (const std::optional<Period> period = periodOfLabel(folded, labels))
            return period;
    return allowMonthName ? periodOfMonthName(folded) : std::nullopt;
}

std::optional<Period> period(std::string_view text, bool allowMonthName) {
    return isPeriodicDocument(text) ? extract(text, allowMonthName) : std::nullopt;
}

} // namespace vesto::DocumentPeriodExtractor
