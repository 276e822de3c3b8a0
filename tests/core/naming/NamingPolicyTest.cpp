#include "core/naming/NamingPolicy.h"

#include "core/support/Unicode.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace vesto {
namespace {

using Rows = std::vector<std::pair<std::string, std::string>>;

TEST(NamingPolicy, CleansTitles) {
    const Rows rows{
        {"Titre : facture d'électricité mars 2025.pdf", "Facture d’électricité mars 2025"},
        {"Capture d’écran de la page d accueil", "La page d’accueil"},
        {"2025-03-07 14:05 Réunion budget", "Réunion budget"},
        {"Réunion budget 07.03.2025", "Réunion budget"},
        {"Bail 01.02.2024 03.04.05", "Bail"}, // the longer match, with a time, counts
        {"\"Plan de travail\"", "Plan de travail"},
        {"Devis n°12…", "Devis n°12"},
        {"Pourquoi ?", "Pourquoi"},
        {"\n\r\n  Rapport annuel\nAnnexe", "Rapport annuel"},
        {"\u2028\u00A0\t\u0085Bail\vLocal", "Bail"},
        {"A1", ""},
        {"ab", "Ab"},
        {"", ""},
        {"e\u0301cole", "École"},       // composed before anything else
        {"e\u200B\u0301cole", "École"}, // and again where a control character stood between
        {"\uFB01che de paie", "FIche de paie"},
        {"Budget 07/\u0301 03: total", "Budget 07 \u0301 03 total"}, // a slash is a slash
        {"Note\u202Ede\u0007 frais\tdu mois", "Notede fraisdu mois"},
        {"«\u00A0Bail\u202F»", "Bail"},
        {"._- Bail signé -_.", "Bail signé"},
        {"\u0645\u06CC\u200C\u062E\u0648\u0627\u0647\u0645",
         "\u0645\u06CC\u200C\u062E\u0648\u0627\u0647\u0645"},
        {"Famille 👩\u200D💻 x\u200D 1\u200D2", "Famille 👩\u200D💻 x 12"},
    };
    for (const auto& [raw, expected] : rows)
        EXPECT_EQ(NamingPolicy().cleanTitle(raw), expected) << raw;
}

TEST(NamingPolicy, CutsTitlesAtASpaceThatLeavesHalf) {
    const std::string a45 = "A" + repeated("a", 44);
    const std::string a30 = "A" + repeated("a", 29);
    const Rows rows{
        {a45 + " " + repeated("b", 24), a45},
        {a30 + " " + repeated("b", 40), a30},
        {repeated("a", 29) + " " + repeated("b", 40), "A" + repeated("a", 28) + " " + repeated("b", 30)},
        {repeated("é", 60), "É" + repeated("é", 59)},
        {repeated("q\u0301", 61), "Q\u0301" + repeated("q\u0301", 59)}, // counted in grapheme clusters
        {repeated("a", 59) + "-b", "A" + repeated("a", 58)}, // edges are trimmed after the cut as well
    };
    for (const auto& [raw, expected] : rows)
        EXPECT_EQ(NamingPolicy().cleanTitle(raw), expected) << raw;
    EXPECT_EQ((NamingPolicy{.maxTitleLength = -1}.cleanTitle("Bail")), "");
}

TEST(NamingPolicy, SanitizesFileNames) {
    const Rows rows{
        {"..rapport: version/finale?.", "rapport- version-finale"},
        {"a/\u0301b:\u200Dc", "a-\u0301b-c"},
        {std::string("a\0b", 3), "ab"},
        {".\u0301 . caché", "\u0301 . caché"},
        {"a\u00A0\u202F\u3000b\u2028c", "a bc"},
        {"a\u200D<b", "a b"}, // a joiner beside a character that goes does not stay
        {"07/03 \\?*\"<>| x", "07-03 x"},
        {" . . ", ""},
        {"Note\xFF.", "Note\uFFFD"},
    };
    for (const auto& [raw, expected] : rows)
        EXPECT_EQ(NamingPolicy::sanitizeFileName(raw), expected) << raw;
}

TEST(NamingPolicy, JoinsFileNames) {
    struct Row {
        std::string base, ext;
        std::optional<std::int64_t> suffix;
        std::string expected;
    };
    const std::string x200 = repeated("x", 200);
    const std::string giant = "e" + repeated("\u0316", 200); // one grapheme cluster of 401 bytes
    const std::vector<Row> rows{
        {"", "PDF", {}, "Sans titre.PDF"},
        {"///", "", 3, "--- 3"},
        {"Bail", "pdf", 2, "Bail 2.pdf"},
        {repeated("é", 300), "pdf", {}, repeated("é", 125) + ".pdf"},
        {repeated("é", 300), "pdf", 10, repeated("é", 124) + " 10.pdf"},
        {repeated("👩‍💻", 40),
         "pdf",
         {},
         repeated("👩‍💻", 22) + ".pdf"}, // 11 bytes each, never split
        {"Bail", repeated("x", 197), 2, "Bail 2." + repeated("x", 197)},
        {"Bail", x200, 2, "Bail." + x200}, // a tail over 200 bytes has no number
        {"Bail", repeated("x", 300), {}, "B." + repeated("x", 253)},
        {"Bail", repeated("é", 150), {}, "B." + repeated("é", 150)}, // cut by characters, hence 302 bytes
        {giant + "b", "pdf", {}, giant}, // one enormous character stays, the tail has no room
    };
    for (const Row& row : rows)
        EXPECT_EQ(NamingPolicy().fileName(row.base, row.ext, row.suffix), row.expected) << row.base;
}

TEST(NamingPolicy, TakesAnyLimits) {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    for (const std::int64_t limit : {least, std::int64_t{-1}, std::int64_t{0}}) {
        EXPECT_EQ((NamingPolicy{limit, limit}.fileName("bail", "pdf", 2)), "b") << limit;
        EXPECT_EQ((NamingPolicy{limit, limit}.cleanTitle("bail")), "") << limit;
    }
    EXPECT_EQ((NamingPolicy{most, most}.fileName("bail", "pdf", 2)), "bail 2.pdf");
    EXPECT_EQ((NamingPolicy{most, most}.cleanTitle("bail")), "Bail");
}

TEST(NamingPolicy, HoldsItsPromisesOnAnyText) {
    RandomText random(3);
    const NamingPolicy policy;
    for (int round = 0; round < 4'000; ++round) {
        const std::string raw = round % 4 == 0 ? random.bytes(200) : random.of(hostileAlphabet, 150);
        const std::string sane = NamingPolicy::sanitizeFileName(raw);
        ASSERT_EQ(NamingPolicy::sanitizeFileName(sane), sane) << raw;
        ASSERT_TRUE(unicode::isValid(sane)) << raw;
        ASSERT_EQ(sane.find_first_of(std::string_view("/:\0\n", 4)), std::string::npos) << raw;

        const std::string title = policy.cleanTitle(raw);
        ASSERT_TRUE(unicode::isValid(title)) << raw;
        // Only the first character may grow, to three at most, when it is made upper case.
        ASSERT_LE(unicode::graphemeCount(title), 62u) << raw;
        ASSERT_EQ(title.find_first_of("/:\\?*\"<>|\n"), std::string::npos) << raw;

        const std::optional<std::int64_t> suffix =
            random.below(2) == 0 ? std::nullopt : std::optional<std::int64_t>(random.below(1'000'000));
        const std::string name = policy.fileName(raw, "pdf", suffix);
        ASSERT_LE(name.size(), 255u) << raw;
        ASSERT_TRUE(unicode::isValid(name)) << raw;
        ASSERT_FALSE(name.starts_with('.')) << raw;
    }
}

TEST(NamingPolicy, HostileTextsAreNoWork) {
    const NamingPolicy policy;
    for (const std::string_view piece : {" ", "\u00A0", "T", "1", "1.", "\u0301", "\u0301\u0316", "\u202E",
                                         "'", "-", "d ", "👩\u200D", "\n", "\xFF", "a", ".pdf", "🇫"}) {
        const std::string much = hostile(piece);
        for (const std::string& raw : {much, "Bail " + much + "x", "titre" + much, "2024-01-01" + much}) {
            EXPECT_LE(unicode::graphemeCount(policy.cleanTitle(raw)), 60u);
            const std::string sane = NamingPolicy::sanitizeFileName(raw);
            EXPECT_LE(policy.fileName(sane, "pdf").size(),
                      std::max<std::size_t>(unicode::firstGraphemeSize(sane), 255));
        }
        const NamingPolicy wide{.maxFileNameBytes = static_cast<std::int64_t>(much.size()) - 1};
        EXPECT_FALSE(wide.fileName(much, "pdf").empty());
    }
}

} // namespace
} // namespace vesto
