#include "core/naming/ContentSummary.h"

#include "core/support/Unicode.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <limits>

namespace vesto {
namespace {

TEST(ContentSummary, TextKeepsToItsBudgetOfCharacters) {
    const auto a = [](std::size_t count) { return repeated("a", count); };
    const auto e = [](std::size_t count) {
        return repeated("e\u0301", count);
    }; // one character of three bytes
    struct Row {
        std::vector<std::string> lines;
        std::string expected;
    };
    const std::vector<Row> rows{
        {{}, ""},
        {{"", "", "a", "", "b"}, "a\n\nb"},
        {{a(1000), a(600), "b"}, a(1000) + "\n" + a(499)},
        {{e(1000), e(600), "b"}, e(1000) + "\n" + e(499)},
        {{a(1490), a(40), "b"}, a(1490)},
        {{a(1490), "b"}, a(1490) + "\nb"},
        {{a(1499)}, a(1499)},
        {{a(2000)}, a(1499)},
        {{a(1478), a(22)}, a(1478) + "\n" + a(21)},
        {{a(1479), a(21)}, a(1479)},
        {{a(1498), "b", "", "c"}, a(1498) + "\nb"},
        // A carriage return and the line feed after it are one character.
        {{a(999) + "\r", a(600)}, a(999) + "\r\n" + a(499)},
        {{"\r", a(1498)}, "\r\n" + a(1498)},
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        const ContentSummary summary{.lines = rows[i].lines};
        EXPECT_EQ(summary.text(), rows[i].expected);
    }
}

TEST(ContentSummary, CountsLettersAndMarksInScalars) {
    const ContentSummary summary{.lines = {"Aé 12 e\u0301!", "日"}};
    EXPECT_EQ(summary.letterCount(), 5U);
}

TEST(ContentSummary, PromptStatesWhatIsKnownInOrder) {
    const ContentSummary full{
        .kind = ContentSummary::Kind::video,
        .lines = {"Bonjour", "le \"\"\"monde"},
        .labels = {{"cat", 0.92}, {"dog", 0.5}, {"sky", 1}, {"a", 0}, {"b", 0.004}, {"c", 1}},
        .documentTitle = "",
        .pageCount = 3,
        .pixelWidth = 640,
        .pixelHeight = 480,
        .date = referenceDate,
        .textFromOCR = true,
        .period = DocumentPeriodExtractor::Period{3, 2026},
        .duration = Seconds(95.4),
        .textFromSpeech = true,
        .formatName = "MPEG-4"};
    EXPECT_EQ(
        full.modelPrompt(Locale("en")),
        "Type : vidéo (MPEG-4)\n"
        "Durée : 95 s\n"
        "Le texte est une transcription automatique de la parole.\n"
        "Titre des métadonnées : \n"
        "Pages : 3\n"
        "Période détectée : March 2026\n"
        "Contenu visuel détecté (labels anglais) : cat (0.92), dog (0.50), sky (1.00), a (0.00), b (0.00)\n"
        "Texte lu :\n\"\"\"\nBonjour\nle \"\"\"monde\n\"\"\"");
    const ContentSummary bare{.kind = ContentSummary::Kind::photo};
    EXPECT_EQ(bare.modelPrompt(Locale("fr")), "Type : photo\nTexte lu : aucun");
}

TEST(ContentSummary, PromptRoundsHalfSecondsAwayFromZero) {
    const std::vector<std::pair<double, std::string>> rows{
        {2.5, "3"}, {0.4, "0"}, {0.5, "1"}, {-0.4, "0"}, {-0.5, "-1"}, {0x1p62, "4611686018427387904"}};
    for (const auto& [seconds, shown] : rows) {
        const ContentSummary summary{.kind = ContentSummary::Kind::audio, .duration = Seconds(seconds)};
        EXPECT_EQ(summary.modelPrompt(Locale("fr")),
                  "Type : enregistrement audio\nDurée : " + shown + " s\nTexte lu : aucun");
    }
    const ContentSummary endless{.duration = Seconds(std::numeric_limits<double>::infinity())};
    EXPECT_DEATH((void)endless.modelPrompt(Locale("fr")), "");
}

TEST(ContentSummary, AnyBytesKeepToTheBudget) {
    RandomText random(1500);
    for (int round = 0; round < 200; ++round) {
        ContentSummary summary;
        for (std::size_t line = random.below(40); line > 0; --line)
            summary.lines.push_back(random.bytes(400));
        EXPECT_LE(unicode::graphemeCount(summary.text()), 1500U);
        EXPECT_FALSE(summary.modelPrompt(Locale("fr")).empty());
    }
}

} // namespace
} // namespace vesto
