#include "core/extraction/readers/pictures/PictureFile.h"

#include "core/extraction/readers/pictures/PictureContent.h"
#include "tests/readers/support/Pictures.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <leptonica/allheaders.h>
#include <zlib.h>

#include <array>
#include <cmath>
#include <random>

namespace vesto::readers {
namespace {

using tests::bigEndian;
using tests::fromPix;
using tests::gradient;
using tests::pictureFile;
using tests::withEXIF;

constexpr std::uint64_t plenty = 4'000'000; // pixels

std::array<int, 4> pixelAt(const Raster& raster, std::uint32_t x, std::uint32_t y) {
    const std::uint8_t* pixel = &raster.rgba.at((std::size_t{y} * raster.width + x) * 4);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

TEST(PictureFile, DecodesEachFormat) {
    const Raster picture = gradient(40, 30);
    for (const char* format : {"png", "jpeg", "tiff", "gif", "webp", "bmp"}) {
        SCOPED_TRACE(format);
        const auto file = openPicture(pictureFile(picture, format), plenty);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->size, (PixelSize{40, 30}));
        EXPECT_EQ(file->metadata, PictureMetadata());
        ASSERT_EQ(file->raster.rgba.size(), picture.rgba.size());
        for (std::size_t i = 0; i < picture.rgba.size(); ++i)
            ASSERT_NEAR(file->raster.rgba[i], picture.rgba[i], 40) << i; // GIF has few colours
    }
}

TEST(PictureFile, DecodesBMPOfMasks) {
    // Red, green; below them blue, white: as rows from the bottom, or from the top where the height is
    // negative.
    const auto number = [](std::uint32_t value, int bytes) {
        std::string text;
        for (; bytes-- > 0; value >>= 8)
            text += static_cast<char>(value & 0xFF);
        return text;
    };
    struct Row {
        const char* description;
        int depth;
        std::uint32_t compression;
        std::array<std::uint32_t, 3> masks;
        bool isFromTop;
        bool isRead = true;
    };
    const std::array rows{
        Row{"5-6-5", 16, 3, {0xF800, 0x07E0, 0x001F}, false},
        Row{"5-5-5 without masks", 16, 0, {0x7C00, 0x03E0, 0x001F}, false},
        Row{"8-8-8-8, other order", 32, 3, {0x000000FF, 0x0000FF00, 0x00FF0000}, true},
        Row{"ten bits", 32, 3, {0x3FF00000, 0x000FFC00, 0x000003FF}, false},
        Row{"holes", 32, 3, {0x00FF0000, 0x0000A500, 0x000000FF}, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.description);
        const auto [red, green, blue] = row.masks;
        const int size = row.depth / 8;
        std::string bmp = "BM" + number(0, 8) + number(66, 4) + number(40, 4) + number(2, 4) +
                          number(row.isFromTop ? static_cast<std::uint32_t>(-2) : 2, 4) + number(1, 2) +
                          number(static_cast<std::uint32_t>(row.depth), 2) + number(row.compression, 4) +
                          number(0, 20) + number(red, 4) + number(green, 4) + number(blue, 4);
        const std::string upper = number(red, size) + number(green, size);
        const std::string lower = number(blue, size) + number(red | green | blue, size);
        bmp += row.isFromTop ? upper + lower : lower + upper;
        const auto file = openPicture(bmp, plenty);
        ASSERT_EQ(file.has_value(), row.isRead);
        if (!row.isRead)
            continue;
        EXPECT_EQ(pixelAt(file->raster, 0, 0), (std::array{255, 0, 0, 255}));
        EXPECT_EQ(pixelAt(file->raster, 1, 0), (std::array{0, 255, 0, 255}));
        EXPECT_EQ(pixelAt(file->raster, 0, 1), (std::array{0, 0, 255, 255}));
        EXPECT_EQ(pixelAt(file->raster, 1, 1), (std::array{255, 255, 255, 255}));
    }
}

TEST(PictureFile, DecodesHEIC) {
    const auto file = openPicture(tests::dataFile("turned.heic"), plenty);
    ASSERT_TRUE(file);
    // Stored 96 wide and 64 high, black on its left half, and turned to the right by its own property.
    EXPECT_EQ(file->size, (PixelSize{64, 96}));
    EXPECT_NEAR(pixelAt(file->raster, 32, 10)[0], 0, 20);
    EXPECT_NEAR(pixelAt(file->raster, 32, 90)[0], 255, 20);
    EXPECT_EQ(file->metadata.comment, "Screenshot");
    EXPECT_EQ(file->metadata.date, instantOfEXIFDate("2025:03:07 10:11:12", "+01:00"));
}

TEST(PictureFile, DecodesEachDepth) {
    // Black on the left, white on the right, in every way that a PNG or a TIFF can say so.
    for (const l_int32 depth : {1, 2, 4, 8, 16, 32}) {
        for (const bool hasPalette : {false, true}) {
            if (hasPalette && (depth == 16 || depth == 32))
                continue;
            SCOPED_TRACE(fmt::format("{} {}", depth, hasPalette));
            PIX* pix = pixCreate(20, 10, depth);
            const l_uint32 most = depth == 32 ? 0xFFFFFF00U : (1U << depth) - 1;
            for (l_int32 x = 0; x < 20; ++x)
                for (l_int32 y = 0; y < 10; ++y)
                    pixSetPixel(pix, x, y, (x >= 10) == (depth != 1 || hasPalette) ? most : 0);
            if (hasPalette)
                pixSetColormap(pix, pixcmapCreateLinear(depth, 1 << depth));
            for (const l_int32 format : {IFF_PNG, IFF_TIFF_ZIP}) {
                const auto file = openPicture(fromPix(pix, format), plenty);
                ASSERT_TRUE(file) << format;
                EXPECT_EQ(pixelAt(file->raster, 2, 5), (std::array{0, 0, 0, 255})) << format;
                EXPECT_EQ(pixelAt(file->raster, 17, 5), (std::array{255, 255, 255, 255})) << format;
            }
            pixDestroy(&pix);
        }
    }
}

TEST(PictureFile, LaysTransparencyOverWhatItCanBeSeenOn) {
    PIX* pix = pixCreate(20, 10, 32);
    pixSetSpp(pix, 4);
    for (const auto& [ink, ground] : {std::pair(0, 255), std::pair(255, 0x20)}) {
        for (l_int32 x = 0; x < 20; ++x)
            for (l_int32 y = 0; y < 10; ++y)
                tests::setPixel(pix, x, y, ink, x < 5 ? 255 : 0);
        const auto file = openPicture(fromPix(pix, IFF_PNG), plenty);
        ASSERT_TRUE(file);
        EXPECT_EQ(pixelAt(file->raster, 2, 5), (std::array{ink, ink, ink, 255}));
        EXPECT_EQ(pixelAt(file->raster, 15, 5), (std::array{ground, ground, ground, 255}));
    }
    pixDestroy(&pix);
}

TEST(PictureFile, TurnsUpright) {
    // Where the stored picture's upper left (dark), upper right (red) and lower left (green) corners show.
    struct Row {
        int orientation;
        std::array<int, 2> upperLeft, upperRight; // 1 for right, 1 for bottom
    };
    constexpr std::array<Row, 8> rows{{{1, {0, 0}, {1, 0}},
                                       {2, {1, 0}, {0, 0}},
                                       {3, {1, 1}, {0, 1}},
                                       {4, {0, 1}, {1, 1}},
                                       {5, {0, 0}, {0, 1}},
                                       {6, {1, 0}, {1, 1}},
                                       {7, {1, 1}, {1, 0}},
                                       {8, {0, 1}, {0, 0}}}};
    const std::string plain = pictureFile(gradient(60, 40), "jpeg");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.orientation);
        tests::EXIF exif;
        exif.orientation = row.orientation;
        const auto file = openPicture(withEXIF(plain, exif), plenty);
        ASSERT_TRUE(file);
        const bool isTransposed = row.orientation >= 5;
        EXPECT_EQ(file->size, isTransposed ? (PixelSize{40, 60}) : (PixelSize{60, 40}));
        EXPECT_EQ((PixelSize{file->raster.width, file->raster.height}), file->size);
        const auto corner = [&](std::array<int, 2> at) {
            return pixelAt(file->raster, at[0] == 0 ? 2 : file->size.width - 3,
                           at[1] == 0 ? 2 : file->size.height - 3);
        };
        EXPECT_LT(corner(row.upperLeft)[0] + corner(row.upperLeft)[1], 120);
        EXPECT_GT(corner(row.upperRight)[0], 200);
        EXPECT_LT(corner(row.upperRight)[1], 60);
    }
}

TEST(PictureFile, MakesLargePicturesSmaller) {
    for (const char* format : {"png", "jpeg", "tiff"}) {
        SCOPED_TRACE(format);
        const auto file = openPicture(pictureFile(gradient(900, 600), format), 60'000);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->size, (PixelSize{900, 600}));
        EXPECT_EQ((PixelSize{file->raster.width, file->raster.height}), (PixelSize{300, 200}));
        EXPECT_NEAR(pixelAt(file->raster, 150, 100)[0], 128, 4);
        EXPECT_NEAR(pixelAt(file->raster, 299, 199)[1], 254, 4);
    }
    EXPECT_EQ(sizeWithin({100'000, 1}, 4), (PixelSize{8, 1}));
    EXPECT_EQ(sizeWithinSide({3000, 2}, 1000), (PixelSize{1000, 1}));
}

/// A PNG whose header is right and whose pixels are missing.
std::string hugePNG(std::uint32_t width, std::uint32_t height) {
    std::string header =
        "IHDR" + bigEndian(width) + bigEndian(height) + std::string("\x08\x02\x00\x00\x00", 5);
    const auto sum = static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(header.data()), static_cast<uInt>(header.size())));
    return "\x89PNG\r\n\x1A\n" + bigEndian(13) + header + bigEndian(sum);
}

TEST(PictureFile, RefusesWhatCannotBeDecoded) {
    std::string bmp = pictureFile(gradient(4, 4), "bmp");
    bmp.replace(18, 8, std::string("\x60\xEA\x00\x00\x60\xEA\x00\x00", 8)); // 60,000 by 60,000
    const std::string gif = pictureFile(gradient(4, 4), "gif");
    const std::size_t frame =
        gif.find(',', gif.find("\x21\xF9") == std::string::npos ? 13 : gif.find("\x21\xF9"));
    const std::vector<std::pair<const char*, std::string>> rows{
        {"empty", ""},
        {"text", "Bonjour"},
        {"huge PNG", hugePNG(60'000, 60'000)},
        {"PNG wider than any", hugePNG(0x7FFFFFFF, 1)},
        {"PNG of nothing", hugePNG(0, 4)},
        {"huge BMP", bmp},
        {"PNG cut short", pictureFile(gradient(50, 50), "png").substr(0, 60)},
        {"TIFF cut short", pictureFile(gradient(50, 50), "tiff").substr(0, 20)},
        {"JPEG's first bytes", "\xFF\xD8\xFF\xE0"},
        {"HEIC's first bytes", std::string("\0\0\0\x18", 4) + "ftypheic" + std::string(12, '\0')},
        {"GIF without a frame", gif.substr(0, std::min<std::size_t>(frame, 13))},
    };
    for (const auto& [name, bytes] : rows)
        EXPECT_FALSE(openPicture(bytes, plenty)) << name;
}

TEST(PictureFile, ShowsWhatIsThereOfAJPEGCutShort) {
    const std::string whole = pictureFile(gradient(300, 300), "jpeg");
    const auto file = openPicture(whole.substr(0, whole.size() / 2), plenty);
    ASSERT_TRUE(file);
    EXPECT_NEAR(pixelAt(file->raster, 290, 10)[0], 247, 15);
}

TEST(PictureFile, TakesTheFirstFrame) {
    // A red frame, then a green one.
    const auto frame = [](std::uint8_t red, std::uint8_t green) {
        Raster raster{.width = 16, .height = 16};
        for (int i = 0; i < 256; ++i)
            raster.rgba.insert(raster.rgba.end(), {red, green, 0, 255});
        raster.rgba[0] = raster.rgba[1] = 0; // a GIF has two colours at least
        return raster;
    };
    const std::string first = pictureFile(frame(250, 0), "webp");
    const std::string second = pictureFile(frame(0, 250), "webp");
    const auto expectRed = [](const std::string& bytes) {
        const auto file = openPicture(bytes, plenty);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->size, (PixelSize{16, 16}));
        EXPECT_GT(pixelAt(file->raster, 8, 8)[0], 200);
    };
    {
        SCOPED_TRACE("webp");
        expectRed(tests::animatedWebP({first, second}, {16, 16}));
    }
    const std::string gif = pictureFile(frame(250, 0), "gif");
    {
        SCOPED_TRACE("gif");
        // What follows the first frame is not even looked at.
        expectRed(gif.substr(0, gif.size() - 1) + ",\x01\x02 nothing that could be decoded");
    }
}

TEST(PictureFile, SurvivesAnyDamage) {
    std::mt19937 random(20250307);
    for (const char* format : {"png", "jpeg", "tiff", "gif", "webp", "bmp", "heic"}) {
        const std::string whole = format == std::string_view("heic") ? tests::dataFile("turned.heic")
                                                                     : pictureFile(gradient(24, 16), format);
        for (int round = 0; round < 40; ++round) {
            std::string bytes = whole;
            for (std::size_t i = random() % 8 + 1; i > 0; --i)
                bytes[random() % std::min<std::size_t>(bytes.size(), 400)] =
                    static_cast<char>(random() % 256);
            if (round % 4 == 0)
                bytes.resize(random() % bytes.size());
            const auto raster = decodePicture(bytes, 10'000);
            if (raster) {
                EXPECT_EQ(raster->rgba.size(), std::size_t{raster->width} * raster->height * 4) << format;
            }
        }
    }
}

} // namespace
} // namespace vesto::readers
