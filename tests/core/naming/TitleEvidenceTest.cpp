#include "core/naming/TitleEvidence.h"

#include "core/naming/ConfidenceScorer.h"
#include "core/support/Unicode.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <array>

namespace vesto {
namespace {

using Match = TitleEvidence::Match;
using Word = TitleEvidence::Word;

TEST(TitleEvidence, SaysWhereEachWordStands) {
    const ContentSummary lease{.lines = {"CONTRAT DE LOCATION", "d'une chambre meublée, « Les Tilleuls »", "",
                                         "Fait à Lyon, le 12/03/2026 en deux exemplaires"},
                               .documentTitle = "Bail Dupont"};
    struct Row {
        std::string title;
        ContentSummary summary;
        std::vector<Word> words;
    };
    const ContentSummary longLine{
        .lines = {"abcdefghi abcdefghi abcdefghi été abcdefghi abcdefghi abcdefghi"}};
    const std::vector<Row> rows{
        {"Contrat de location",
         lease,
         {{"Contrat", Match::exact, 1, "", "CONTRAT", " DE LOCATION"},
          {"location", Match::exact, 1, "CONTRAT DE ", "LOCATION", ""}}},
        {"Meublés, Bellecour",
         lease,
         {{"Meublés", Match::near, 2, "d'une chambre ", "meublée", ", « Les Tilleuls »"},
          {"Bellecour", Match::absent}}},
        {"mars avril",
         lease,
         {{"mars", Match::month, 4, "Fait à Lyon, le ", "12/03/2026", " en deux exemplaires"},
          {"avril", Match::absent}}},
        {"Dupont", lease, {{"Dupont", Match::exact, std::nullopt, "Bail ", "Dupont", ""}}},
        {"ete",
         longLine,
         {{"ete", Match::exact, 1, "…ghi abcdefghi abcdefghi ", "été", " abcdefghi abcdefghi abc…"}}},
        {"EDF mars 2025",
         {.lines = {"edf"}, .period = {{3, 2025}}},
         {{"EDF", Match::exact, 1, "", "edf", ""}, {"mars", Match::period}, {"2025", Match::period}}},
        {"de la un", lease, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        EXPECT_EQ(evidence(row.title, row.summary).words, row.words);
    }
    EXPECT_TRUE(evidence("x", lease).isGrounded);
    EXPECT_FALSE(evidence("x", ContentSummary{.lines = {"trop peu"}}).isGrounded);
}

TEST(TitleEvidence, CountsWhatTheConfidenceCounts) {
    static constexpr std::array<std::string_view, 34> pieces{
        "factu",      "re",       "s",    "ration", "é",       "e\u0301", " ", " ",
        "-",          "/",        "12",   "03",     "2025",    "1",       "٣", "mars",
        "mai ",       " avril ",  "แม่น้ำ", "क्षि",    "한글",    "नमस्ते",    "ﬁ", "\u1100\u1161",
        "\xFF",       "’",        "ŉ",    "IX",     "5/3/25 ", "\n",      "ʼ", "\u200D",
        "2024-04-01", " 1.5.2020"};
    RandomText random(78);
    std::size_t located = 0;
    for (int round = 0; round < 6'000; ++round) {
        const bool isWild = round % 4 == 0;
        const std::string title = isWild ? random.of(hostileAlphabet, 20) : random.of(pieces, 12);
        ContentSummary summary{.lines = {random.of(pieces, 16), random.of(pieces, 8)}};
        if (isWild)
            summary.lines.push_back(random.bytes(200));
        if (round % 3 == 0)
            summary.documentTitle = random.of(pieces, 6);
        if (round % 5 == 0)
            summary.period = {3, 2025};
        SCOPED_TRACE(testing::PrintToString(title + " | " + summary.text()));
        const TitleEvidence found = evidence(title, summary);
        const double share = found.judgedCount() == 0 ? 0
                                                      : static_cast<double>(found.foundCount()) /
                                                            static_cast<double>(found.judgedCount());
        ASSERT_DOUBLE_EQ(share, ConfidenceScorer().grounding(title, summary));
        for (const Word& word : found.words) {
            ASSERT_TRUE(unicode::isValid(word.word + word.before + word.found + word.after));
            if (!word.found.empty())
                ++located;
        }
    }
    EXPECT_GT(located, 500U);
}

} // namespace
} // namespace vesto
