#include "core/extraction/readers/QuickLookReader.h"

#include "core/extraction/readers/containers/ZipReader.h"
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

std::expected<ContentSummary, SummarizerError> summarize(const ReadRequest& request,
                                                         const QuickLookSummarizer& settings) {
    auto reading = readers::summarizeQuickLook(request, settings);
    if (!reading)
        return std::unexpected(reading.error());
    return std::move(reading)->summary;
}

constexpr const char* xlsx = "org.openxmlformats.spreadsheetml.sheet";

TEST(QuickLookReader, FillsTheSummary) {
    const UniqueFd file = temporaryFile(workbook("Comptes"));
    const auto summary = summarize(requestOf(file, xlsx), {});
    ASSERT_TRUE(summary.has_value());
    EXPECT_EQ(*summary, (ContentSummary{.kind = ContentSummary::Kind::spreadsheet,
                                        .lines = {"7"},
                                        .documentTitle = "Comptes",
                                        .date = referenceDate,
                                        .formatName = "Excel"}));
    const UniqueFd untitled = temporaryFile(workbook("SANS Titre"));
    EXPECT_EQ(summarize(requestOf(untitled, xlsx), {})->documentTitle, std::nullopt);

    const UniqueFd slides =
        temporaryFile(zipArchive({{"content.xml", "<o><draw:page><text:p>a</text:p></draw:page></o>"}}));
    const auto odp = summarize(requestOf(slides, "org.oasis-open.opendocument.presentation"), {});
    ASSERT_TRUE(odp.has_value());
    EXPECT_EQ(odp->kind, ContentSummary::Kind::presentation);
    EXPECT_EQ(odp->formatName, "OpenDocument");
    EXPECT_EQ(odp->pageCount, 1);
}

TEST(QuickLookReader, BoundsWhatItGives) {
    std::string cells;
    for (int i = 0; i < 30'000; ++i)
        cells += "<c><v>7</v></c>";
    const UniqueFd file = temporaryFile(
        zipArchive({{"xl/worksheets/sheet1.xml", "<s><row>" + cells + "</row></s>"},
                    {"docProps/core.xml", "<c><dc:title>" + std::string(1'000, 'a') + "</dc:title></c>"}}));
    const auto summary = summarize(requestOf(file, xlsx), {});
    ASSERT_TRUE(summary.has_value());
    ASSERT_EQ(summary->lines.size(), 1);
    EXPECT_EQ(summary->lines.front().size(), 19'999); // the last of 20,000 is a blank
    EXPECT_EQ(summary->documentTitle, std::string(300, 'a'));
}

// Entries may share one part that claims to be small; going through it for each would take hours.
TEST(QuickLookReader, SharesOneBudgetAmongOverlappingSlides) {
    const std::string slide = "<p:sld><a:p><a:t>a</a:t></a:p>" +
                              std::string(readers::ZipReader::maxMemberSize / 2, ' ') + "</p:sld>";
    std::vector<tests::ZipPart> parts{
        {.name = "ppt/slides/slide1.xml", .content = slide, .method = 0, .size = 0}};
    for (int i = 2; i <= 20; ++i)
        parts.push_back({.name = "ppt/slides/slide" + std::to_string(i) + ".xml",
                         .content = "",
                         .method = 0,
                         .compressedSize = static_cast<std::uint32_t>(slide.size()),
                         .offset = 0});
    const UniqueFd file = temporaryFile(zipArchive(parts));
    const auto summary = summarize(requestOf(file, "org.openxmlformats.presentationml.presentation"), {});
    ASSERT_TRUE(summary.has_value());
    EXPECT_EQ(summary->pageCount, 20);
    EXPECT_EQ(summary->lines.size(), 3); // four would be more than 32 MiB
}

TEST(QuickLookReader, RefusesWhatItCannotRead) {
    const UniqueFd file = temporaryFile(workbook(""));
    const UniqueFd locked = temporaryFile("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(1'000, '\0'));
    const UniqueFd empty = temporaryFile("");
    const auto unreadable = SummarizerError::unreadable("f.x");
    const auto size = ::lseek(file.get(), 0, SEEK_END);
    EXPECT_TRUE(summarize(requestOf(file, xlsx), limited(size)).has_value());
    EXPECT_EQ(summarize(requestOf(file, xlsx), limited(size - 1)).error(), unreadable);
    EXPECT_EQ(summarize(requestOf(file, "com.apple.keynote.key"), {}).error(), unreadable);
    EXPECT_EQ(summarize(requestOf(locked, xlsx), {}).error(), unreadable);
    EXPECT_EQ(summarize(requestOf(empty, xlsx), {}).error(), unreadable);
    EXPECT_EQ(summarize(requestOf(UniqueFd(), xlsx), {}).error(), unreadable);
}

} // namespace
} // namespace vesto
