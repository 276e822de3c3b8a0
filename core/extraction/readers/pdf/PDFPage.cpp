#include "core/extraction/readers/pdf/PDFPage.h"

#include "core/extraction/readers/pdf/PDFMetadata.h"

#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr double leastFontSize = 2;    // points
constexpr double longestSide = 14'400; // points, 200 inches
constexpr double pointsPerInch = 72;
constexpr double contrastResolution = 36; // dots an inch; text of 11 points is five and a half high
constexpr int leastContrast = 8;          // of 255, in any of the colours
constexpr double maxResolution = 300;     // dots an inch

// A page that takes its text this long to be found is a drawing of so many strokes that it is not drawn as
// well.
constexpr std::chrono::milliseconds slowPage{150};

std::string utf8Of(const poppler::ustring& text) {
    return utf8OfUnits(std::u16string(text.begin(), text.end()));
}

bool isPlausible(const poppler::rectf& box) {
    return box.width() >= 1 && box.height() >= 1 && box.width() <= longestSide && box.height() <= longestSide;
}

poppler::image draw(const poppler::page& page, double resolution) {
    poppler::page_renderer renderer;
    renderer.set_image_format(poppler::image::format_rgb24);
    renderer.set_render_hint(poppler::page_renderer::antialiasing);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    return renderer.render_page(&page, resolution, resolution);
}

/// Whether nothing at all is drawn in a box, given in points from the upper left corner. Its edges are left
/// out: they may touch the neighbours.
bool isEmptyAt(const poppler::image& image, const poppler::rectf& box) {
    const double scale = contrastResolution / pointsPerInch;
    const double inset = box.height() / 5;
    const auto clamped = [](double value, int limit) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(limit)));
    };
    const int left = clamped(std::floor(box.left() * scale), image.width());
    const int right = clamped(std::ceil(box.right() * scale), image.width());
    const int top = clamped(std::floor((box.top() + inset) * scale), image.height());
    const int bottom = clamped(std::ceil((box.bottom() - inset) * scale), image.height());
    unsigned char darkest[3] = {255, 255, 255};
    unsigned char lightest[3] = {0, 0, 0};
    for (int y = top; y < bottom; ++y) {
        const char* row = image.const_data() + std::ptrdiff_t{y} * image.bytes_per_row();
        for (int x = left; x < right; ++x) {
            for (int i = 0; i < 3; ++i) {
                const auto value = static_cast<unsigned char>(row[x * 3 + i]);
                darkest[i] = std::min(darkest[i], value);
                lightest[i] = std::max(lightest[i], value);
            }
        }
    }
    for (int i = 0; i < 3; ++i) {
        if (lightest[i] - darkest[i] >= leastContrast)
            return false;
    }
    return true;
}

/// The words that `isHidden` does not say are, each line as they stand beside each other.
std::string textOfWords(const std::vector<poppler::text_box>& words, const std::vector<bool>& isHidden) {
    std::string text;
    const poppler::text_box* before = nullptr;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (isHidden[i])
            continue;
        const poppler::rectf box = words[i].bbox();
        if (before != nullptr) {
            const poppler::rectf last = before->bbox();
            const double shared = std::min(last.bottom(), box.bottom()) - std::max(last.top(), box.top());
            const bool isSameLine = words[i].rotation() == before->rotation() &&
                                    shared > std::min(last.height(), box.height()) / 2 &&
                                    box.left() > last.left();
            text +=
                isSameLine ? (before->has_space_after() || box.left() > last.right() + 1 ? " " : "") : "\n";
        }
        text += utf8Of(words[i].text());
        before = &words[i];
    }
    return text;
}

} // namespace

std::string textOfPage(const poppler::page& page) {
    return utf8Of(page.text(poppler::rectf(), poppler::page::non_raw_non_physical_layout));
}

std::string visibleTextOfPage(const poppler::page& page, bool isDrawn) {
    const auto begin = std::chrono::steady_clock::now();
    std::string text = textOfPage(page);
    if (text.empty() || std::chrono::steady_clock::now() - begin > slowPage)
        return text;
    const std::vector<poppler::text_box> words = page.text_list(poppler::page::text_list_include_font);
    poppler::image image;
    if (isDrawn && !words.empty() && isPlausible(page.page_rect()))
        image = draw(page, contrastResolution);
    std::vector<bool> isHidden(words.size());
    for (std::size_t i = 0; i < words.size(); ++i)
        isHidden[i] = (words[i].has_font_info() && words[i].get_font_size() < leastFontSize) ||
                      (image.is_valid() && isEmptyAt(image, words[i].bbox()));
    if (std::ranges::find(isHidden, true) == isHidden.end())
        return text;
    return textOfWords(words, isHidden);
}

std::optional<Raster> drawnPage(const poppler::page& page, std::uint64_t maxPixels, std::uint32_t maxSide) {
    const poppler::rectf box = page.page_rect();
    if (!isPlausible(box))
        return std::nullopt;
    const double byArea = std::sqrt(static_cast<double>(maxPixels) / (box.width() * box.height()));
    const double bySide = maxSide / std::max(box.width(), box.height());
    const double scale = std::min({byArea, bySide, maxResolution / pointsPerInch});
    // Poppler rounds a side up; a hair less keeps it within the bound.
    const poppler::image image = draw(page, scale * pointsPerInch * 0.999);
    if (!image.is_valid() || image.width() < 1 || image.height() < 1 ||
        image.format() != poppler::image::format_rgb24)
        return std::nullopt;
    Raster raster{.width = static_cast<std::uint32_t>(image.width()),
                  .height = static_cast<std::uint32_t>(image.height())};
    raster.rgba.resize(std::size_t{raster.width} * raster.height * 4);
    for (std::size_t y = 0; y < raster.height; ++y) {
        const char* row = image.const_data() + y * static_cast<std::size_t>(image.bytes_per_row());
        std::uint8_t* out = raster.rgba.data() + y * raster.width * 4;
        for (std::size_t x = 0; x < raster.width; ++x, out += 4) {
            for (std::size_t i = 0; i < 3; ++i)
                out[i] = static_cast<std::uint8_t>(row[x * 3 + i]);
            out[3] = 0xFF;
        }
    }
    return raster;
}

} // namespace vesto::readers
