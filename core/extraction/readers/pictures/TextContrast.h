#pragma once
#include "core/extraction/readers/pictures/Raster.h"
#include "core/extraction/readers/pictures/RasterScaling.h"

#include <cstdint>
#include <vector>

namespace vesto::readers {

/// A picture of one byte a pixel, row after row without padding.
struct GreyPicture {
    PixelSize size;
    std::vector<std::uint8_t> pixels{};
};

/// As bright as the eye sees it.
[[nodiscard]] GreyPicture greyPicture(const Raster& picture);

/// Makes text dark on light. A page or a window of even brightness is at most turned round as a whole, and
/// its grain made white; what lies in shadow or on several grounds is measured part by part against its own
/// surroundings. False, and perhaps nothing done, where nothing has the contrast of text. Linear time.
[[nodiscard]] bool makeTextDark(GreyPicture& picture);

} // namespace vesto::readers
