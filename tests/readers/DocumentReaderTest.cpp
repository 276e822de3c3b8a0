#include "core/extraction/readers/DocumentReader.h"

#include "core/extraction/readers/ReadingLimits.h"
#include "tests/readers/support/TemporaryFile.h"
#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

#include <vector>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;
using Result = std::expected<ContentSummary, SummarizerError>;

const Instant fileDate{std::chrono::sys_days{std::chrono::year{2024} / 5 / 6}};

Result read(const std::string& name, std::string_view bytes, const DocumentSummarizer& settings = {}) {
    const UniqueFd file = tests::temporaryFile(bytes);
    ReadRequest request;
    request.fd = file.get();
    request.path = "/somewhere/" + name;
    request.type = TypeRegistry::typeOfExtension(request.path.extension().string().erase(0, 1))
                       .value_or(ContentType{"public.plain-text"});
    request.bestDate = fileDate;
    auto reading = summarizeDocument(request, settings, {});
    if (!reading)
        return std::unexpected(reading.error());
    return std::move(reading)->summary;
}

TEST(DocumentReader, readsEachFormatByItsExtension) {
    struct Row {
        std::string name, bytes, format;
        Lines lines;
    };
    const std::string docx = tests::zipArchive(
        {{"word/document.xml",
          "<w:document><w:body><w:p><w:r><w:t>Café</w:t></w:r></w:p></w:body></w:document>"}});
    const std::string odt = tests::zipArchive(
        {{"content.xml",
          "<r><office:body><office:text><text:p>Café</text:p></office:text></office:body></r>"}});
    const std::vector<Row> rows{
        {"a.txt", "Pay\xE9\n\n  le 3 ", "Texte", {"Payé", "le 3"}},
        {"A.TXT", "x", "Texte", {"x"}},
        {"vide.txt", "", "Texte", {}},
        {"sans extension", "x", "Texte", {"x"}},
        {"journal.log", "x", "Texte", {"x"}},
        {"a.md", "# *Titre*", "Markdown", {"Titre"}},
        {"a.json", R"({"client": "Dupont"})", "JSON", {"client : Dupont"}},
        {"a.csv", "a;b\n", "CSV", {"a b"}},
        {"a.html", "<p>Caf\xE9", "HTML", {"Café"}},
        {"a.rtf", R"({\rtf1 Caf\'e9})", "RTF", {"Café"}},
        {"a.rtf", "en clair", "RTF", {"en clair"}},
        {"a.docx", docx, "Word", {"Café"}},
        {"a.odt", odt, "OpenDocument", {"Café"}},
        {"a.doc", R"({\rtf1 Caf\'e9})", "Word", {"Café"}},
        {"a.doc", "\n<html><p>Bonjour", "Word", {"Bonjour"}},
        {"a.py", "# Copyright A\n\ndef paie():", "Python", {"def paie():"}},
        {"a.cc", "// Trie\nint f();", "C++", {"Trie", "int f();"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Result summary = read(row.name, row.bytes);
        ASSERT_TRUE(summary);
        EXPECT_EQ(summary->kind, ContentSummary::Kind::document);
        EXPECT_EQ(summary->formatName, row.format);
        EXPECT_EQ(summary->lines, row.lines);
        EXPECT_EQ(summary->date, fileDate);
    }
}

TEST(DocumentReader, refusesWhatItCannotRead) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"a.txt", std::string("MZ\0\1\2\0\3", 7)},
        {"a.docx", "pas une archive"},
        {"a.docx", "PK\3\4 abîmé"},
        {"a.docx", ""},
        {"a.odt", "PK\3\4"},
        {"a.doc", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"},
        {"a.webarchive", "bplist00"},
        {"a.rtfd", "{\\rtf1 x}"},
    };
    for (const auto& [name, bytes] : rows)
        EXPECT_EQ(read(name, bytes), Result(std::unexpect, SummarizerError::unreadable("/somewhere/" + name)))
            << name;
}

TEST(DocumentReader, readsNoFileAboveTheLimit) {
    EXPECT_TRUE(read("a.txt", "123456", {.maxFileBytes = 6}));
    EXPECT_FALSE(read("a.txt", "1234567", {.maxFileBytes = 6}));
}

TEST(DocumentReader, readsOnlyTheStartOfALongText) {
    std::string text;
    while (text.size() < 4 << 20)
        text += "Une ligne à répéter\n";
    const Result summary = read("a.log", text + std::string(10, '\0'));
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->lines.front(), "Une ligne à répéter");
    EXPECT_LE(summary->lines.size() * 19, maxCharacters + 19);
}

TEST(DocumentReader, findsTitleDateAndPeriod) {
    const Result page =
        read("a.html", "<title>Avis</title><meta name=date content=2025-03-12><p>Facture<p>septembre 2025");
    ASSERT_TRUE(page);
    EXPECT_EQ(page->documentTitle, "Avis");
    EXPECT_NE(page->date, fileDate);
    EXPECT_EQ(page->period, (DocumentPeriodExtractor::Period{9, 2025}));
    EXPECT_EQ(read("a.csv", "Facture;du 01/03/2025 au 31/03/2025\n")->period,
              (DocumentPeriodExtractor::Period{3, 2025}));
    EXPECT_EQ(read("a.txt", "Bonjour, septembre 2025")->period, std::nullopt);
}

} // namespace
} // namespace vesto::readers
