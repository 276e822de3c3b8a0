#include "core/extraction/readers/media/VideoReader.h"

#include "core/extraction/readers/DocumentDate.h"
#include "tests/readers/support/TemporaryFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace vesto {
namespace {

using tests::temporaryFile;

const std::string folder = VESTO_SOURCE_DIR "/tests/readers/data/";

UniqueFd opened(const std::string& name) {
    return UniqueFd(::open((folder + name).c_str(), O_RDONLY | O_CLOEXEC));
}

ReadRequest requestOf(const UniqueFd& file, std::string name = "v.mp4") {
    return {.fd = file.get(),
            .path = std::move(name),
            .type = {"public.movie"},
            .route = Route::video,
            .bestDate = referenceDate};
}

/// «r», «b», «w», «k» (black) or «?».
char colourAt(const readers::Raster& picture, double x, double y) {
    const auto column = static_cast<std::size_t>(x * picture.width);
    const auto row = static_cast<std::size_t>(y * picture.height);
    const std::uint8_t* pixel = picture.rgba.data() + (row * picture.width + column) * 4;
    const auto is = [pixel](bool red, bool green, bool blue) {
        const bool wanted[] = {red, green, blue};
        for (int i = 0; i < 3; ++i) {
            if (wanted[i] ? pixel[i] < 200 : pixel[i] > 55)
                return false;
        }
        return true;
    };
    return is(true, false, false)    ? 'r'
           : is(false, false, true)  ? 'b'
           : is(true, true, true)    ? 'w'
           : is(false, false, false) ? 'k'
                                     : '?';
}

TEST(VideoReader, ShowsAPictureUprightAndInProportion) {
    struct Row {
        const char* name;
        std::uint32_t width, height;
        const char* colours; // above left, above right, below left, below right
    };
    const Row rows[] = {
        {"camera.mov", 64, 48, "rbrb"},     {"turned.mp4", 48, 64, "rrbb"},
        {"stretched.mp4", 128, 48, "rbrb"}, {"fade.mp4", 64, 48, "kwkw"}, // its only key frame is black
        {"black.webm", 64, 48, "kkkk"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const UniqueFd file = opened(row.name);
        const auto picture = readers::videoPicture(requestOf(file), 1'000'000);
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->width, row.width);
        EXPECT_EQ(picture->height, row.height);
        ASSERT_EQ(picture->rgba.size(), std::size_t{4} * row.width * row.height);
        const char colours[] = {colourAt(*picture, 0.2, 0.2), colourAt(*picture, 0.8, 0.2),
                                colourAt(*picture, 0.2, 0.8), colourAt(*picture, 0.8, 0.8), '\0'};
        EXPECT_STREQ(colours, row.colours);
        const auto small = readers::videoPicture(requestOf(file), 768);
        ASSERT_TRUE(small);
        EXPECT_NEAR(static_cast<double>(small->width) * small->height, 768, 40);
    }
}

TEST(VideoReader, FillsTheSummary) {
    const UniqueFd file = opened("camera.mov");
    std::vector<ReadingStage> stages;
    ReadRequest request = requestOf(file, "Enregistrement de l’écran 2024-07-14.mov");
    request.onStage = [&](ReadingStage stage) { stages.push_back(stage); };
    const auto reading = readers::summarizeVideo(request, {});
    ASSERT_TRUE(reading);
    ContentSummary expected{
        .kind = ContentSummary::Kind::video,
        .documentTitle = "Feu d'artifice",
        .pixelWidth = 64,
        .pixelHeight = 48,
        .date = readers::documentDate("2024-07-14T21:30:00Z"), // the camera's, not the export's
        .duration = Seconds(0.5),
        .formatName = "enregistrement d'écran"};
    expected.labels = reading->summary.labels; // of a classifier, where one is installed
    EXPECT_EQ(reading->summary, expected);
    EXPECT_NEAR(static_cast<double>(reading->sound.size()), 8'000, 500);
    EXPECT_EQ(stages.at(0), ReadingStage::decodingFrames);

    const auto usual = readers::summarizeVideo(requestOf(opened("turned.mp4")), {});
    ASSERT_TRUE(usual);
    EXPECT_EQ(usual->summary.formatName, std::nullopt);
    EXPECT_EQ(usual->summary.pixelWidth, 48);
    EXPECT_EQ(usual->summary.pixelHeight, 64);
    EXPECT_EQ(usual->summary.date, referenceDate);
    EXPECT_TRUE(usual->sound.empty());
}

// Whatever is cut off, the reader comes back; what it gives is whole or nothing.
TEST(VideoReader, SurvivesEveryCut) {
    for (const char* name : {"camera.mov", "fade.mp4", "live.webm"}) {
        std::ifstream stream(folder + name, std::ios::binary);
        const std::string whole{std::istreambuf_iterator<char>(stream), {}};
        for (std::size_t size = 0; size < whole.size(); size += 97) {
            SCOPED_TRACE(size);
            const auto reading = readers::summarizeVideo(requestOf(temporaryFile(whole.substr(0, size))), {});
            if (!reading) {
                EXPECT_EQ(reading.error(), SummarizerError::unreadable("v.mp4"));
            }
            // The index at the end of a film is lost; a recording of a browser needs none.
            if (size > 600 && size < whole.size() / 2) {
                EXPECT_EQ(reading.has_value(), std::string_view(name) == "live.webm");
            }
        }
    }
}

} // namespace
} // namespace vesto
