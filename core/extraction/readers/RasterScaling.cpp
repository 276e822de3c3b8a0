#include "core/extraction/readers/RasterScaling.h"

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
    if (end < edge) {
        accumulate(m_to.height);
    } else {
        accumulate(static_cast<std::uint32_t>(edge - begin));
        emit();
        accumulate(static_cast<std::uint32_t>(end - edge));
    }
    ++m_row;
}

void RasterReducer::reduceRow(std::span<const std::uint8_t> rgba) {
    const std::uint32_t from = m_from.width;
    const std::uint32_t to = m_to.width;
    std::uint64_t sums[3] = {};
    std::uint32_t column = 0;
    std::uint64_t position = 0; // where the source pixel begins, in the same units
    std::uint64_t edge = from;  // where the pixel of the result ends
    const auto put = [&] {
        for (std::size_t i = 0; i < 3; ++i)
            m_reduced[std::size_t{column} * 3 + i] = static_cast<std::uint32_t>((sums[i] << 8) / from);
    };
    for (std::size_t x = 0; x < from; ++x) {
        const std::uint8_t* pixel = rgba.data() + x * 4;
        const std::uint64_t end = position + to;
        if (end < edge) {
            for (std::size_t i = 0; i < 3; ++i)
                sums[i] += std::uint64_t{pixel[i]} * to;
        } else {
            const std::uint64_t before = edge - position;
            for (std::size_t i = 0; i < 3; ++i)
                sums[i] += pixel[i] * before;
            put();
            ++column;
            for (std::size_t i = 0; i < 3; ++i)
                sums[i] = pixel[i] * (end - edge);
            edge += from;
        }
        position = end;
    }
}

void RasterReducer::accumulate(std::uint32_t weight) {
    if (weight == 0)
        return;
    for (std::size_t i = 0; i < m_sums.size(); ++i)
        m_sums[i] += std::uint64_t{m_reduced[i]} * weight;
}

void RasterReducer::emit() {
    std::uint8_t* out = m_raster.rgba.data() + std::size_t{m_filled} * m_to.width * 4;
    const std::uint64_t whole = std::uint64_t{m_from.height} << 8;
    for (std::size_t x = 0; x < m_to.width; ++x) {
        for (std::size_t i = 0; i < 3; ++i)
            out[x * 4 + i] = static_cast<std::uint8_t>((m_sums[x * 3 + i] + whole / 2) / whole);
        out[x * 4 + 3] = 0xFF;
    }
    std::ranges::fill(m_sums, 0);
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

std::vector<std::uint8_t> luminance(const Raster& picture) {
    std::vector<std::uint8_t> grey(std::size_t{picture.width} * picture.height);
    for (std::size_t i = 0; i < grey.size(); ++i) {
        const std::uint8_t* pixel = picture.rgba.data() + i * 4;
        grey[i] = static_cast<std::uint8_t>((pixel[0] * 77U + pixel[1] * 151U + pixel[2] * 28U) >> 8);
    }
    return grey;
}

} // namespace vesto::readers
