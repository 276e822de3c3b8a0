#include "tests/readers/support/Pictures.h"

#include "tests/readers/support/PDFWriter.h"

#include <gtest/gtest.h>
#include <leptonica/allheaders.h>
#include <poppler-document.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

namespace vesto::tests {

readers::Raster gradient(std::uint32_t width, std::uint32_t height) {
    readers::Raster raster{.width = width, .height = height};
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            raster.rgba.push_back(static_cast<std::uint8_t>(x * 255 / std::max(width - 1, 1U)));
            raster.rgba.push_back(static_cast<std::uint8_t>(y * 255 / std::max(height - 1, 1U)));
            raster.rgba.push_back(60);
            raster.rgba.push_back(255);
        }
    }
    return raster;
}

std::string fromPix(PIX* pix, int format) {
    l_uint8* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(pixWriteMem(&data, &size, pix, format), 0) << format;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    lept_free(data);
    return bytes;
}

std::string pictureFile(const readers::Raster& picture, std::string_view format) {
    static const std::map<std::string_view, l_int32> formats{{"png", IFF_PNG},       {"jpeg", IFF_JFIF_JPEG},
                                                             {"tiff", IFF_TIFF_LZW}, {"gif", IFF_GIF},
                                                             {"webp", IFF_WEBP},     {"bmp", IFF_BMP}};
    PIX* pix = pixCreate(static_cast<l_int32>(picture.width), static_cast<l_int32>(picture.height), 32);
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        for (std::uint32_t x = 0; x < picture.width; ++x) {
            const std::uint8_t* pixel = &picture.rgba[(std::size_t{y} * picture.width + x) * 4];
            pixSetRGBPixel(pix, static_cast<l_int32>(x), static_cast<l_int32>(y), pixel[0], pixel[1],
                           pixel[2]);
        }
    }
    std::string bytes = fromPix(pix, formats.at(format));
    pixDestroy(&pix);
    return bytes;
}

void setPixel(PIX* pix, int x, int y, int grey, int alpha) {
    const auto value = static_cast<l_uint32>(grey);
    pixSetPixel(pix, x, y, value << 24 | value << 16 | value << 8 | static_cast<l_uint32>(alpha));
}

readers::Raster pageOfLines(const std::vector<std::string>& lines, double dpi, bool isDark) {
    const std::string bytes = pdfOfLines(lines);
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(bytes.data(), static_cast<int>(bytes.size())));
    const std::unique_ptr<poppler::page> page(document->create_page(0));
    poppler::page_renderer renderer;
    renderer.set_render_hint(poppler::page_renderer::antialiasing);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    renderer.set_image_format(poppler::image::format_gray8);
    const poppler::image image = renderer.render_page(page.get(), dpi, dpi);
    EXPECT_TRUE(image.is_valid());
    readers::Raster raster{.width = static_cast<std::uint32_t>(image.width()),
                           .height = static_cast<std::uint32_t>(image.height())};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            auto grey = static_cast<std::uint8_t>(image.const_data()[y * image.bytes_per_row() + x]);
            if (isDark)
                grey = static_cast<std::uint8_t>(0xE8 - grey * 0xD0 / 0xFF);
            raster.rgba.insert(raster.rgba.end(), {grey, grey, grey, 0xFF});
        }
    }
    return raster;
}

namespace {

std::string littleEndian(std::uint32_t number, std::size_t bytes) {
    std::string result;
    for (std::size_t i = 0; i < bytes; ++i, number >>= 8)
        result += static_cast<char>(number & 0xFF);
    return result;
}

struct Entry {
    std::uint16_t tag;
    std::uint16_t type; // 2 ASCII, 3 short, 4 long, 7 undefined
    std::string value;  // little-endian
};

/// A directory that stands at `offset` of the block, with its values behind it.
std::string directoryOf(const std::vector<Entry>& entries, std::size_t offset) {
    std::string fields = littleEndian(static_cast<std::uint32_t>(entries.size()), 2);
    std::string values;
    const std::size_t valuesAt = offset + 2 + entries.size() * 12 + 4;
    for (const Entry& entry : entries) {
        const std::size_t unit = entry.type == 3 ? 2 : entry.type == 4 ? 4 : 1;
        fields += littleEndian(entry.tag, 2) + littleEndian(entry.type, 2) +
                  littleEndian(static_cast<std::uint32_t>(entry.value.size() / unit), 4);
        if (entry.value.size() <= 4) {
            fields += entry.value + std::string(4 - entry.value.size(), '\0');
        } else {
            fields += littleEndian(static_cast<std::uint32_t>(valuesAt + values.size()), 4);
            values += entry.value + std::string(entry.value.size() % 2, '\0');
        }
    }
    return fields + littleEndian(0, 4) + values;
}

void addText(std::vector<Entry>& entries, std::uint16_t tag, const std::optional<std::string>& text) {
    if (text)
        entries.push_back({tag, 2, *text + '\0'});
}

} // namespace

std::string blockOf(const EXIF& exif) {
    std::vector<Entry> photo;
    if (exif.speed)
        photo.push_back({0x8827, 3, littleEndian(static_cast<std::uint32_t>(*exif.speed), 2)});
    addText(photo, 0x9003, exif.dateTimeOriginal);
    addText(photo, 0x9011, exif.offsetTimeOriginal);
    if (exif.userComment)
        photo.push_back({0x9286, 7, std::string("ASCII\0\0\0", 8) + *exif.userComment});
    if (exif.fileSource)
        photo.push_back({0xA300, 7, std::string(1, static_cast<char>(*exif.fileSource))});
    std::vector<Entry> main;
    addText(main, 0x010F, exif.make);
    if (exif.orientation)
        main.push_back({0x0112, 3, littleEndian(static_cast<std::uint32_t>(*exif.orientation), 2)});
    addText(main, 0x0132, exif.dateTime);
    main.push_back({0x8769, 4, littleEndian(0, 4)});
    const std::size_t photoAt = 8 + directoryOf(main, 8).size();
    main.back().value = littleEndian(static_cast<std::uint32_t>(photoAt), 4);
    return "II*" + std::string(1, '\0') + littleEndian(8, 4) + directoryOf(main, 8) +
           directoryOf(photo, photoAt);
}

std::string withEXIF(const std::string& jpeg, const EXIF& exif) {
    const std::string content = std::string("Exif\0\0", 6) + blockOf(exif);
    const std::string size = bigEndian(static_cast<std::uint32_t>(content.size() + 2)).substr(2);
    return jpeg.substr(0, 2) + "\xFF\xE1" + size + content + jpeg.substr(2);
}

std::string animatedWebP(const std::vector<std::string>& frames, readers::PixelSize size) {
    const auto chunk = [](const std::string& name, const std::string& content) {
        return name + littleEndian(static_cast<std::uint32_t>(content.size()), 4) + content;
    };
    const std::string sides = littleEndian(size.width - 1, 3) + littleEndian(size.height - 1, 3);
    std::string chunks =
        "WEBP" + chunk("VP8X", littleEndian(2, 4) + sides) + chunk("ANIM", littleEndian(0, 6));
    for (const std::string& frame : frames)
        chunks += chunk("ANMF", littleEndian(0, 6) + sides + littleEndian(100, 4) + frame.substr(12));
    return chunk("RIFF", chunks);
}

std::string bigEndian(std::uint32_t number) {
    std::string bytes = littleEndian(number, 4);
    std::ranges::reverse(bytes);
    return bytes;
}

std::string dataFile(const std::string& name) {
    std::ifstream stream(VESTO_SOURCE_DIR "/tests/readers/data/" + name, std::ios::binary);
    EXPECT_TRUE(stream) << name;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

} // namespace vesto::tests
