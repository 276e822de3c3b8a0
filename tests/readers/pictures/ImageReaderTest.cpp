#include "core/extraction/readers/pictures/ImageReader.h"

#include "core/extraction/readers/Previews.h"
#include "core/support/UnicodeDates.h"
#include "tests/readers/support/Pictures.h"
#include "tests/readers/support/TemporaryFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

using Kind = ContentSummary::Kind;

constexpr Instant fileDate = std::chrono::sys_days{std::chrono::year{2020} / 2 / 3};

ReadRequest requestOf(const UniqueFd& file, const std::string& name) {
    return {
        .fd = file.get(), .path = name, .type = {"public.jpeg"}, .route = Route::image, .bestDate = fileDate};
}

ContentSummary summaryOf(const std::string& bytes, const std::string& name) {
    const UniqueFd file = tests::temporaryFile(bytes);
    const auto reading = summarizeImage(requestOf(file, name), ImageSummarizer());
    EXPECT_TRUE(reading);
    return reading ? reading->summary : ContentSummary();
}

TEST(ImageReader, TellsScreenshotsFromPhotosFromImages) {
    const std::string plain = tests::pictureFile(tests::gradient(60, 40), "jpeg");
    const std::vector<std::tuple<std::string, std::string, Kind>> rows{
        {plain, "a.jpg", Kind::image},
        {plain, "Capture d’écran 2025-03-07.jpg", Kind::screenshot},
        {tests::withEXIF(plain, {.userComment = "a SCREENSHOT"}), "a.jpg", Kind::screenshot},
        {tests::withEXIF(plain, {.make = "Appareil"}), "a.jpg", Kind::photo},
        {tests::withEXIF(plain, {.make = "Appareil"}), "Screenshot 1.jpg", Kind::screenshot},
    };
    for (const auto& [bytes, name, kind] : rows)
        EXPECT_EQ(summaryOf(bytes, name).kind, kind) << name;
}

TEST(ImageReader, FillsTheSummary) {
    const std::string plain = tests::pictureFile(tests::gradient(60, 40), "jpeg");
    EXPECT_EQ(summaryOf(plain, "a.jpg").date, fileDate);
    const ContentSummary summary = summaryOf(
        tests::withEXIF(plain, {.orientation = 6, .dateTimeOriginal = "2025:03:07 23:11:12"}), "a.jpg");
    EXPECT_EQ(summary.pixelWidth, 40); // as it is shown
    EXPECT_EQ(summary.pixelHeight, 60);
    EXPECT_EQ(summary.date, unicode::instantOf({2025, 3, 7, 23, 11, 12}));
    EXPECT_TRUE(summary.lines.empty());
    EXPECT_FALSE(summary.textFromOCR);
}

TEST(ImageReader, RecognizesTurnedText) {
    // A photo of a page that was taken with the camera held upright: the sensor saw it lying on its side.
    const Raster page = tests::pageOfLines({"Boulangerie du marché", "Total 24,10 euros"}, 110);
    const Raster lying = upright(page, 8);
    const std::string bytes =
        tests::withEXIF(tests::pictureFile(lying, "jpeg"), {.orientation = 6, .make = "A"});
    const UniqueFd file = tests::temporaryFile(bytes);
    std::vector<ReadingStage> stages;
    ReadRequest request = requestOf(file, "IMG_0042.jpg");
    request.onStage = [&](ReadingStage stage) { stages.push_back(stage); };
    const auto reading = summarizeImage(request, {.recognitionLanguages = {"fr-FR", "en-US"}});
    ASSERT_TRUE(reading);
    EXPECT_THAT(reading->summary.lines, testing::ElementsAre("Boulangerie du marché", "Total 24,10 euros"));
    EXPECT_TRUE(reading->summary.textFromOCR);
    EXPECT_EQ(reading->summary.kind, Kind::photo);
    EXPECT_THAT(stages, testing::ElementsAre(ReadingStage::recognizingText));
    EXPECT_TRUE(reading->missingLanguages.empty());

    request.lastMoment = std::chrono::steady_clock::now(); // too late for text, not for the rest
    const auto late = summarizeImage(request, {.recognitionLanguages = {"fr-FR", "en-US"}});
    ASSERT_TRUE(late);
    EXPECT_TRUE(late->summary.lines.empty());
    EXPECT_EQ(late->summary.kind, Kind::photo);
}

TEST(ImageReader, UnreadableFiles) {
    for (const std::string& bytes :
         {std::string(), std::string("Bonjour"), std::string("\xFF\xD8\xFF\xE0")}) {
        const UniqueFd file = tests::temporaryFile(bytes);
        EXPECT_EQ(summarizeImage(requestOf(file, "a.jpg"), ImageSummarizer()).error(),
                  SummarizerError::unreadable("a.jpg"));
        EXPECT_FALSE(pictureOf(requestOf(file, "a.jpg")));
    }
}

TEST(ImageReader, PreviewsAreSmallAndUpright) {
    const std::string plain = tests::pictureFile(tests::gradient(1600, 800), "jpeg");
    const UniqueFd file = tests::temporaryFile(tests::withEXIF(plain, {.orientation = 6}));
    const auto picture = pictureOf(requestOf(file, "a.jpg"));
    ASSERT_TRUE(picture);
    EXPECT_EQ((PixelSize{picture->width, picture->height}), (PixelSize{512, 1024}));
    EXPECT_EQ(picture->rgba.size(), 512U * 1024 * 4);
}

} // namespace
} // namespace vesto::readers
