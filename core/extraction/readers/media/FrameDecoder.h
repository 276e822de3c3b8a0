#pragma once
#include "core/extraction/readers/media/MediaFile.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace vesto::readers {

/// One picture of a film that shows something: neither black nor of one colour where there is another.
/// Upright and in the proportions of the screen, scaled down to about `maxPixels` where it is larger. Nothing
/// where none can be decoded before the file's deadline. `file` is left behind at any place.
[[nodiscard]] std::optional<Raster> decodeFrame(MediaFile& file, std::uint64_t maxPixels);

/// Width and height in pixels as the film is shown; nothing without a picture and for absurd sizes.
[[nodiscard]] std::optional<std::pair<std::int64_t, std::int64_t>> displaySize(const MediaFile& file);

} // namespace vesto::readers
