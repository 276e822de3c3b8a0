#include "core/extraction/readers/LocalReader.h"

#include "tests/readers/support/PDFWriter.h"
#include "tests/readers/support/TemporaryFile.h"

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

TEST(LocalReader, RoutesWithoutAReaderAreUnreadable) {
    const std::vector<std::pair<Route, std::string>> rows{{Route::video, "mp4"}, {Route::audio, "mp3"}};
    for (const auto& [route, extension] : rows)
        EXPECT_EQ(outcome(route, extension, "Contrat"), "unreadable") << extension;
}

} // namespace
} // namespace vesto::readers
