#pragma once
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vesto::readers {

/// Width and height in pixels.
struct PixelSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const PixelSize&) const = default;
    [[nodiscard]] std::uint64_t pixels() const { return std::uint64_t{width} * height; }
};

/// `size` made smaller in proportion, so that it has at most about `maxPixels`; never larger, never empty.
[[nodiscard]] PixelSize sizeWithin(PixelSize size, std::uint64_t maxPixels);

/// The same so that no side is longer than `maxSide`.
[[nodiscard]] PixelSize sizeWithinSide(PixelSize size, std::uint32_t maxSide);

/// Makes a picture smaller while its rows come in from top to bottom, so that the large one never has to
/// exist as a whole. Each pixel is the mean of what it covers, for which alpha does not count: rows are
/// opaque.
class RasterReducer {
public:
    /// Neither side of `to` may be larger than that of `from`; no side may be 0 or above 65,535.
    RasterReducer(PixelSize from, PixelSize to);

    /// The next row, 4 bytes a pixel.
    void add(std::span<const std::uint8_t> rgba);

    /// The picture; rows that never came are black.
    [[nodiscard]] Raster take();

private:
    void reduceRow(std::span<const std::uint8_t> rgba);
    void accumulate(float weight);
    void emit();

    PixelSize m_from;
    PixelSize m_to;
    std::uint32_t m_row = 0;      // the next of the source
    std::uint32_t m_filled = 0;   // rows of the result that are done
    std::vector<float> m_reduced; // one source row, in width only: 3 values a pixel
    std::vector<float> m_sums;    // the row of the result that is being filled
    Raster m_raster;
};

/// `picture` at the size `to`, no side of which may be larger than it is.
[[nodiscard]] Raster reduced(const Raster& picture, PixelSize to);

/// `picture`, stored turned or mirrored as `orientation` (1 to 8, EXIF's numbers) says, upright.
[[nodiscard]] Raster upright(Raster picture, int orientation);

/// Whether a picture of this orientation has width and height exchanged.
[[nodiscard]] constexpr bool isTransposed(int orientation) {
    return orientation >= 5 && orientation <= 8;
}

} // namespace vesto::readers
