#pragma once
#include <cstdint>
#include <vector>

namespace vesto::readers {

/// The pixels of a picture, upright.
struct Raster {
    std::uint32_t width = 0; // pixels
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgba{}; // 4 bytes a pixel, row after row without padding; alpha not multiplied
};

} // namespace vesto::readers
