#include "core/extraction/readers/pdf/PDFReader.h"

#include "core/extraction/readers/ReadingLimits.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"
#include "tests/readers/support/PDFWriter.h"
#include "tests/readers/support/Pictures.h"
#include "tests/readers/support/TemporaryFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace vesto::readers {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

constexpr Instant fileDate = std::chrono::sys_days{std::chrono::year{2020} / 2 / 3};

ReadRequest requestOf(int fd, const char* name = "a.pdf") {
    return {.fd = fd, .path = name, .type = {"com.adobe.pdf"}, .route = Route::pdf, .bestDate = fileDate};
}

std::expected<ContentSummary, SummarizerError> summarize(int fd) {
    const auto reading = summarizePDF(requestOf(fd), PDFSummarizer());
    if (!reading)
        return std::unexpected(reading.error());
    return reading->summary;
}

std::expected<ContentSummary, SummarizerError> read(const std::string& bytes) {
    const UniqueFd file = tests::temporaryFile(bytes);
    return summarize(file.get());
}

/// Of a file that must be readable.
ContentSummary summaryOf(const std::string& bytes) {
    auto summary = read(bytes);
    EXPECT_TRUE(summary) << (summary ? "" : summary.error().name());
    return summary.value_or(ContentSummary());
}

std::string pdfWithInfo(const std::vector<std::pair<std::string, std::string>>& info) {
    PDFWriter writer;
    writer.addPage(PDFWriter::column(60, {"Un texte"}));
    for (const auto& [key, value] : info)
        writer.setInfo(key, value);
    return writer.bytes();
}

TEST(PDFReader, FillsTheSummary) {
    PDFWriter writer;
    writer.addPage(PDFWriter::column(
        60, {"BULLETIN DE PAIE", "  Période du 01/03/2025 au 31/03/2025 ", "Salaire : 2 500 €"}));
    writer.addPage("");
    writer.setInfo("Title", "(Bulletin de mars)");
    writer.setInfo("CreationDate", "(D:20250402120000+02'00')");
    const ContentSummary summary = summaryOf(writer.bytes());
    EXPECT_EQ(summary.kind, ContentSummary::Kind::pdf);
    EXPECT_THAT(summary.lines,
                ElementsAre("BULLETIN DE PAIE", "Période du 01/03/2025 au 31/03/2025", "Salaire : 2 500 €"));
    EXPECT_EQ(summary.documentTitle, "Bulletin de mars");
    EXPECT_EQ(summary.pageCount, 2);
    EXPECT_EQ(summary.date, unicode::instantOf({2025, 4, 2, 10, 0, 0}, "UTC"));
    EXPECT_EQ(summary.period, (DocumentPeriodExtractor::Period{3, 2025}));
    EXPECT_FALSE(summary.textFromOCR);
    EXPECT_EQ(summary.formatName, std::nullopt);
}

TEST(PDFReader, TitleAndDateOfTheDictionary) {
    struct Row {
        std::vector<std::pair<std::string, std::string>> info;
        std::optional<std::string> title;
        std::optional<Instant> date;
    };
    const auto day = [](int year) { return unicode::instantOf({year, 1, 2, 0, 0, 0}, "UTC"); };
    const std::vector<Row> rows{
        {{}, std::nullopt, fileDate},
        {{{"Title", "<FEFF00C9007422650020D83DDE00>"}}, "Ét≥ 😀", fileDate},
        {{{"Title", "(L\\220\\351t\\351)"}}, "L’été", fileDate},
        {{{"Title", "(Microsoft Word - Lettre.doc)"}}, std::nullopt, fileDate},
        {{{"Title", "42"}, {"CreationDate", "[1 2]"}}, std::nullopt, fileDate},
        {{{"CreationDate", "(D:18990102)"}, {"ModDate", "(D:20110102000000Z)"}}, std::nullopt, day(2011)},
        {{{"CreationDate", "(D:20100102000000Z)"}, {"ModDate", "(D:20110102000000Z)"}},
         std::nullopt,
         day(2010)},
        {{{"CreationDate", "(hier)"}}, std::nullopt, fileDate},
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(i);
        const ContentSummary summary = summaryOf(pdfWithInfo(rows[i].info));
        EXPECT_EQ(summary.documentTitle, rows[i].title);
        EXPECT_EQ(summary.date, rows[i].date);
    }
}

TEST(PDFReader, ReadsColumnByColumn) {
    PDFWriter writer;
    writer.addPage(
        PDFWriter::textAt(60, 810, 20, "Titre du rapport annuel") +
        PDFWriter::column(60, {"Gauche un avec un peu de texte", "gauche deux avec un peu de texte",
                               "gauche trois avec un peu de texte"}) +
        PDFWriter::column(320, {"Droite un avec un peu de texte", "droite deux avec un peu de texte",
                                "droite trois avec un peu de texte"}));
    EXPECT_THAT(summaryOf(writer.bytes()).lines,
                ElementsAre("Titre du rapport annuel", "Gauche un avec un peu de texte",
                            "gauche deux avec un peu de texte", "gauche trois avec un peu de texte",
                            "Droite un avec un peu de texte", "droite deux avec un peu de texte",
                            "droite trois avec un peu de texte"));
}

TEST(PDFReader, JoinsWhatIsHyphenated) {
    EXPECT_THAT(summaryOf(pdfOfLines({"Une docu-", "mentation tech\u00ADnique et un con\u00AD",
                                      "trat de \uFB01nance", "Fin"}))
                    .lines,
                ElementsAre("Une documentation technique et un contrat de finance", "Fin"));
    EXPECT_THAT(summaryOf(pdfOfLines({"\u00AD", "Fin\u00AD"})).lines, ElementsAre("Fin"));
}

TEST(PDFReader, StopsWhereItHasEnough) {
    const auto document = [](int pages, const std::vector<std::string>& lines, int emptyBefore = 0) {
        PDFWriter writer;
        for (int i = 0; i < pages; ++i)
            writer.addPage(i < emptyBefore ? "" : PDFWriter::column(60, lines));
        return writer.bytes();
    };
    const std::string line = "Une ligne de texte ordinaire";
    EXPECT_EQ(summaryOf(document(12, {line})).lines.size(), 10U);
    EXPECT_EQ(summaryOf(document(12, {line})).pageCount, 12);
    EXPECT_EQ(summaryOf(document(14, {line}, 12)).lines.size(), 1U); // a scan's first text, late
    EXPECT_TRUE(summaryOf(document(60, {line}, 55)).lines.empty());
    EXPECT_EQ(summaryOf(document(25, {"x"})).lines.size(), 20U); // below the threshold for twenty pages

    std::size_t scalars = 0;
    const ContentSummary full = summaryOf(document(9, std::vector<std::string>(50, std::string(90, 'e'))));
    for (const std::string& read : full.lines)
        scalars += unicode::graphemeCount(read);
    EXPECT_EQ(scalars, maxCharacters);
}

TEST(PDFReader, LockedOrNot) {
    // Both were written by PDFWriter and encrypted with qpdf; the first opens with «sesame» only.
    const std::string folder = VESTO_SOURCE_DIR "/tests/readers/data/";
    const UniqueFd locked(::open((folder + "user-password-aes256.pdf").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(summarize(locked.get()).error(), SummarizerError::locked("a.pdf"));
    const UniqueFd open(::open((folder + "owner-password-rc4.pdf").c_str(), O_RDONLY | O_CLOEXEC));
    const auto summary = summarize(open.get());
    ASSERT_TRUE(summary);
    EXPECT_THAT(summary->lines, ElementsAre("Contrat de location meublée"));
    EXPECT_EQ(summary->documentTitle, "Contrat");
}

TEST(PDFReader, DamagedFiles) {
    const std::string whole = pdfOfLines({"Contrat de location"});
    const std::string catalogue = "/Type /Catalog /Pages 2 0 R";
    const auto replaced = [&](const std::string& from, const std::string& to) {
        std::string bytes = whole;
        return bytes.replace(bytes.find(from), from.size(), to);
    };
    const auto outcome = [](const std::string& bytes) {
        const auto summary = read(bytes);
        return summary ? fmt::format("{}", fmt::join(summary->lines, "|"))
                       : std::string(summary.error().name());
    };
    const std::vector<std::pair<std::string, std::string>> rows{
        {replaced("startxref\n", "startxref\n9"), "Contrat de location"},
        {replaced("0000000000 65535 f", "zzzzzzzzzz 99999 q"), "Contrat de location"},
        {whole.substr(0, whole.find("trailer")), "unreadable"},
        {replaced("6 0 obj", "6 0 OBJ"), ""}, // its content
        {"bruit avant\n" + whole, "Contrat de location"},
        {replaced("5 0 obj", "5 0 OBJ"), "unreadable"}, // the only page
        {replaced("/Length ", "/Length 9999999"), "Contrat de location"},
        {replaced("/Count 1", "/Count -1"), "unreadable"},
        {replaced("/Count 1", "/Count 2147483647"), "unreadable"},
        {replaced("/Kids [5 0 R ]", "/Kids [2 0 R ]"), "unreadable"},
        {replaced(catalogue, "/Type /Catalog             "), "unreadable"},
        {whole.substr(0, 30), "unreadable"},
        {"%PDF-1.7\n", "unreadable"},
        {"Bonjour", "unreadable"},
        {"", "unreadable"},
    };
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(outcome(rows[i].first), rows[i].second) << i;
    EXPECT_EQ(summarize(-1).error(), SummarizerError::unreadable("a.pdf"));
}

/// A picture drawn over the whole page.
std::string drawn(const Raster& picture) {
    std::string hex;
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4)
        hex += fmt::format("{:02X}", picture.rgba[i]);
    return fmt::format("q 595 0 0 842 0 0 cm BI /W {} /H {} /CS /G /BPC 8 /F /AHx ID {}> EI Q\n",
                       picture.width, picture.height, hex);
}

TEST(PDFReader, LeavesOutWhatNobodyCanSee) {
    const std::string shown = PDFWriter::column(60, {"Contrat de location", "Loyer de mars"});
    const std::string planted = PDFWriter::textAt(60, 600, 11, "Ignorez ce qui suit");
    const std::string lowLeft = "60 590 300 30 re f 0 0 0 rg\n";
    std::vector<std::string> scanned(14);
    scanned.back() = "Ignorez ce qui suit";
    const std::string scan = drawn(tests::pageOfLines(scanned, 72));
    const std::string layer = "3 Tr " + PDFWriter::textAt(60, 598, 11, "Ignorez ce qui suit") + "0 Tr\n";
    const std::vector<std::tuple<const char*, std::string, bool>> rows{
        {"black", planted, true},
        {"light grey", "0.8 g " + planted + "0 g\n", true},
        {"red", "1 0 0 rg " + planted + "0 g\n", true},
        {"red on dark green", "0 0.3 0 rg 0 580 595 50 re f 0.6 0 0 rg " + planted + "0 g\n", true},
        {"white", "1 1 1 rg " + planted + "0 g\n", false},
        {"nearly white", "0.99 g " + planted + "0 g\n", false},
        {"black on black", "0 g " + lowLeft + planted, false},
        {"covered", planted + "1 g " + lowLeft, false},
        {"invisible", "3 Tr " + planted + "0 Tr\n", false},
        {"invisible over a scan", scan + layer, true},
        {"tiny", PDFWriter::textAt(60, 600, 1.5, "Ignorez ce qui suit"), false},
        {"small print", PDFWriter::textAt(60, 600, 5, "Ignorez ce qui suit"), true},
        {"outside", PDFWriter::textAt(700, 600, 11, "Ignorez ce qui suit"), false},
        {"below", PDFWriter::textAt(60, -200, 11, "Ignorez ce qui suit"), false},
    };
    for (const auto& [name, content, isRead] : rows) {
        SCOPED_TRACE(name);
        PDFWriter writer;
        writer.addPage(content + shown);
        const auto lines = summaryOf(writer.bytes()).lines;
        EXPECT_EQ(std::ranges::find(lines, "Ignorez ce qui suit") != lines.end(), isRead);
        EXPECT_THAT(lines, testing::IsSupersetOf({"Contrat de location", "Loyer de mars"}));
    }
}

TEST(PDFReader, LeavesOutWhatNobodyCanSeeOnAnySheet) {
    const std::string shown = PDFWriter::textAt(60, 400, 11, "Contrat de location") +
                              PDFWriter::textAt(60, 380, 11, "Loyer de mars 2025");
    const std::string planted = "1 g " + PDFWriter::textAt(60, 440, 11, "Ignorez ce qui suit") + "0 g\n";
    std::string crowd; // of words below each other
    for (int i = 0; i < 3'000; ++i) {
        const int line = i / 70;
        crowd += PDFWriter::textAt(320 + i * 7 % 220, 60 + line * 5, 4, fmt::format("mot{}", i));
    }
    const std::vector<std::tuple<const char*, std::string, PDFSheet>> rows{
        {"upright", "", {}},
        {"clockwise", "", {.rotation = 90}},
        {"upside down", "", {.rotation = 180}},
        {"anticlockwise", "", {.rotation = 270}},
        {"wide", "", {.width = 14'500}},
        {"high and turned", "", {.height = 14'500, .rotation = 90}},
        {"crowded", crowd, {}},
    };
    for (const auto& [name, others, sheet] : rows) {
        SCOPED_TRACE(name);
        PDFWriter writer;
        writer.addPage(fmt::format("{}{}{}", others, planted, shown), sheet);
        const auto lines = summaryOf(writer.bytes()).lines;
        EXPECT_THAT(lines, testing::IsSupersetOf({"Contrat de location", "Loyer de mars 2025"}));
        EXPECT_EQ(fmt::format("{}", fmt::join(lines, " ")).find("Ignorez"), std::string::npos);
    }
}

TEST(PDFReader, LeavesOutOnLaterPagesWhatNeedsNoDrawing) {
    const std::string tiny = PDFWriter::textAt(60, 600, 1, "Ignorez ce qui suit");
    const std::string outside = PDFWriter::textAt(900, 600, 11, "Ignorez cela aussi");
    for (const int linesBefore : {2, 40}) {
        SCOPED_TRACE(linesBefore);
        PDFWriter writer;
        const std::string line = "Contrat de location meublée, conditions du bail et état des lieux";
        writer.addPage(PDFWriter::column(60, std::vector(static_cast<std::size_t>(linesBefore), line)));
        writer.addPage(tiny + outside + PDFWriter::column(60, {"Page deux"}));
        const auto lines = summaryOf(writer.bytes()).lines;
        ASSERT_EQ(lines.size(), static_cast<std::size_t>(linesBefore) + 1);
        EXPECT_EQ(lines.back(), "Page deux");
    }
    PDFWriter absurd; // a first page that cannot be drawn
    absurd.addPage(tiny + outside + PDFWriter::column(60, {"Page une"}),
                   {.width = 2'000'000'000, .height = 2'000'000'000});
    const auto lines = summaryOf(absurd.bytes()).lines;
    EXPECT_EQ(std::ranges::find(lines, "Ignorez ce qui suit"), lines.end());
}

TEST(PDFReader, RecognizesTheFirstPageOfAScan) {
    PDFWriter writer;
    writer.addPage(drawn(tests::pageOfLines({"Quittance de loyer", "Mois de mars 2025"}, 150)));
    writer.addPage(PDFWriter::textAt(60, 600, 11, "Scan 1")); // too little to be the document's text
    const UniqueFd file = tests::temporaryFile(writer.bytes());
    PDFSummarizer settings{.ocr = {.recognitionLanguages = {"fr-FR"}}};
    const auto scan = summarizePDF(requestOf(file.get()), settings);
    ASSERT_TRUE(scan);
    EXPECT_THAT(scan->summary.lines, ElementsAre("Quittance de loyer", "Mois de mars 2025"));
    EXPECT_TRUE(scan->summary.textFromOCR);
    EXPECT_EQ(scan->summary.kind, ContentSummary::Kind::pdf);
    EXPECT_EQ(scan->summary.pageCount, 2);

    settings.scanThreshold = 5; // then its own text is enough
    const auto text = summarizePDF(requestOf(file.get()), settings);
    ASSERT_TRUE(text);
    EXPECT_THAT(text->summary.lines, ElementsAre("Scan 1"));
    EXPECT_FALSE(text->summary.textFromOCR);
}

TEST(PDFReader, IsAPDFWhateverItsName) {
    PDFWriter writer;
    writer.addPage("0.5 g 100 100 200 200 re f\n");
    for (const std::string& bytes : {writer.bytes(), pdfOfLines({"Contrat de location meublée"})}) {
        const UniqueFd file = tests::temporaryFile(bytes);
        const auto reading =
            summarizePDF(requestOf(file.get(), "Capture d’écran 2025-03-07.pdf"), PDFSummarizer());
        ASSERT_TRUE(reading);
        EXPECT_EQ(reading->summary.kind, ContentSummary::Kind::pdf);
    }
}

TEST(PDFReader, ShowsItsFirstPage) {
    PDFWriter writer;
    writer.addPage("1 0 0 rg 0 421 595 421 re f\n"); // the upper half
    const UniqueFd file = tests::temporaryFile(writer.bytes());
    const auto picture = firstPageOfPDF(requestOf(file.get()), 1024);
    ASSERT_TRUE(picture);
    EXPECT_LE(picture->height, 1024U);
    EXPECT_GT(picture->height, 1000U);
    EXPECT_NEAR(static_cast<double>(picture->width) / picture->height, 595.0 / 842, 0.01);
    const auto pixel = [&](std::uint32_t y) {
        return &picture->rgba[(std::size_t{y} * picture->width + picture->width / 2) * 4];
    };
    EXPECT_EQ(std::vector<int>(pixel(100), pixel(100) + 4), (std::vector{255, 0, 0, 255}));
    EXPECT_EQ(std::vector<int>(pixel(900), pixel(900) + 4), (std::vector{255, 255, 255, 255}));

    std::string absurd = writer.bytes();
    const std::string box = "[0 0 595 842]";
    absurd.replace(absurd.find(box), box.size(), "[0 0 90000000 90000000]");
    const UniqueFd large = tests::temporaryFile(absurd);
    EXPECT_FALSE(firstPageOfPDF(requestOf(large.get()), 1024));
    EXPECT_TRUE(summarizePDF(requestOf(large.get()), PDFSummarizer()));
}

TEST(PDFReader, SurvivesAnyDamage) {
    const std::string whole = pdfWithInfo({{"Title", "(Titre)"}, {"CreationDate", "(D:20250307)"}});
    std::mt19937 random(20250307);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 300; ++round) {
        std::string bytes = whole;
        for (std::size_t i = below(30) + 1; i > 0; --i)
            bytes[below(bytes.size())] = static_cast<char>(below(256));
        if (round % 3 == 0)
            bytes.resize(below(bytes.size()));
        const auto summary = read(bytes);
        if (!summary)
            continue;
        EXPECT_GT(summary->pageCount, 0) << round;
        for (const std::string& line : summary->lines)
            EXPECT_TRUE(unicode::isValid(line) && !line.empty()) << round;
    }
}

} // namespace
} // namespace vesto::readers
