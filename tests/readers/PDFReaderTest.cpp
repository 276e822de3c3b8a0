#include "core/extraction/readers/PDFReader.h"

#include "core/extraction/readers/ReadingLimits.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"
#include "tests/readers/support/PDFWriter.h"
#include "tests/readers/support/TemporaryFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace vesto::readers {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

constexpr Instant fileDate = std::chrono::sys_days{std::chrono::year{2020} / 2 / 3};

std::expected<ContentSummary, SummarizerError> summarize(int fd) {
    return summarizePDF(
        {.fd = fd, .path = "a.pdf", .type = {"com.adobe.pdf"}, .route = Route::pdf, .bestDate = fileDate},
        PDFSummarizer());
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
