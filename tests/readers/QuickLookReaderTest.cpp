#include "core/extraction/readers/QuickLookReader.h"

#include "tests/readers/support/TemporaryFile.h"
#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

using tests::temporaryFile;
using tests::zipArchive;

ReadRequest requestOf(const UniqueFd& file, std::string type) {
    return {.fd = file.get(),
            .path = "f.x",
            .type = {std::move(type)},
            .route = Route::quickLook,
            .bestDate = referenceDate};
}

std::string workbook(const std::string& title) {
    return zipArchive({{"xl/worksheets/sheet1.xml", "<s><row><c><v>7</v></c></row></s>"},
                       {"docProps/core.xml", "<c><dc:title>" + title + "</dc:title></c>"}});
}

QuickLookSummarizer limited(std::int64_t bytes) {
    QuickLookSummarizer settings;
    settings.maxFileSize = bytes;
    return settings;
}

constexpr const char* xlsx = "org.openxmlformats.spreadsheetml.sheet";

TEST(QuickLookReader, FillsTheSummary) {
    const UniqueFd file = temporaryFile(workbook("Comptes"));
    const auto summary = readers::summarizeQuickLook(requestOf(file, xlsx), {});
    ASSERT_TRUE(summary.has_value());
    EXPECT_EQ(*summary, (ContentSummary{.kind = ContentSummary::Kind::spreadsheet,
                                        .lines = {"7"},
                                        .documentTitle = "Comptes",
                                        .date = referenceDate,
                                        .formatName = "Excel"}));
    const UniqueFd untitled = temporaryFile(workbook("SANS Titre"));
    EXPECT_EQ(readers::summarizeQuickLook(requestOf(untitled, xlsx), {})->documentTitle, std::nullopt);

    const UniqueFd slides =
        temporaryFile(zipArchive({{"content.xml", "<o><draw:page><text:p>a</text:p></draw:page></o>"}}));
    const auto odp =
        readers::summarizeQuickLook(requestOf(slides, "org.oasis-open.opendocument.presentation"), {});
    ASSERT_TRUE(odp.has_value());
    EXPECT_EQ(odp->kind, ContentSummary::Kind::presentation);
    EXPECT_EQ(odp->formatName, "OpenDocument");
    EXPECT_EQ(odp->pageCount, 1);
}

TEST(QuickLookReader, RefusesWhatItCannotRead) {
    const UniqueFd file = temporaryFile(workbook(""));
    const UniqueFd locked = temporaryFile("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(1'000, '\0'));
    const UniqueFd empty = temporaryFile("");
    const auto unreadable = SummarizerError::unreadable("f.x");
    const auto size = ::lseek(file.get(), 0, SEEK_END);
    EXPECT_TRUE(readers::summarizeQuickLook(requestOf(file, xlsx), limited(size)).has_value());
    EXPECT_EQ(readers::summarizeQuickLook(requestOf(file, xlsx), limited(size - 1)).error(), unreadable);
    EXPECT_EQ(readers::summarizeQuickLook(requestOf(file, "com.apple.keynote.key"), {}).error(), unreadable);
    EXPECT_EQ(readers::summarizeQuickLook(requestOf(locked, xlsx), {}).error(), unreadable);
    EXPECT_EQ(readers::summarizeQuickLook(requestOf(empty, xlsx), {}).error(), unreadable);
    EXPECT_EQ(readers::summarizeQuickLook(requestOf(UniqueFd(), xlsx), {}).error(), unreadable);
}

} // namespace
} // namespace vesto
