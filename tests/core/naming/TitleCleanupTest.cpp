#include "core/naming/TitleCleanup.h"

#include "core/support/UnicodePattern.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

#include <vector>

namespace vesto {
namespace {

using unicode::Pattern;
using namespace titleCleanup;

constexpr std::string_view datePattern =
    R"((?:(?:\d{1,2}[/.\-]\d{1,2}[/.\-]\d{2,4})|(?:\d{4}[/.\-]\d{1,2}[/.\-]\d{1,2})))"
    R"((?:[\sT]+\d{1,2}[:h.]\d{2}(?:[:.]\d{2})?)?)";

/// A step against its pattern on random texts: pieces make matches likely, the alphabet makes near misses.
struct Step {
    std::string_view name;
    std::string_view (*step)(std::string_view);
    std::string pattern;
    Pattern::Case sensitivity;
    std::vector<std::string> pieces;
    std::u32string_view alphabet;
};

TEST(TitleCleanup, StepsDoWhatTheirPatternsDo) {
    const std::string date(datePattern);
    const std::vector<std::string> dates{"2024-03-07", "7.3.24", "07/03/2025", "14:05", "T14h05",
                                         "2.12",       " ",      "٣",          "1"};
    const std::u32string_view dateAlphabet = U"0123 T./-:h\u00A0a\u0301é٣";
    const std::vector<Step> steps{
        {"label",
         withoutLabel,
         R"(^(titre|title|nom|name)\s*:\s*)",
         Pattern::Case::insensitive,
         {"titre", "TITLE", "Nom", "name", " : ", ":"},
         U"tiTrenmoa: \u00A0\u0301"},
        {"screenshot phrase",
         withoutScreenshotPhrase,
         R"(^(capture d['’]écran|screenshot)\s+(de|d['’]|of)\s+)",
         Pattern::Case::insensitive,
         {"Capture d’écran", "CAPTURE D'ÉCRAN", "ſcreenſhot", "Screenshot", " de ", " D' ", " of"},
         U" \u00A0deofsſ'’É"},
        {"leading date", withoutLeadingDate, "^\\s*" + date + "\\s*", Pattern::Case::sensitive, dates,
         dateAlphabet},
        {"trailing date", withoutTrailingDate, "\\s*" + date + "\\s*$", Pattern::Case::sensitive, dates,
         dateAlphabet},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.name);
        const Pattern pattern(step.pattern, step.sensitivity);
        RandomText random(7);
        int changed = 0;
        for (int round = 0; round < 20'000; ++round) {
            std::string text;
            for (std::size_t part = random.below(4); part > 0; --part) {
                text += random.below(2) == 0 ? step.pieces[random.below(step.pieces.size())]
                                             : random.of(step.alphabet, 3);
                text += random.of(step.alphabet, 1);
            }
            if (round % 2 == 0)
                text = random.of(step.alphabet, 14);
            const std::string expected = pattern.replaceAll(text, "");
            ASSERT_EQ(step.step(text), expected) << "of «" << text << "»";
            changed += expected == text ? 0 : 1;
        }
        EXPECT_GT(changed, 100);
    }
}

TEST(TitleCleanup, ElisionsAreThoseOfThePattern) {
    const Pattern pattern("\\b([dDlLjJnNsScCmMtT]|qu|Qu) (?=[aeiouyhéèêàâîôûAEIOUYHÉÈÊÀÂÎÔÛ])");
    RandomText random(11);
    int matches = 0;
    for (int round = 0; round < 30'000; ++round) {
        const std::string text = random.of(U"dLquQ    aéhÉ\u0301'\u200D1_-\u00A0", 9);
        std::string expected;
        std::size_t copied = 0;
        for (const Pattern::Match& match : pattern.findAll(text)) {
            expected.append(text, copied, match.begin - copied).append(*match.groups.at(0)).append("’");
            copied = match.end;
            ++matches;
        }
        expected.append(text, copied);
        for (std::size_t place = 0; (place = expected.find('\'', place)) != std::string::npos;)
            expected.replace(place, 1, "’");
        ASSERT_EQ(withTypographicApostrophes(text), expected) << "of «" << text << "»";
    }
    EXPECT_GT(matches, 200);
}

TEST(TitleCleanup, ExtensionsGoOnceEachInTheirOrder) {
    const std::vector<std::pair<std::string_view, std::string_view>> rows{
        {"scan.pdf.png", "scan"},
        {"scan.png.pdf", "scan.png"},
        {"lettre.DOCX", "lettre"},
        {"a.doc.docx", "a"},
        {"note.pdfx", "note.pdfx"},
        {"notepdf", "notepdf"},
        {".pdf", ""},
        {"pdf", "pdf"},
    };
    for (const auto& [line, expected] : rows)
        EXPECT_EQ(withoutExtensions(line), expected) << line;
}

} // namespace
} // namespace vesto
