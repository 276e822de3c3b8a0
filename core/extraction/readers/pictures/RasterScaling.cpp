#include "core/extraction/readers/pictures/RasterScaling.h"

#include "core/support/Assert.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

namespace vesto::readers {
namespace {

constexpr std::uint32_t longestSide = 65'535;

std::uint32_t scaledSide(std::uint32_t side, double factor) {
    const double scaled = std::round(side * factor);
    return std::clamp(static_cast<std::uint32_t>(scaled), 1U, side);
}

} // namespace

PixelSize sizeWithin(PixelSize size, std::uint64_t maxPixels) {
    if (size.pixels() <= maxPixels)
        return size;
    const double factor = std::sqrt(static_cast<double>(maxPixels) / static_cast<double>(size.pixels()));
    PixelSize smaller{scaledSide(size.width, factor), scaledSide(size.height, factor)};
    // A strip one pixel wide cannot become narrower.
    const std::uint64_t limit = std::max<std::uint64_t>(maxPixels, 1);
    smaller.height = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(smaller.height, std::max<std::uint64_t>(2 * limit / smaller.width, 1)));
    smaller.width = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(smaller.width, std::max<std::uint64_t>(2 * limit / smaller.height, 1)));
    return smaller;
}

PixelSize sizeWithinSide(PixelSize size, std::uint32_t maxSide) {
    const std::uint32_t longer = std::max(size.width, size.height);
    if (longer <= maxSide)
        return size;
    const double factor = static_cast<double>(maxSide) / longer;
    return {scaledSide(size.width, factor), scaledSide(size.height, factor)};
}

RasterReducer::RasterReducer(PixelSize from, PixelSize to)
    : m_from(from)
    , m_to(to)
    , m_reduced(std::size_t{to.width} * 3)
    , m_sums(std::size_t{to.width} * 3) {
    VESTO_ASSERT(to.width > 0 && to.height > 0 && to.width <= from.width && to.height <= from.height);
    VESTO_ASSERT(from.width <= longestSide && from.height <= longestSide);
    m_raster.width = to.width;
    m_raster.height = to.height;
    m_raster.rgba.resize(to.pixels() * 4);
}

void RasterReducer::add(std::span<const std::uint8_t> rgba) {
    VESTO_ASSERT(rgba.size() == std::size_t{m_from.width} * 4);
    if (m_row >= m_from.height)
        return;
    if (m_from == m_to) {
        std::memcpy(m_raster.rgba.data() + std::size_t{m_row} * rgba.size(), rgba.data(), rgba.size());
        ++m_row;
        return;
    }
    reduceRow(rgba);
    // Lengths in units of 1/to of a source row: a source row is `to` long, a row of the result `from`.
    const std::uint64_t begin = std::uint64_t{m_row} * m_to.height;
    const std::uint64_t end = begin + m_to.height;
    const std::uint64_t edge = std::uint64_t{m_filled + 1} * m_from.height;
    const float whole = static_cast<float>(m_from.height);
    if (end < edge) {
        accumulate(static_cast<float>(m_to.height) / whole);
    } else {
        accumulate(static_cast<float>(edge - begin) / whole);
        emit();
        accumulate(static_cast<float>(end - edge) / whole);
    }
    ++m_row;
}

void RasterReducer::reduceRow(std::span<const std::uint8_t> rgba) {
    const std::uint32_t from = m_from.width;
    const std::uint32_t to = m_to.width;
    const float whole = static_cast<float>(from);
    float* out = m_reduced.data();
    std::uint32_t red = 0; // 255 times 65,535 is the most that a sum reaches
    std::uint32_t green = 0;
    std::uint32_t blue = 0;
    std::uint32_t room = from; // of the pixel of the result that is being filled, in the same units
    for (const std::uint8_t* pixel = rgba.data(); pixel != rgba.data() + rgba.size(); pixel += 4) {
        if (to < room) {
            red += pixel[0] * to;
            green += pixel[1] * to;
            blue += pixel[2] * to;
            room -= to;
            continue;
        }
        out[0] = static_cast<float>(red + pixel[0] * room) / whole;
        out[1] = static_cast<float>(green + pixel[1] * room) / whole;
        out[2] = static_cast<float>(blue + pixel[2] * room) / whole;
        out += 3;
        const std::uint32_t rest = to - room;
        red = pixel[0] * rest;
        green = pixel[1] * rest;
        blue = pixel[2] * rest;
        room = from - rest;
    }
}

void RasterReducer::accumulate(float weight) {
    for (std::size_t i = 0; i < m_sums.size(); ++i)
        m_sums[i] += m_reduced[i] * weight;
}

void RasterReducer::emit() {
    std::uint8_t* out = m_raster.rgba.data() + std::size_t{m_filled} * m_to.width * 4;
    for (std::size_t x = 0; x < m_to.width; ++x) {
        for (std::size_t i = 0; i < 3; ++i)
            out[x * 4 + i] = static_cast<std::uint8_t>(std::min(m_sums[x * 3 + i] + 0.5F, 255.0F));
        out[x * 4 + 3] = 0xFF;
    }
    std::ranges::fill(m_sums, 0.0F);
    ++m_filled;
}

Raster RasterReducer::take() {
    return std::move(m_raster);
}

Raster reduced(const Raster& picture, PixelSize to) {
    RasterReducer reducer({picture.width, picture.height}, to);
    const std::size_t row = std::size_t{picture.width} * 4;
    for (std::size_t y = 0; y < picture.height; ++y)
        reducer.add(std::span(picture.rgba).subspan(y * row, row));
    return reducer.take();
}

Raster upright(Raster picture, int orientation) {
    if (orientation < 2 || orientation > 8)
        return picture;
    const std::size_t width = picture.width;
    const std::size_t height = picture.height;
    Raster turned;
    turned.width = isTransposed(orientation) ? picture.height : picture.width;
    turned.height = isTransposed(orientation) ? picture.width : picture.height;
    turned.rgba.resize(picture.rgba.size());
    const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    for (std::size_t y = 0; y < turned.height; ++y) {
        for (std::size_t x = 0; x < turned.width; ++x) {
            std::size_t sourceX = isTransposed(orientation) ? y : x;
            std::size_t sourceY = isTransposed(orientation) ? x : y;
            if (fromRight)
                sourceX = width - 1 - sourceX;
            if (fromBottom)
                sourceY = height - 1 - sourceY;
            std::memcpy(turned.rgba.data() + (y * turned.width + x) * 4,
                        picture.rgba.data() + (sourceY * width + sourceX) * 4, 4);
        }
    }
    return turned;
}

} // namespace vesto::readers
