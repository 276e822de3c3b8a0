#include "core/extraction/readers/pictures/TextContrast.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vesto::readers {
namespace {

constexpr std::size_t tileSide = 16; // pixels
constexpr std::size_t reach = 3;     // tiles around one that make its surroundings
constexpr unsigned levels = 64;      // of brightness that are told apart
constexpr unsigned levelSize = 256 / levels;
constexpr unsigned leastContrast = 30; // of text
constexpr double mostOfLetters = 0.25; // share of the pixels that the letters of dense text cover
constexpr unsigned darkestPaper = 80;  // what is darker is not made lighter than that would be

using Histogram = std::array<std::uint32_t, levels>;

void add(Histogram& sum, const Histogram& part) {
    for (std::size_t i = 0; i < levels; ++i)
        sum[i] += part[i];
}

void subtract(Histogram& sum, const Histogram& part) {
    for (std::size_t i = 0; i < levels; ++i)
        sum[i] -= part[i];
}

struct Grid {
    std::size_t columns;
    std::size_t rows;
    std::vector<Histogram> tiles;

    Histogram& at(std::size_t column, std::size_t row) { return tiles[row * columns + column]; }
};

Grid histogramsOf(const GreyPicture& picture) {
    Grid grid{.columns = (picture.size.width + tileSide - 1) / tileSide,
              .rows = (picture.size.height + tileSide - 1) / tileSide,
              .tiles = {}};
    grid.tiles.resize(grid.columns * grid.rows);
    for (std::size_t y = 0; y < picture.size.height; ++y) {
        const std::uint8_t* row = picture.pixels.data() + y * picture.size.width;
        for (std::size_t x = 0; x < picture.size.width; ++x)
            ++grid.at(x / tileSide, y / tileSide)[row[x] / levelSize];
    }
    return grid;
}

/// Each tile replaced by the sum of those within reach of it along one axis: `count` tiles, `step` apart.
void sumAlong(Histogram* first, std::size_t count, std::size_t step) {
    std::vector<Histogram> line(count);
    for (std::size_t i = 0; i < count; ++i)
        line[i] = first[i * step];
    Histogram sum{};
    for (std::size_t i = 0; i < std::min(reach, count); ++i)
        add(sum, line[i]);
    for (std::size_t i = 0; i < count; ++i) {
        if (i + reach < count)
            add(sum, line[i + reach]);
        if (i > reach)
            subtract(sum, line[i - reach - 1]);
        first[i * step] = sum;
    }
}

/// The brightness below which `share` of the pixels lie: the middle of a level.
unsigned brightnessAt(const Histogram& histogram, std::uint64_t total, double share) {
    const auto wanted = static_cast<std::uint64_t>(static_cast<double>(total) * share);
    std::uint64_t seen = 0;
    for (unsigned i = 0; i < levels; ++i) {
        seen += histogram[i];
        if (seen > wanted)
            return i * levelSize + levelSize / 2;
    }
    return 255;
}

/// What surrounds a tile.
struct Surroundings {
    unsigned background = 255;
    bool hasDarkText = false;
    bool hasLightText = false; // text is what few pixels show: it lies where the extreme is further away
};

/// The share of pixels lighter than `brightness`.
double shareAbove(const Histogram& histogram, std::uint64_t total, unsigned brightness) {
    std::uint64_t lighter = 0;
    for (std::size_t i = brightness / levelSize + 1; i < levels; ++i)
        lighter += histogram[i];
    return static_cast<double>(lighter) / static_cast<double>(total);
}

Surroundings surroundingsOf(const Histogram& histogram) {
    std::uint64_t total = 0;
    for (const std::uint32_t count : histogram)
        total += count;
    unsigned background = brightnessAt(histogram, total, 0.5);
    const unsigned lightest = std::max(background, brightnessAt(histogram, total, 0.995));
    const unsigned darkest = std::min(background, brightnessAt(histogram, total, 0.005));
    // More light than letters have is paper that ends here, and what is dark lies around it.
    const double light = shareAbove(histogram, total, (background + lightest) / 2);
    if (lightest - background > leastContrast && light > mostOfLetters)
        background = brightnessAt(histogram, total, 1 - light / 2);
    const unsigned above = lightest - std::min(lightest, background);
    const unsigned below = background - darkest;
    const bool hasText = std::max(below, above) > leastContrast;
    return {.background = background,
            .hasDarkText = hasText && below >= above,
            .hasLightText = hasText && above > below};
}

/// What every brightness becomes.
using Curve = std::array<std::uint8_t, 256>;

Curve curveOf(const Surroundings& surroundings) {
    Curve curve{};
    if (!surroundings.hasDarkText && !surroundings.hasLightText) {
        curve.fill(255); // a texture at most
        return curve;
    }
    const bool isInverted = surroundings.hasLightText;
    const unsigned background = surroundings.background;
    const unsigned paper = std::max(isInverted ? 255 - background : background, darkestPaper);
    for (unsigned i = 0; i < 256; ++i) {
        const unsigned value = isInverted ? 255 - i : i;
        curve[i] = static_cast<std::uint8_t>(std::min(255U, value * 255 / paper));
    }
    return curve;
}

/// How the tiles of a picture differ.
struct Verdict {
    bool hasText = false;  // or what could be some
    bool isDark = false;   // most of its text is light
    bool isUneven = false; // even when turned round, a good part of it would not be light
};

Verdict verdictOf(const std::vector<Surroundings>& tiles) {
    const auto light = std::ranges::count_if(tiles, &Surroundings::hasLightText);
    const auto dark = std::ranges::count_if(tiles, &Surroundings::hasDarkText);
    const bool isDark = light > dark;
    const auto shaded = std::ranges::count_if(tiles, [&](const Surroundings& tile) {
        return (isDark ? 255 - tile.background : tile.background) < 150;
    });
    return {.hasText = light > 0 || dark > 0,
            .isDark = isDark,
            .isUneven = static_cast<std::size_t>(shaded) * 5 > tiles.size()};
}

constexpr unsigned leastNoise = 4;   // levels of brightness by which paper spreads
constexpr unsigned darkestInk = 128; // where that would be taken for paper, the picture is no page

/// Makes the grain of a page white: what is left is ink. A page without grain stays as it is.
void clearGrain(GreyPicture& picture) {
    std::array<std::uint64_t, 256> counts{};
    for (const std::uint8_t pixel : picture.pixels)
        ++counts[pixel];
    const auto brightnessOf = [&](double share) {
        auto left = static_cast<std::uint64_t>(static_cast<double>(picture.pixels.size()) * share);
        unsigned brightness = 0;
        while (brightness < 255 && left >= counts[brightness])
            left -= counts[brightness++];
        return brightness;
    };
    const unsigned paper = brightnessOf(0.5);
    const unsigned spread = brightnessOf(0.84) - paper; // one standard deviation, seen from the lighter side
    if (spread < leastNoise || paper < darkestInk + 3 * spread)
        return;
    const unsigned lightestInk = paper - 3 * spread;
    for (std::uint8_t& pixel : picture.pixels)
        pixel = static_cast<std::uint8_t>(std::min(255U, pixel * 255U / lightestInk));
}

void apply(const Curve& curve, GreyPicture& picture, std::size_t column, std::size_t row) {
    const std::size_t width = picture.size.width;
    const std::size_t right = std::min((column + 1) * tileSide, width);
    const std::size_t bottom = std::min<std::size_t>((row + 1) * tileSide, picture.size.height);
    for (std::size_t y = row * tileSide; y < bottom; ++y) {
        for (std::size_t x = column * tileSide; x < right; ++x) {
            std::uint8_t& pixel = picture.pixels[y * width + x];
            pixel = curve[pixel];
        }
    }
}

} // namespace

GreyPicture greyPicture(const Raster& picture) {
    GreyPicture grey{.size = {picture.width, picture.height}};
    grey.pixels.resize(grey.size.pixels());
    for (std::size_t i = 0; i < grey.pixels.size(); ++i) {
        const std::uint8_t* pixel = picture.rgba.data() + i * 4;
        grey.pixels[i] = static_cast<std::uint8_t>((pixel[0] * 77U + pixel[1] * 151U + pixel[2] * 28U) >> 8);
    }
    return grey;
}

bool makeTextDark(GreyPicture& picture) {
    if (picture.pixels.empty())
        return false;
    Grid grid = histogramsOf(picture);
    for (std::size_t row = 0; row < grid.rows; ++row)
        sumAlong(&grid.at(0, row), grid.columns, 1);
    for (std::size_t column = 0; column < grid.columns; ++column)
        sumAlong(&grid.at(column, 0), grid.rows, grid.columns);
    std::vector<Surroundings> tiles;
    tiles.reserve(grid.tiles.size());
    for (const Histogram& histogram : grid.tiles)
        tiles.push_back(surroundingsOf(histogram));
    const Verdict verdict = verdictOf(tiles);
    if (!verdict.hasText)
        return false;
    if (verdict.isUneven) {
        for (std::size_t i = 0; i < tiles.size(); ++i)
            apply(curveOf(tiles[i]), picture, i % grid.columns, i / grid.columns);
        return true;
    }
    for (std::uint8_t& pixel : picture.pixels)
        pixel = static_cast<std::uint8_t>(verdict.isDark ? 255 - pixel : pixel);
    clearGrain(picture);
    return true;
}

} // namespace vesto::readers
