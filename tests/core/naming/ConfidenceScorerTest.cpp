#include "core/naming/ConfidenceScorer.h"

#include "core/extraction/MonthNames.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodePattern.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace vesto {
namespace {

using Source = ConfidenceScorer::Source;

const ConfidenceScorer scorer;
const std::string filler = "xxxxx yyyyy zzzzz wwwww vvvvv";

TEST(ConfidenceScorer, GroundsATitleInTheTextOfTheFile) {
    struct Row {
        std::string title;
        std::string text;
        double expected;
        std::optional<DocumentPeriodExtractor::Period> period{};
    };
    const std::vector<Row> rows{
        {"Relevé bancaire", "RELEVE bancaire", 1},
        {"de la pour et un ab", "de la pour et un ab", 0}, // nothing to judge
        {"Factures", "facture", 1},
        {"Facturation", "facture", 0},
        {"Facturee", "factures", 1},
        {"Fact", "factu", 0},
        {"Facteur facteur timbre", "facteur", 2.0 / 3},
        {"L’été", "ete", 1},
        {"Mars", "le 12/03/2025", 1},
        {"Mars", "le 12/04/2025", 0},
        {"March", "2025-03-12", 1},
        {"March", "2025-03-1", 0},
        {"Décembre", "2025-12-311", 0},
        {"Mars", "31/02/2025 03/31/25", 1},
        {"Mars", "112/03/2025", 0},
        {"Mars", "12/03/20251", 0},
        {"Mars", "2025-03-12-14", 1},
        {"Facture EDF mars 2025", "facture edf", 1, {{3, 2025}}},
        {"Facture EDF march 2025", "facture", 0.5, {{3, 2025}}},
        {"Facture avril 2025", "facture", 0.5, {{3, 2025}}},
        {"Mars 2025", "mars 2025", 0, {{3, 2025}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title + " in " + row.text);
        EXPECT_DOUBLE_EQ(scorer.grounding(row.title, {.lines = {row.text}, .period = row.period}),
                         row.expected);
    }
    EXPECT_DOUBLE_EQ(scorer.grounding("Rapport annuel", {.documentTitle = "Rapport"}), 0.5);
}

TEST(ConfidenceScorer, ScoresBySourceAndByHowMuchThereIsToRead) {
    struct Row {
        ContentSummary summary;
        std::string title;
        Source source;
        double expected;
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Row> rows{
        {{.lines = {filler}}, "de la", Source::model, 0.35},
        {{.lines = {filler}}, "xxxxx", Source::model, 1},
        {{.lines = {filler}}, "xxxxx", Source::fallback, 0.55},
        {{.lines = {filler}}, "xxxxx absent", Source::model, 0.68}, // 0.675
        {{.lines = {"abcdefghij"}, .labels = {{"cat", 0.8}, {"dog", 1}}}, "Chat", Source::model, 0.48},
        {{.lines = {"abcdefghij"}}, "abcdefghij", Source::model, 0.1},
        {{.lines = {"abcdefghij"}}, "abcdefghij", Source::fallback, 0.1},
        {{.lines = {"abcdefghijklmnopqrs"}}, "abcdefghijklmnopqrs", Source::model, 0.1}, // 19 letters
        {{.lines = {"abcdefghijklmnopqrst"}}, "abcdefghijklmnopqrst", Source::model, 1},
        {{.documentTitle = "Rapport"}, "Rapport", Source::model, 1},
        {{.labels = {{"cat", 1}}}, "Chat", Source::model, 0.55},
        {{.labels = {{"cat", nan}}}, "Chat", Source::model, 0},
        {{.labels = {{"cat", 1e300}}}, "Chat", Source::model, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        EXPECT_DOUBLE_EQ(scorer.score(row.title, row.summary, row.source), row.expected);
    }
}

// ---- Each title token against each source token, and the dates by pattern ----

std::vector<std::string> tokensOf(const std::string& folded) {
    std::vector<std::string> tokens(1);
    for (std::size_t offset = 0; offset < folded.size();) {
        const unicode::Scalar scalar = unicode::scalarAt(folded, offset);
        if (unicode::isAlphanumeric(scalar.value))
            tokens.back() += folded.substr(offset, scalar.size);
        else
            tokens.emplace_back();
        offset += scalar.size;
    }
    std::erase(tokens, "");
    return tokens;
}

bool isFoundByComparing(const std::string& token, const std::vector<std::string>& sourceTokens) {
    for (const std::string& other : sourceTokens) {
        if (other == token)
            return true;
        const auto length = static_cast<long>(unicode::graphemeCount(token));
        const auto otherLength = static_cast<long>(unicode::graphemeCount(other));
        if (length >= 5 && otherLength >= 5 && std::abs(length - otherLength) <= 2 &&
            unicode::graphemePrefix(token, 5) == unicode::graphemePrefix(other, 5))
            return true;
    }
    return false;
}

std::optional<int> integerOf(std::string_view digits) {
    int value = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    return value;
}

bool datesMention(const std::string& source, int month) {
    static const unicode::Pattern numeric{R"(\b(\d{1,2})[\/.\-](\d{1,2})[\/.\-](\d{2,4})\b)"};
    static const unicode::Pattern iso{R"(\b\d{4}-(\d{2})-\d{2}\b)"};
    for (const unicode::Pattern::Match& match : numeric.findAll(source)) {
        const auto first = integerOf(*match.groups[0]);
        const auto second = integerOf(*match.groups[1]);
        const auto year = integerOf(*match.groups[2]);
        if (!first || !second || !year)
            continue;
        const auto period = DocumentPeriodExtractor::periodOfNumericDate(*first, *second, *year);
        if (period && period->month == month)
            return true;
    }
    for (const unicode::Pattern::Match& match : iso.findAll(source))
        if (integerOf(*match.groups[0]) == month)
            return true;
    return false;
}

TEST(ConfidenceScorer, FindsWhatComparingAllWithAllFinds) {
    static constexpr std::array<std::string_view, 32> pieces{
        "factu", "re",      "s",    "ration", "é",       "e\u0301",    " ",         " ",
        "-",     "/",       "12",   "03",     "2025",    "1",          "٣",         "mars",
        "mai ",  " avril ", "แม่น้ำ", "क्षि",    "한글",    "नमस्ते",       "ﬁ",         "\u1100\u1161",
        "\xFF",  "’",       "_",    "IX",     "5/3/25 ", "2024-04-01", " 1.5.2020", "\u200D"};
    RandomText random(77);
    double sum = 0;
    for (int round = 0; round < 6'000; ++round) {
        // One word a title, so that the share is a yes or a no.
        const std::string title = random.of(pieces, 5);
        const ContentSummary summary{.lines = {random.of(pieces, 16)}, .documentTitle = random.of(pieces, 3)};
        SCOPED_TRACE(testing::PrintToString(title + " | " + summary.lines[0]));
        const std::string source = summary.text() + " " + *summary.documentTitle;
        const auto sourceTokens = tokensOf(unicode::folded(source));
        double judged = 0;
        double found = 0;
        for (const std::string& token : tokensOf(unicode::folded(title))) {
            if (unicode::graphemeCount(token) < 3)
                continue;
            judged += 1;
            const std::optional<int> month = monthOfName(token);
            if (isFoundByComparing(token, sourceTokens) || (month && datesMention(source, *month)))
                found += 1;
        }
        ASSERT_DOUBLE_EQ(scorer.grounding(title, summary), judged == 0 ? 0 : found / judged);
        sum += judged == 0 ? 0 : found / judged;
    }
    EXPECT_GT(sum, 150); // or the test would see nothing
}

TEST(ConfidenceScorer, ScoresAnyBytesBetweenZeroAndOneInHundredths) {
    RandomText random(3);
    for (int round = 0; round < 500; ++round) {
        ContentSummary summary{.lines = {random.bytes(300)}};
        if (round % 3 == 0)
            summary.documentTitle = random.bytes(50);
        const double score =
            scorer.score(random.bytes(60), summary, round % 2 == 0 ? Source::model : Source::fallback);
        ASSERT_GE(score, 0);
        ASSERT_LE(score, 1);
        ASSERT_DOUBLE_EQ(score, std::round(score * 100) / 100);
    }
}

} // namespace
} // namespace vesto
