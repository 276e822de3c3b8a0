#include "core/support/Unicode.h"

#include "core/support/Charset.h"
#include "core/support/UnicodeDates.h"
#include "core/support/UnicodePattern.h"

#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

#include <memory>
#include <random>
#include <vector>

namespace vesto::unicode {
namespace {

/// Random text over scalars that join, split, fold and compose in every way.
std::string nastyText(std::mt19937& random, std::size_t scalars) {
    static const std::u32string alphabet =
        U"aE1 "
        U"_-.\r\n\t\u00A0\u00AD\u00C9\u00DF\u0130\u0153\u0300\u0301\u0323\u034F\u0600\u0915\u093F\u094D\u0E33"
        U"\u1100\u1161\u11A8\uAC00\u200C\u200D\u2019\u2026\u20AC\u212B\u3042\u3099\uFE0F\U0001F1EB\U0001F1F7"
        U"\U0001F468\U0001F469\U0001F3FB\uFFFD";
    std::string text;
    for (std::size_t count = 0; count < scalars; ++count) {
        if (random() % 40 == 0)
            text.push_back(static_cast<char>(0x80 + random() % 0x80)); // a stray byte
        else
            append(text, alphabet[random() % alphabet.size()]);
    }
    return text;
}

std::vector<std::size_t> clusterEndsOfIcu(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    const auto wide = icu::UnicodeString::fromUTF8(text);
    breaks->setText(wide);
    std::vector<std::size_t> ends;
    for (std::int32_t end = breaks->next(); end != icu::BreakIterator::DONE; end = breaks->next()) {
        std::string part;
        wide.tempSubStringBetween(0, end).toUTF8String(part);
        ends.push_back(part.size());
    }
    return ends;
}

TEST(Unicode, ClassesAreThoseOfIcu) {
    for (char32_t scalar = 0; scalar < 0x3400; ++scalar) {
        SCOPED_TRACE(static_cast<std::uint32_t>(scalar));
        const auto code = static_cast<UChar32>(scalar);
        const std::uint32_t category = U_GET_GC_MASK(code);
        EXPECT_EQ(isLetterOrMark(scalar), (category & (U_GC_L_MASK | U_GC_M_MASK)) != 0);
        EXPECT_EQ(isLetter(scalar), (category & U_GC_L_MASK) != 0);
        EXPECT_EQ(isMark(scalar), (category & U_GC_M_MASK) != 0);
        EXPECT_EQ(isNumber(scalar), (category & U_GC_N_MASK) != 0);
        EXPECT_EQ(isDecimalDigit(scalar), (category & U_GC_ND_MASK) != 0);
        EXPECT_EQ(isAlphanumeric(scalar), (category & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0);
        EXPECT_EQ(isWhiteSpace(scalar), u_isUWhiteSpace(code) != 0);
    }
}

TEST(Unicode, ClustersAreThoseOfIcu) {
    std::mt19937 random(7);
    for (int round = 0; round < 2'000; ++round) {
        const std::string text = repaired(nastyText(random, random() % 24));
        const std::vector<std::size_t> ends = clusterEndsOfIcu(text);
        ASSERT_EQ(graphemeCount(text), ends.size()) << text;
        for (std::size_t count = 0; count < ends.size(); ++count)
            ASSERT_EQ(graphemePrefix(text, count + 1).size(), ends[count]) << text;
        std::size_t within = 0;
        for (std::size_t bytes = 0, next = 0; bytes <= text.size(); ++bytes) {
            if (next < ends.size() && ends[next] == bytes)
                within = ends[next++];
            ASSERT_EQ(graphemePrefixWithin(text, bytes).size(), within) << text;
        }
        if (!ends.empty()) {
            const std::size_t before = ends.size() > 1 ? ends[ends.size() - 2] : 0;
            ASSERT_EQ(lastGraphemeSize(text), text.size() - before) << text;
        }
    }
}

TEST(Unicode, WordBoundariesAreThoseOfThePattern) {
    const Pattern boundary("\\b");
    std::mt19937 random(11);
    for (int round = 0; round < 1'000; ++round) {
        const std::string text = repaired(nastyText(random, 1 + random() % 16));
        std::vector<bool> expected(text.size() + 1);
        for (const auto& match : boundary.findAll(text))
            expected[match.begin] = true;
        for (std::size_t offset = 0; offset <= text.size();) {
            ASSERT_EQ(isWordBoundary(text, offset), expected[offset]) << text << " at " << offset;
            offset += offset < text.size() ? scalarAt(text, offset).size : 1;
        }
    }
}

TEST(Unicode, ComposesLongRunsOfMarksAsIcuDoes) {
    constexpr std::u32string_view alphabet =
        U"\u0301\u0316\u0327\u0344\u0340\u0F71\u0F73\u0F75\u0F81\u05B0\u3099\U0001D165";
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2& nfc = *icu::Normalizer2::getNFCInstance(status);
    std::mt19937 random(17);
    for (int round = 0; round < 300; ++round) {
        std::string text = "ge";
        for (std::size_t left = 50 + random() % 100; left > 0; --left)
            append(text, random() % 64 == 0 ? U'c' : alphabet[random() % alphabet.size()]);
        std::string expected;
        nfc.normalize(icu::UnicodeString::fromUTF8(text), status).toUTF8String(expected);
        ASSERT_EQ(composed(text), expected) << text;
    }
    // Sorting by insertion would not end before the test's time limit.
    std::string hostile;
    while (hostile.size() < 1'000'000)
        hostile += "\u0301\u0316\u0F73";
    EXPECT_EQ(composed(composed(hostile)), composed(hostile));
    EXPECT_EQ(folded(hostile), "");
}

TEST(Unicode, Folds) {
    struct Row {
        std::string_view text, folded;
    };
    const std::vector<Row> rows{
        {"Relevé d’Août", "releve d'aout"},
        {"ÉMIS LE : 12 €", "emis le : 12 €"},
        {"STRASSE straße", "strasse strasse"},
        {"E\u0301te\u0301 œuvre", "ete œuvre"},
        {"Ἀθῆναι Ω", "αθηναι ω"},
        {"이름 ガ", "이름 カ"},
        {"a\xFFz", "a\uFFFDz"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(folded(row.text), row.folded);
}

TEST(Unicode, FoldingBySegmentsIsFoldingAsAWhole) {
    std::mt19937 random(5);
    for (int round = 0; round < 2'000; ++round) {
        const std::string text = nastyText(random, random() % 30);
        const std::string once = folded(text);
        // Folding is stable, whatever the road a segment took, and agrees with each segment folded alone.
        std::string parts;
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find(' ', start), text.size());
            parts += folded(std::string_view(text).substr(start, end - start));
            if (end < text.size())
                parts += ' ';
            start = end + 1;
        }
        ASSERT_EQ(once, parts) << text;
        ASSERT_TRUE(isValid(once));
    }
}

TEST(Unicode, SameNamesHaveTheSameFoldedKey) {
    EXPECT_EQ(caseFolded("E\u0301TÉ.PDF"), caseFolded("éte\u0301.pdf"));
    EXPECT_EQ(caseFolded("STRASSE"), caseFolded("straße"));
    EXPECT_NE(caseFolded("ete"), caseFolded("été"));
}

TEST(Unicode, ReadsAnyBytes) {
    struct Row {
        std::string_view bytes, repaired;
    };
    const std::vector<Row> rows{
        {"abc", "abc"},
        {"\xC3\xA9", "é"},
        {"\xC3", "\uFFFD"},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x9F\x98x", "\uFFFDx"},
        {"\xEF\xBF\xBD", "\uFFFD"},
        {"\xC0\xAF/", "\uFFFD\uFFFD/"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(repaired(row.bytes), row.repaired);
        EXPECT_EQ(isValid(row.bytes), row.bytes == row.repaired);
    }
}

TEST(Charset, DecodesWhatMailAndDocumentsDeclare) {
    EXPECT_EQ(decodeCharset("\x93"
                            "d\xE9j\xE0\x94 \x80",
                            "windows-1252"),
              "“déjà” €");
    EXPECT_EQ(decodeCharset("\x8Et\x8E", "macintosh"), "été");
    EXPECT_EQ(decodeCharset(std::string_view("\xFF\xFE\xE9\0", 4), "UTF-16"), "é");
    EXPECT_EQ(decodeCharset("x", "no-such-charset"), std::nullopt);
    EXPECT_EQ(decodeCharset("x", ""), std::nullopt);
    EXPECT_EQ(decodeCharset(std::string(10'000, '\xE9'), "latin1")->size(), 20'000U);
}

TEST(Dates, SpeakTheLocale) {
    const auto instant = instantOf({2025, 3, 7, 23, 30, 0}, "Europe/Paris");
    ASSERT_TRUE(instant);
    EXPECT_EQ(formatDate(*instant, "yyyy-MM-dd HH:mm", Locale("fr_FR"), "UTC"), "2025-03-07 22:30");
    EXPECT_EQ(formatDate(*instant, "EEEE d MMMM yyyy", Locale("fr_FR"), "Europe/Paris"),
              "vendredi 7 mars 2025");
    EXPECT_EQ(formatMonthAndYear(10, 2026, Locale("fr_FR")), "octobre 2026");
    EXPECT_EQ(formatMonthAndYear(3, 2026, Locale("en_US")), "March 2026");
    EXPECT_EQ(formatMonthAndYear(13, 2026, Locale("fr_FR")), std::nullopt);
    EXPECT_EQ(monthNames(Locale("fr"))[7], "août");
    EXPECT_EQ(instantOf({2025, 2, 29, 0, 0, 0}), std::nullopt);
    // The instant before the epoch, and a year before the Gregorian reform, keep their own dates.
    EXPECT_EQ(formatDate(*instantOf({1500, 3, 1, 0, 0, 0}, "UTC"), "yyyy-MM-dd", Locale("fr"), "UTC"),
              "1500-03-01");
    EXPECT_EQ(formatDate(*instantOf({1969, 12, 31, 23, 59, 59}, "UTC"), "yyyy-MM-dd", Locale("fr"), "UTC"),
              "1969-12-31");
}

TEST(Dates, KeepTheGregorianCalendarInEveryLocale) {
    // No era, though the calendar of these countries is another one.
    EXPECT_EQ(formatMonthAndYear(3, 2026, Locale("ar_SA")), "مارس ٢٠٢٦");
    EXPECT_EQ(formatMonthAndYear(3, 2026, Locale("fa_IR")), "مارس ۲۰۲۶");
    EXPECT_EQ(monthNames(Locale("fa_IR"))[2], "مارس");
}

TEST(Dates, SpeakEnglishForALocaleThatIsNone) {
    const Instant epoch{};
    for (const std::string& identifier :
         {std::string(), std::string("../../etc"), std::string("\xFF\xFE"), std::string("a_b_c_d_e_f"),
          std::string(5000, 'a'), "fr_FR_" + std::string(300, 'b')}) {
        const Locale locale(identifier);
        EXPECT_EQ(formatMonthAndYear(3, 2026, locale), "March 2026") << identifier;
        EXPECT_EQ(formatDate(epoch, "yyyy-MM-dd MMMM", locale, "UTC"), "1970-01-01 January") << identifier;
        EXPECT_EQ(monthNames(locale)[2], "March") << identifier;
    }
}

} // namespace
} // namespace vesto::unicode
