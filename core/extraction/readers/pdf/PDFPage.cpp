#include "core/extraction/readers/pdf/PDFPage.h"

#include "core/extraction/readers/pdf/PDFMetadata.h"

#include <poppler-image.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace vesto::readers {
namespace {

constexpr double leastFontSize = 2; // points
// Poppler makes a word's box as high as the ascent and descent of its font, each below 1.9 of its size,
// whatever the file says.
constexpr double mostHeightOfTinyText = 2 * 1.9 * leastFontSize; // points
constexpr double longestSide = 14'400;                           // points, 200 inches
constexpr double pointsPerInch = 72;
constexpr double contrastResolution = 36; // dots an inch; text of 11 points is five and a half high
constexpr int leastContrast = 8;          // of 255, in any of the colours
constexpr double maxResolution = 300;     // dots an inch
constexpr double mostContrastPixels = 4'000'000;
constexpr double longestContrastSide = 16'384; // pixels

// The words of an honest page hardly overlap, so that each pixel is looked at about once. What is left when
// this is spent counts as hidden.
constexpr std::int64_t mostPixelsLookedAt = 64'000'000;

std::string utf8Of(const poppler::ustring& text) {
    return utf8OfUnits(std::u16string(text.begin(), text.end()));
}

bool isPlausible(const poppler::rectf& box) {
    return box.width() >= 1 && box.height() >= 1 && box.width() <= longestSide && box.height() <= longestSide;
}

poppler::image draw(const poppler::page& page, double resolution, bool hasSmoothLines) {
    poppler::page_renderer renderer;
    renderer.set_image_format(poppler::image::format_rgb24);
    renderer.set_render_hint(poppler::page_renderer::antialiasing, hasSmoothLines);
    renderer.set_render_hint(poppler::page_renderer::text_antialiasing);
    return renderer.render_page(&page, resolution, resolution);
}

/// A box as seen along the direction in which its text runs, each pair ascending: lines follow each other
/// across it.
struct TextExtent {
    double start, end;
    double side, otherSide;
};

bool runsUpOrDown(const poppler::text_box& word) {
    return word.rotation() == 1 || word.rotation() == 3;
}

TextExtent extentOf(const poppler::text_box& word) {
    const poppler::rectf box = word.bbox();
    switch (word.rotation()) {
    case 1: // downwards
        return {box.top(), box.bottom(), box.left(), box.right()};
    case 2: // upside down
        return {-box.right(), -box.left(), box.top(), box.bottom()};
    case 3: // upwards
        return {-box.bottom(), -box.top(), box.left(), box.right()};
    default:
        return {box.left(), box.right(), box.top(), box.bottom()};
    }
}

/// Whether the font of a word may be too small to be read; its size itself costs several times as much to
/// ask.
bool mayBeTiny(const poppler::text_box& word) {
    const TextExtent box = extentOf(word);
    return box.otherSide - box.side < mostHeightOfTinyText;
}

/// A page drawn as small as still tells where it shows something.
class DrawnPage {
public:
    /// Shows nothing at all where the page cannot be drawn; see `isValid`.
    explicit DrawnPage(const poppler::page& page) {
        const poppler::rectf box = page.page_rect();
        if (!(box.width() >= 1 && box.height() >= 1))
            return;
        m_scale = std::min({contrastResolution / pointsPerInch,
                            std::sqrt(mostContrastPixels / (box.width() * box.height())),
                            longestContrastSide / std::max(box.width(), box.height())});
        m_image = draw(page, m_scale * pointsPerInch, false);
    }

    [[nodiscard]] bool isValid() const {
        return m_image.is_valid() && m_image.format() == poppler::image::format_rgb24;
    }

    /// Whether nothing at all is drawn where a word is. The edges along its line are left out: they may touch
    /// the neighbours.
    [[nodiscard]] bool isEmptyAt(const poppler::text_box& word) {
        const poppler::rectf box = word.bbox();
        const double insetX = runsUpOrDown(word) ? box.width() / 5 : 0;
        const double insetY = runsUpOrDown(word) ? 0 : box.height() / 5;
        const auto pixel = [&](double value, int limit) {
            return value > 0 ? static_cast<int>(std::min(value, static_cast<double>(limit))) : 0;
        };
        const int left = pixel(std::floor((box.left() + insetX) * m_scale), m_image.width());
        const int right = pixel(std::ceil((box.right() - insetX) * m_scale), m_image.width());
        const int top = pixel(std::floor((box.top() + insetY) * m_scale), m_image.height());
        const int bottom = pixel(std::ceil((box.bottom() - insetY) * m_scale), m_image.height());
        std::array<unsigned char, 3> darkest{255, 255, 255};
        std::array<unsigned char, 3> lightest{0, 0, 0};
        for (int y = top; y < bottom && m_pixelsLeft > 0; ++y) {
            m_pixelsLeft -= std::max(right - left, 0);
            const char* row = m_image.const_data() + std::ptrdiff_t{y} * m_image.bytes_per_row();
            for (int x = left; x < right; ++x) {
                for (std::size_t i = 0; i < 3; ++i) {
                    const auto value = static_cast<unsigned char>(
                        row[std::ptrdiff_t{x} * 3 + static_cast<std::ptrdiff_t>(i)]);
                    darkest[i] = std::min(darkest[i], value);
                    lightest[i] = std::max(lightest[i], value);
                }
            }
            for (std::size_t i = 0; i < 3; ++i) {
                if (lightest[i] - darkest[i] >= leastContrast)
                    return false;
            }
        }
        return true;
    }

private:
    poppler::image m_image;
    double m_scale = 0; // pixels a point
    std::int64_t m_pixelsLeft = mostPixelsLookedAt;
};

/// The words that `isHidden` does not say are, each line as they stand beside each other.
std::string textOfWords(const std::vector<poppler::text_box>& words, const std::vector<bool>& isHidden) {
    std::string text;
    const poppler::text_box* before = nullptr;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (isHidden[i])
            continue;
        const TextExtent box = extentOf(words[i]);
        if (before != nullptr) {
            const TextExtent last = extentOf(*before);
            const double shared = std::min(last.otherSide, box.otherSide) - std::max(last.side, box.side);
            const double thinner = std::min(last.otherSide - last.side, box.otherSide - box.side);
            const bool isSameLine =
                words[i].rotation() == before->rotation() && shared > thinner / 2 && box.start > last.start;
            text += isSameLine ? (before->has_space_after() || box.start > last.end + 1 ? " " : "") : "\n";
        }
        text += utf8Of(words[i].text());
        before = &words[i];
    }
    return text;
}

} // namespace

std::string visibleTextOfPage(const poppler::page& page, bool isDrawn) {
    // Poppler itself drops what lies outside the page.
    std::string text = utf8Of(page.text(poppler::rectf(), poppler::page::non_raw_non_physical_layout));
    if (text.empty())
        return text;
    std::vector<poppler::text_box> words = page.text_list(0);
    if (std::ranges::any_of(words, mayBeTiny))
        words = page.text_list(poppler::page::text_list_include_font);
    std::optional<DrawnPage> drawn;
    if (isDrawn && !words.empty())
        drawn.emplace(page);
    if (drawn && !drawn->isValid())
        drawn.reset();
    std::vector<bool> isHidden(words.size());
    for (std::size_t i = 0; i < words.size(); ++i)
        isHidden[i] = (words[i].has_font_info() && words[i].get_font_size() < leastFontSize) ||
                      (drawn && drawn->isEmptyAt(words[i]));
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
    const poppler::image image = draw(page, scale * pointsPerInch * 0.999, true);
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
