#include "core/naming/FallbackNameGenerator.h"

#include "core/support/UnicodePattern.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

using Lines = std::vector<std::string>;

std::optional<std::string> proposed(Lines lines, std::int64_t maxWords = 6,
                                    std::optional<std::string> documentTitle = {}) {
    ContentSummary summary;
    summary.lines = std::move(lines);
    summary.documentTitle = std::move(documentTitle);
    return FallbackNameGenerator{maxWords}.propose(summary);
}

TEST(FallbackNameGenerator, TakesTheFirstUsableLines) {
    const std::vector<std::pair<Lines, std::optional<std::string>>> rows{
        {{}, {}},
        {{"Finder Fichier Édition Présentation", "12:04", "Facture EDF n° 10458821"},
         "Facture EDF n° 10458821"},
        {{"Bail signé", "un deux trois quatre cinq"}, "Bail signé un deux trois quatre"},
        {{"Bail", "signé", "ailleurs", "jamais"}, "Bail signé ailleurs"},
        {{"Un deux trois", "quatre"}, "Un deux trois"},
        {{" \tBail\u00A0\u2028signé  ici\r"}, "Bail signé ici"},
        {{"0123456789 abc"}, {}},
        {{"abcd 1234567"}, {}},                       // 4 of 11
        {{"abcd 123456"}, "abcd 123456"},             // 4 of 10
        {{"abcd 🇫🇷🇫🇷🇫🇷🇫🇷🇫🇷🇫🇷"}, "abcd 🇫🇷🇫🇷🇫🇷🇫🇷🇫🇷🇫🇷"}, // 4 of 10 characters, of 16 scalars
        {{"Voir www.exemple", "jean@exemple.re", "exemple.ORG", "HTTPS://a", "Exemple.frais du mois"},
         "Exemple.frais du mois"},
        {{"  LUN. 3 mars", "Mon rapport annuel", "E\u0301DITION PRÉSENTATION", "Monsieur Dupont"},
         "Monsieur Dupont"},
        {{"Mon", "Rapport annuel"}, "Rapport annuel"}, // too short
        {{"Mont", "dim.x Rapport"}, "Mont"},
    };
    for (const auto& [lines, expected] : rows)
        EXPECT_EQ(proposed(lines), expected) << (lines.empty() ? "" : lines.front());
    EXPECT_EQ(proposed({"un deux", "trois quatre"}, 1), "un");
    EXPECT_EQ(proposed({"deux mots"}, -3), "");
}

TEST(FallbackNameGenerator, LooksAtTwentyFiveLines) {
    Lines lines(24, "12:04");
    lines.push_back("Bail signé");
    lines.push_back("jamais lu");
    EXPECT_EQ(proposed(lines), "Bail signé");
    lines.insert(lines.begin(), "--");
    EXPECT_EQ(proposed(lines), std::nullopt);
}

TEST(FallbackNameGenerator, PrefersTheMetadataTitleAsItStands) {
    EXPECT_EQ(proposed({"Bail signé"}, 6, " www.a.fr 1\n2 3 4 5 6 7 8 "), "www.a.fr 1 2 3 4 5");
    EXPECT_EQ(proposed({"Bail signé"}, 6, ""), "");
}

TEST(FallbackNameGenerator, RejectsWhatTheWebAddressPatternFinds) {
    const unicode::Pattern address(R"((https?://|www\.|@[a-z0-9-]+\.|\.(com|fr|org|net)\b))",
                                   unicode::Pattern::Case::insensitive);
    const std::vector<std::string_view> pieces{"http", "HTTPs", "httpſ", "://", "www",   ".",
                                               "@",    "fr",    ".COM",  "net", "\u212A"};
    RandomText random(19);
    int rejected = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::string line = "Lettre à la famille ";
        for (int part = 0; part < 4; ++part) {
            line += random.of(U"a-@.ſw_ \u0301é", 2);
            line += pieces[random.below(pieces.size())];
        }
        line += random.of(U"a_. \u0301é", 1);
        ASSERT_EQ(proposed({line}).has_value(), !address.matchesIn(line)) << line;
        rejected += address.matchesIn(line) ? 1 : 0;
    }
    EXPECT_GT(rejected, 1'000);
    EXPECT_LT(rejected, 19'000);
}

TEST(FallbackNameGenerator, TakesAnyText) {
    RandomText random(23);
    for (int round = 0; round < 2'000; ++round)
        static_cast<void>(proposed({random.bytes(80), random.of(hostileAlphabet, 60)}));
    for (const std::string_view piece : {"@a", "@", "a", "h", "\u0301", " ", ".f", "\xF0\x9F", "www", "🇫"}) {
        const std::string much = "titre" + hostile(piece);
        static_cast<void>(proposed({much}));
    }
}

} // namespace
} // namespace vesto
