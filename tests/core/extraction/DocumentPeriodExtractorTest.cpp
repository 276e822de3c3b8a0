#include "core/extraction/DocumentPeriodExtractor.h"

#include "core/extraction/MonthNames.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodePattern.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <array>

namespace vesto {
namespace {

using DocumentPeriodExtractor::Period;
using unicode::Pattern;

std::string shown(const std::optional<Period>& period) {
    return period ? std::to_string(period->month) + "/" + std::to_string(period->year) : "-";
}

TEST(DocumentPeriodExtractor, FindsThePeriodOfADocument) {
    struct Row {
        std::string text;
        bool allowMonthName;
        std::string expected;
    };
    const std::vector<Row> rows{
        {"BULLETIN DE PAIE\nPériode du 01/03/2025 au 31/03/2025", false, "3/2025"},
        {"Relevé de compte\nn° 12 du 01/02/25 au 28/02/25", false, "2/2025"},
        {"voir le relevé joint du 01/02/25 au 28/02/25", false, "-"},
        {"\n\t Relevé\ndu 01/02/25 au 28/02/25", false, "2/2025"},
        {"Relevés\ndu 01/02/25 au 28/02/25", false, "-"},
        {"un relevé  carte du 01/02/25 au 28/02/25", false, "2/2025"},
        {"un relevé cartes du 01/02/25 au 28/02/25", false, "-"},
        {"Facture n° 7\nDate de facture : 12/11/2024", false, "11/2024"},
        {"Invoice date: 11/28/2024", false, "11/2024"},
        {"Facturette\nDate : 12/11/2024", false, "-"},
        {"Avis d’imposition 2024\nseptembre 2025", true, "9/2025"},
        {"Avis d'imposition 2024\nseptembre 2025", false, "-"},
        {"Facture du 31/04/2025", false, "-"},
        {"Facture du 29/02/2024", false, "2/2024"},
        {"Facture du 29/02/2025", false, "-"},
        // The end counts; the start where the end is no date.
        {"Facture du 28.02.2025 au 02.03.2025", false, "3/2025"},
        {"Facture du 28.02.2025 au 31.02.2025", false, "2/2025"},
        // The first match decides for its pattern, the next pattern comes after it.
        {"Facture émis le 31/04/2025, émis le 01/05/2025, date : 02/06/2025", false, "6/2025"},
        {"Facture. Date: 02/06/2025. Émis le 01/05/2025", false, "5/2025"},
        {"Facture. Date : :02/06/2025", false, "6/2025"},
        {"Facture. Date d’arrêté\u00A0:\n02-06-25", false, "6/2025"},
        {"Facture du 05/03/1989", false, "-"},
        {"Facture du 05/03/2100", false, "3/2100"},
        {"Facture du 05/03/202", false, "-"},
        {"Facture du 05/03/20259", false, "3/2025"},
        {"Facture du 0٥/03/2025", false, "-"},
        // A month name with its year, words apart by any white space.
        {"Facture AOÛT\u00A02025", true, "8/2025"},
        {"Facture mars 1999, mai 20251, juin\n2031", true, "6/2031"},
        {"Facture mars 20٢٥, juin 2025", true, "-"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(shown(DocumentPeriodExtractor::period(row.text, row.allowMonthName)), row.expected);
    }
}

TEST(DocumentPeriodExtractor, LooksForTheKindOfDocumentInTheFirst800Characters) {
    std::string before;
    for (int i = 0; i < 792; ++i)
        before += "é";
    EXPECT_TRUE(DocumentPeriodExtractor::isPeriodicDocument(before + " facture"));
    EXPECT_FALSE(DocumentPeriodExtractor::isPeriodicDocument(before + "é facture"));
}

TEST(DocumentPeriodExtractor, LabelsAPeriodInTheLocalesWords) {
    EXPECT_EQ((Period{3, 2026}.label(Locale("fr"))), "mars 2026");
    EXPECT_EQ((Period{3, 2026}.label(Locale("en_US"))), "March 2026");
    EXPECT_EQ((Period{13, 2026}.label(Locale("fr"))), "13/2026");
    EXPECT_EQ((Period{1, INT64_MIN}.label(Locale("fr"))), "1/-9223372036854775808");
}

// ---- The same searches as plain patterns, which are slow and short ----

constexpr std::string_view dateExpression = R"((\d{1,2})[/.\-](\d{1,2})[/.\-](\d{2,4}))";

std::optional<int> integerOf(std::string_view digits) {
    int value = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    return value;
}

std::optional<Period> lastDateIn(std::string_view matched) {
    static const Pattern pattern{dateExpression};
    const std::vector<Pattern::Match> dates = pattern.findAll(matched);
    for (auto date = dates.rbegin(); date != dates.rend(); ++date) {
        const auto first = integerOf(*date->groups[0]);
        const auto second = integerOf(*date->groups[1]);
        const auto year = integerOf(*date->groups[2]);
        if (first && second && year)
            if (const auto period = DocumentPeriodExtractor::periodOfNumericDate(*first, *second, *year))
                return period;
    }
    return std::nullopt;
}

std::string monthAlternatives() {
    std::string names;
    for (const MonthName& month : monthNameTable())
        names += (names.empty() ? "" : "|") + std::string(month.name);
    return names;
}

bool isPeriodicByPatterns(std::string_view text) {
    static const Pattern pattern{
        R"((?m)^\s*releve\b|\breleve\s+(de|carte|compte)\b|\b(bulletin de paie|bulletin de salaire|fiche de paie)"
        R"(|facture|quittance|avis d'echeance|echeancier|avis d'imposition|note de frais|invoice|statement|payslip)"
        R"(|pay slip|receipt|recu)\b)"};
    return pattern.matchesIn(unicode::folded(unicode::graphemePrefix(text, 800)));
}

std::optional<Period> extractByPatterns(std::string_view text, bool allowMonthName) {
    const std::string date{dateExpression};
    static const std::array<Pattern, 4> patterns{
        Pattern{R"(\bdu\s+)" + date + R"(\s+au\s+)" + date},
        Pattern{R"((date d'arrete|arrete au|date d'emission|emis le|invoice date|statement date)\s*:?\s*)" +
                date},
        Pattern{R"((date de facture|date de facturation|facture du)\s*:?\s*)" + date},
        Pattern{R"((date du releve|date de releve|date d'operation|date :|date:)\s*:?\s*)" + date},
    };
    static const Pattern monthPattern{R"(\b()" + monthAlternatives() + R"()\s+(20\d{2})\b)"};
    const std::string folded = unicode::folded(text);
    for (const Pattern& pattern : patterns)
        if (const auto match = pattern.find(folded))
            if (const auto period = lastDateIn(folded.substr(match->begin, match->end - match->begin)))
                return period;
    if (const auto match = allowMonthName ? monthPattern.find(folded) : std::nullopt)
        if (const std::optional<int> year = integerOf(*match->groups[1]))
            return Period{*monthOfName(*match->groups[0]), *year};
    return std::nullopt;
}

TEST(DocumentPeriodExtractor, FindsWhatThePlainPatternsFind) {
    static constexpr std::array<std::string_view, 68> pieces{" ",
                                                             "  ",
                                                             "\n",
                                                             "\r\n",
                                                             "\t",
                                                             "\u00A0",
                                                             "\u2028",
                                                             "\u0085",
                                                             "\v",
                                                             "\u200B",
                                                             "\u200D",
                                                             "\u0301",
                                                             "_",
                                                             "-",
                                                             "/",
                                                             ".",
                                                             ":",
                                                             " : ",
                                                             "x",
                                                             "É",
                                                             "’",
                                                             "\xC3",
                                                             "\xFF",
                                                             "٣",
                                                             "0",
                                                             "1",
                                                             "12",
                                                             "25",
                                                             "2025",
                                                             "20",
                                                             "31/04/25",
                                                             "1.2.2024",
                                                             "31/12/1",
                                                             "03/25/25",
                                                             "5-6-٢٥",
                                                             "du ",
                                                             "du 1/2/25",
                                                             " au ",
                                                             "au 3/4/25",
                                                             "relevé",
                                                             "Releve ",
                                                             "\nrelevé",
                                                             " de",
                                                             "carte",
                                                             "compte ",
                                                             "Facture",
                                                             "facture du",
                                                             "date",
                                                             "date :",
                                                             "Date de ",
                                                             "Émis le",
                                                             "arrêté au",
                                                             "d’",
                                                             "reçu",
                                                             "avis d’",
                                                             "imposition",
                                                             "mars",
                                                             "Mai ",
                                                             "août\n",
                                                             "juin 2025",
                                                             "may 20",
                                                             "opération",
                                                             "du relevé",
                                                             "1/1/2020",
                                                             "du 1/2/25 au 3",
                                                             "septembre 20",
                                                             "Date :  ",
                                                             " mars 2024"};
    RandomText random(20250301);
    std::size_t periodic = 0;
    std::size_t dated = 0;
    for (int round = 0; round < 12'000; ++round) {
        const std::string text = random.of(pieces, 14);
        SCOPED_TRACE(testing::PrintToString(text));
        const bool isPeriodic = DocumentPeriodExtractor::isPeriodicDocument(text);
        const auto period = DocumentPeriodExtractor::extract(text, round % 2 == 0);
        ASSERT_EQ(isPeriodic, isPeriodicByPatterns(text));
        ASSERT_EQ(shown(period), shown(extractByPatterns(text, round % 2 == 0)));
        periodic += isPeriodic ? 1U : 0U;
        dated += period ? 1U : 0U;
    }
    EXPECT_GT(periodic, 1500U); // or the test would see nothing
    EXPECT_GT(dated, 500U);
}

} // namespace
} // namespace vesto
