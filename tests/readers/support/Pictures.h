#pragma once
#include "core/extraction/readers/Raster.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::tests {

/// A picture without text, each pixel of its own colour, so that a turned or mirrored one shows.
[[nodiscard]] readers::Raster gradient(std::uint32_t width, std::uint32_t height);

/// `picture` as a file that Leptonica writes: "png", "jpeg", "tiff", "gif", "webp", "bmp".
[[nodiscard]] std::string pictureFile(const readers::Raster& picture, std::string_view format);

/// A page with these lines of black text in 12 points, as a picture of `dpi`; dark pages have white text.
[[nodiscard]] readers::Raster pageOfLines(const std::vector<std::string>& lines, double dpi,
                                          bool isDark = false);

} // namespace vesto::tests
