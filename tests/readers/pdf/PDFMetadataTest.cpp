#include "core/extraction/readers/pdf/PDFMetadata.h"

#include "core/support/UnicodeDates.h"

#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

using namespace std::string_literals;

/// Bytes as Poppler hands them out.
std::u16string units(std::string_view bytes) {
    std::u16string result;
    for (const char c : bytes)
        result += static_cast<char16_t>(static_cast<unsigned char>(c));
    return result;
}

TEST(PDFMetadata, TextStrings) {
    const std::vector<std::pair<std::u16string, std::string>> rows{
        {units("R\xE9sum\xE9 \x84 l\x90\xE9t\xE9"), "Résumé — l’été"}, // PDFDocEncoding
        {units("R\xC3\xA9sum\xC3\xA9"), "Résumé"},                     // UTF-8 without a mark
        {units("\xEF\xBB\xBF\xC3\x89t\xC3\xA9"), "Été"},
        {units("\xFF\xFE\xC9\0t\0\xE9\0"s), "Été"},
        {u"Titre\u00A0: été", "Titre\u00A0: été"},
        {u"\x1B"
         u"fr\x1BRelevé",
         "Relevé"}, // with the language that it is in
        {u"\x1B"
         u"frFR\x1BŒuvre\x1B"
         u"en\x1B",
         "Œuvre"},
        {u"\x1B"
         u"f1\x1B",
         "˙f1˙"},
        {u"Œuvre – \U0001F600", "Œuvre – 😀"},
        {u"a\xD83D", "a\uFFFD"},
        {u"\xDE00\xD83D\u0416", "\uFFFD\uFFFDЖ"},
        {u"", ""},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(textOfPDFString(given), expected);
}

TEST(PDFMetadata, Titles) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"  Rapport\t annuel\n2024 ", "Rapport annuel 2024"},
        {"Microsoft Word - Rapport annuel", ""},
        {"Microsoft Word - ", ""},
        {"microsoft powerpoint - Bilan", ""},
        {"Note sur Microsoft Word - 2024", "Note sur Microsoft Word - 2024"},
        {"untitled", ""},
        {"Untitled", ""},
        {"Untitled works of Bach", "Untitled works of Bach"},
        {"facture-12.PDF", ""},
        {"lettre.docx ", ""},
        {"Le format .pdf expliqué", "Le format .pdf expliqué"},
        {"Diapositive 1", ""},
        {"Pre\u0301sentation", ""},
        {"slide12", ""},
        {"Feuille", ""},
        {"PAGE  7", ""},
        {"page 7 bis", "page 7 bis"},
        {"Page 1 2", "Page 1 2"},
        {"Page de garde", "Page de garde"},
        {" \u00A0 ", ""},
        {std::string(301, 'a'), std::string(300, 'a')},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(usablePDFTitle(given).value_or(""), expected) << given;
}

TEST(PDFMetadata, Dates) {
    const auto utc = [](int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
        return unicode::instantOf({year, month, day, hour, minute, second}, "UTC");
    };
    const std::vector<std::pair<std::string, std::optional<Instant>>> rows{
        {"D:20250307101112Z", utc(2025, 3, 7, 10, 11, 12)},
        {"D:20250307101112Z00'00'", utc(2025, 3, 7, 10, 11, 12)},
        {"D:20250307003000+01'00'", utc(2025, 3, 6, 23, 30)},
        {"D:20250307233000-08'30", utc(2025, 3, 8, 8, 0)},
        {"20250307101112+0100", utc(2025, 3, 7, 9, 11, 12)},
        {"D:19900101000000Z", utc(1990, 1, 1)},
        {"D:21001231235959Z", utc(2100, 12, 31, 23, 59, 59)},
        {"D:2025Z", utc(2025, 1, 1)},
        {"D:202503", unicode::instantOf({2025, 3, 1, 0, 0, 0})}, // local
        {"D:20250307101112", unicode::instantOf({2025, 3, 7, 10, 11, 12})},
        {"D:20250307101112+99'00'", unicode::instantOf({2025, 3, 7, 10, 11, 12})}, // no offset at all
        {"D:19891231235959Z", std::nullopt},
        {"D:21010101000000Z", std::nullopt},
        {"D:19040101000000Z", std::nullopt},
        {"D:20250230101112Z", std::nullopt},
        {"D:20251301", std::nullopt},
        {"D:00000000000000Z", std::nullopt},
        {"Fri Mar  7 10:11:12 2025", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [given, expected] : rows)
        EXPECT_EQ(instantOfPDFDate(given), expected) << given;
}

} // namespace
} // namespace vesto::readers
