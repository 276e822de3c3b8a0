#include "core/extraction/readers/LocalReader.h"

#include "tests/readers/support/PDFWriter.h"
#include "tests/readers/support/Pictures.h"
#include "tests/readers/support/TemporaryFile.h"
#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

std::string outcome(Route route, const std::string& extension, const std::string& bytes) {
    const UniqueFd file = tests::temporaryFile(bytes);
    const auto type = TypeRegistry::typeOfExtension(extension);
    LocalReader reader;
    const auto reading = reader.read(
        {.fd = file.get(), .path = "a." + extension, .type = *type, .route = route, .bestDate = {}},
        SummarizerSettings({"fr-FR"}));
    if (!reading)
        return std::string(reading.error().name());
    return reading->summary.lines.empty() ? "" : reading->summary.lines.front();
}

TEST(LocalReader, AsksTheReaderOfTheRoute) {
    EXPECT_EQ(outcome(Route::pdf, "pdf", pdfOfLines({"Contrat"})), "Contrat");
    EXPECT_EQ(outcome(Route::document, "txt", "Contrat"), "Contrat");
    EXPECT_EQ(outcome(Route::quickLook, "xlsx", "Contrat"), "unreadable");
    EXPECT_EQ(outcome(Route::pdf, "pdf", "Contrat"), "unreadable");
    EXPECT_EQ(outcome(Route::image, "png", "Contrat"), "unreadable");
    EXPECT_EQ(outcome(Route::email, "eml", "Subject: Contrat"), "Contrat");
}

TEST(LocalReader, PreviewsAreSmallPictures) {
    const std::string wide = tests::pictureFile(tests::gradient(1500, 300), "png");
    const std::string package =
        tests::zipArchive({{"word/document.xml", "<w/>"}, {"docProps/thumbnail.png", wide}});
    const std::string noPicture = tests::zipArchive({{"word/document.xml", "<w/>"}});
    struct Row {
        Route route;
        const char* extension;
        std::string bytes;
        std::uint32_t width, height; // 0: no preview
    };
    const std::vector<Row> rows{
        {Route::image, "png", wide, 1024, 205},
        {Route::image, "png", "Contrat", 0, 0},
        {Route::pdf, "pdf", pdfOfLines({"Contrat"}), 724, 1024},
        {Route::document, "docx", package, 1024, 205},
        {Route::document, "docx", noPicture, 0, 0},
        {Route::document, "txt", "Contrat", 0, 0},
        {Route::quickLook, "pptx", package, 1024, 205},
        {Route::quickLook, "pptx", "Contrat", 0, 0},
        {Route::email, "eml", "Subject: Contrat", 0, 0},
    };
    LocalReader reader;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.extension + (" " + row.bytes.substr(0, 8)));
        const UniqueFd file = tests::temporaryFile(row.bytes);
        const auto preview = reader.preview({.fd = file.get(),
                                             .path = std::string("a.") + row.extension,
                                             .type = *TypeRegistry::typeOfExtension(row.extension),
                                             .route = row.route,
                                             .bestDate = {}});
        ASSERT_EQ(preview.has_value(), row.width > 0);
        if (!preview)
            continue;
        EXPECT_NEAR(preview->width, row.width, 1);
        EXPECT_NEAR(preview->height, row.height, 1);
        EXPECT_EQ(preview->rgba.size(), std::size_t{4} * preview->width * preview->height);
    }
}

TEST(LocalReader, RoutesWithoutAReaderAreUnreadable) {
    const std::vector<std::pair<Route, std::string>> rows{{Route::video, "mp4"}, {Route::audio, "mp3"}};
    for (const auto& [route, extension] : rows)
        EXPECT_EQ(outcome(route, extension, "Contrat"), "unreadable") << extension;
}

} // namespace
} // namespace vesto::readers
