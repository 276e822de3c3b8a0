#include "core/extraction/Summarizer.h"

#include "core/extraction/FileDates.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace vesto {
namespace {

using namespace std::string_literals;

/// Hands back what it is asked with, and what the descriptor holds.
class EchoReading : public ContentReading {
public:
    std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                 const SummarizerSettings&) override {
        std::string bytes(64, '\0');
        const ssize_t count = ::pread(request.fd, bytes.data(), bytes.size(), 0);
        bytes.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        asked.push_back(request);
        if (request.onStage)
            request.onStage(ReadingStage::recognizingText);
        ContentSummary summary;
        summary.lines = {bytes};
        summary.date = request.bestDate;
        return Reading{.summary = summary, .missingLanguages = {"fra"}};
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
    std::vector<ReadRequest> asked;
};

class SummarizerTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "vesto-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::filesystem::path write(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return folder / name;
    }

    std::filesystem::path folder;
    std::shared_ptr<EchoReading> reading = std::make_shared<EchoReading>();
    Summarizer summarizer{{"fr-FR"}, reading};
};

TEST_F(SummarizerTest, HandsTheFileToItsRoute) {
    const auto path = write("Relevé.TXT", "bonjour");
    const auto summary = summarizer.summarize(path);
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->lines, std::vector{"bonjour"s});
    ASSERT_EQ(reading->asked.size(), 1U);
    EXPECT_EQ(reading->asked[0].type.identifier, "public.plain-text");
    EXPECT_EQ(reading->asked[0].route, Route::document);
    EXPECT_EQ(reading->asked[0].path, path);
    ASSERT_TRUE(reading->asked[0].bestDate);
    EXPECT_EQ(reading->asked[0].bestDate, FileDates::bestDate(path));
}

TEST_F(SummarizerTest, TellsWhatTheReaderIsDoingAndMisses) {
    std::vector<std::string> heard;
    const Summarizer telling(
        {"fr-FR"}, reading, nullptr,
        {.onStage = [&](const auto& path, ReadingStage) { heard.push_back(path.filename().string()); },
         .onMissingLanguages = [&](const auto& languages) { heard.push_back(languages.at(0)); }});
    EXPECT_TRUE(telling.summarize(write("a.txt", "bonjour")));
    EXPECT_EQ(heard, (std::vector{"a.txt"s, "fra"s}));
}

TEST_F(SummarizerTest, RefusesWithTheExactPayload) {
    const std::vector<std::pair<std::filesystem::path, SummarizerError>> rows{
        {write("LISEZMOI", "bonjour"), SummarizerError::unsupportedType("")},
        {write("vide", ""), SummarizerError::unsupportedType("")},
        {write("archive", "PK\3\4...."), SummarizerError::unsupportedType("public.zip-archive")},
        {write("a.xyz", "%PDF-1.4"), SummarizerError::unsupportedType("dyn.xyz")},
        {write("dessin.svg", "<svg/>"), SummarizerError::unsupportedType("public.svg-image")},
        {folder / "absent.pdf", SummarizerError::unreadable(folder / "absent.pdf")},
        {folder / "absent", SummarizerError::unsupportedType("")},
    };
    for (const auto& [path, error] : rows) {
        SCOPED_TRACE(path);
        const auto summary = summarizer.summarize(path);
        ASSERT_FALSE(summary);
        EXPECT_EQ(summary.error(), error);
    }
    EXPECT_TRUE(reading->asked.empty());
}

TEST_F(SummarizerTest, OpensNothingButRegularFiles) {
    const auto target = write("cible.pdf", "%PDF-1.4");
    std::filesystem::create_symlink(target, folder / "lien.pdf");
    std::filesystem::create_symlink(target, folder / "lien");
    std::filesystem::create_directory(folder / "paquet.rtfd");
    ASSERT_EQ(::mkfifo((folder / "tube.pdf").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((folder / "tube").c_str(), 0600), 0);
    for (const char* name : {"lien.pdf", "paquet.rtfd", "tube.pdf"})
        EXPECT_EQ(summarizer.summarize(folder / name).error(), SummarizerError::unreadable(folder / name));
    EXPECT_EQ(Summarizer::contentType(folder / "lien"), std::nullopt);
    EXPECT_EQ(Summarizer::contentType(folder / "tube"), std::nullopt);
}

TEST_F(SummarizerTest, TheNameWinsOverTheFirstBytes) {
    EXPECT_EQ(Summarizer::contentType(write("sans extension", "%PDF-1.4")), ContentType{"com.adobe.pdf"});
    EXPECT_EQ(Summarizer::contentType(write("Note M. Dupont", "%PDF-1.4")), ContentType{"com.adobe.pdf"});
    EXPECT_EQ(Summarizer::contentType(write("a.txt", "%PDF-1.4")), ContentType{"public.plain-text"});
    EXPECT_TRUE(Summarizer::isSupported(folder / "sans extension"));
    EXPECT_TRUE(Summarizer::isSupported("/nulle part/absent.docx"));
    EXPECT_FALSE(Summarizer::isSupported(write("LISEZMOI", "bonjour")));
}

TEST_F(SummarizerTest, BestDate) {
    const auto path = write("a.txt", "a");
    struct timespec times[2] = {{978'307'200, 0}, {978'307'200, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    struct statx status{};
    ASSERT_EQ(::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
    const auto date = FileDates::bestDate(path);
    ASSERT_TRUE(date);
    if ((status.stx_mask & STATX_BTIME) != 0)
        EXPECT_EQ(std::chrono::floor<std::chrono::seconds>(*date).time_since_epoch().count(),
                  status.stx_btime.tv_sec);
    else
        EXPECT_EQ(*date, referenceDate);
    EXPECT_EQ(FileDates::bestDate(folder / "absent"), std::nullopt);
}

TEST(SummarizerSettings, SharesTheLanguages) {
    const SummarizerSettings settings({"fr-FR", "en-US"});
    for (const ImageSummarizer& image :
         {settings.image, settings.pdf.ocr, settings.quickLook.ocr, settings.video.ocr})
        EXPECT_EQ(image.recognitionLanguages, (std::vector{"fr-FR"s, "en-US"s}));
}

TEST(KindAndFormat, OfTheListedTypes) {
    using Kind = ContentSummary::Kind;
    const std::vector<std::tuple<std::string, Kind, std::optional<std::string>>> rows{
        {"org.openxmlformats.spreadsheetml.sheet", Kind::spreadsheet, "Excel"},
        {"com.apple.iwork.numbers.sffnumbers", Kind::spreadsheet, "Numbers"},
        {"com.microsoft.powerpoint.ppt", Kind::presentation, "PowerPoint"},
        {"com.apple.keynote.key", Kind::presentation, "Keynote"},
        {"com.apple.iwork.pages.sffpages", Kind::document, "Pages"},
        {"org.idpf.epub-container", Kind::ebook, "EPUB"},
        {"com.microsoft.word.doc", Kind::document, "Word"},
        {"org.oasis-open.opendocument.presentation", Kind::presentation, "OpenDocument"},
        {"Com.Microsoft.Word.Doc", Kind::document, std::nullopt},
    };
    for (const auto& [identifier, kind, format] : rows)
        EXPECT_EQ(kindAndFormat(ContentType{identifier}), std::pair(kind, format)) << identifier;
    EXPECT_EQ(kindAndFormat(std::nullopt), std::pair(Kind::document, std::optional<std::string>()));
}

TEST(IsScreenCapture, ByCommentThenByName) {
    EXPECT_TRUE(isScreenCapture("/a/IMG_1234.jpg", "Écran: SCREENSHOT"));
    EXPECT_TRUE(isScreenCapture("/a/Capture d’écran 2025-03-07.png", std::nullopt));
    EXPECT_TRUE(isScreenCapture("Screen Recording 2024.mov", "autre chose"));
    EXPECT_FALSE(isScreenCapture("/screenshot/IMG_1234.jpg", "photo"));
}

TEST(SummarizerError, Names) {
    EXPECT_EQ(SummarizerError::unsupportedType("").name(), "unsupportedType");
    EXPECT_EQ(SummarizerError::unreadable("/a").name(), "unreadable");
    EXPECT_EQ(SummarizerError::locked("/a").name(), "locked");
    EXPECT_NE(SummarizerError::unreadable("/a"), SummarizerError::unreadable("/b"));
}

} // namespace
} // namespace vesto
