#include "core/naming/TitleMatching.h"

#include "core/support/Unicode.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

TEST(TitleMatching, WritesWordsAsTheTextWritesThem) {
    struct Row {
        std::string text;
        std::string title;
        std::string expected;
    };
    const std::vector<Row> rows{
        {"EDF, EDF et EDF ou Edf", "Facture Edf", "Facture EDF"},
        {"FACTURE EDF", "Facture edf", "Facture edf"},
        {"FACTURE OCTOBRE", "Ma Facture Octobre", "Ma FACTURE Octobre"},
        {"FACTURE", "Ma Facture, Octobre", "Ma Facture, Octobre"},
        {"edf EDF", "Une Edf", "Une EDF"}, // a tie: code-point order
        {"SNCF_x l'INSEE", "Train Sncf Insee", "Train SNCF INSEE"},
        {"E\u0301COLE", "Une École", "Une ÉCOLE"},
        {"STRASSE", "Die Straße", "Die Straße"}, // another word, in lowercase
        {"STRAẞE", "Die Straße", "Die STRAẞE"},
        {"ΟΔΟΣ", "Η Οδος", "Η ΟΔΟΣ"},
        {"οδοσ", "Η Οδος", "Η Οδος"},
        {"H2O2 H₂O", "Eau H2o", "Eau H2o"},
        {"H2O", "Eau H2o", "Eau H2O"},
        {"", "Facture Edf", "Facture Edf"},
        {"x", "", ""},
    };
    const auto months = foldedMonthNames(Locale("fr"));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title + " in " + row.text);
        EXPECT_EQ(withCasingOf(row.text, row.title, months), row.expected);
    }
}

TEST(TitleMatching, CompletesATitleWithItsPeriod) {
    struct Row {
        std::string title;
        std::int64_t maxLength;
        std::string expected;
    };
    const std::vector<Row> rows{
        {"Facture EDF", 60, "Facture EDF octobre 2026"},
        {"Facture octobre", 60, "Facture octobre"},
        {"OCTOBRE à la mer", 60, "OCTOBRE à la mer"},
        {"Invoice October", 60, "Invoice October"},
        {"Facture oct", 60, "Facture oct octobre 2026"},
        {"Facture octobre.", 60, "Facture octobre. octobre 2026"},
        {"Facture novembre", 60, "Facture novembre octobre 2026"},
        // "octobre 2026" takes 13 characters of the length.
        {"Facture EDF", 24, "Facture EDF octobre 2026"},
        {"Facture EDF", 23, "Facture octobre 2026"},
        {"Facture EDF", 13, "octobre 2026"},
        {"Facture EDF", 5, "octobre 2026"},
        {"Facture EDF", INT64_MIN, "octobre 2026"},
        {"ab cdefghijklm", 23,
         "ab cdefghi octobre 2026"},                  // the blank lies before the half: cut within the word
        {"abcde fghijklm", 23, "abcde octobre 2026"}, // at the half
        {"éàüçô fghijklm", 23, "éàüçô octobre 2026"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        EXPECT_EQ(withPeriod({10, 2026}, row.title, Locale("fr"), row.maxLength), row.expected);
    }
}

TEST(TitleMatching, TakesAnyBytes) {
    RandomText random(9);
    const auto months = foldedMonthNames(Locale("fr"));
    for (int round = 0; round < 300; ++round) {
        const std::string title = random.bytes(80);
        (void)withCasingOf(random.bytes(300), title, months);
        ASSERT_LE(unicode::graphemeCount(withPeriod({10, 2026}, title, Locale("fr"), 60)), 60U);
    }
}

} // namespace
} // namespace vesto
