#include "tests/readers/support/Pictures.h"

#include "tests/readers/support/PDFWriter.h"

#include <gtest/gtest.h>
#include <leptonica/allheaders.h>
#include <poppler-document.h>
#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <cstddef>
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
    l_uint8* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(pixWriteMem(&data, &size, pix, formats.at(format)), 0) << format;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    lept_free(data);
    pixDestroy(&pix);
    return bytes;
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

} // namespace vesto::tests
