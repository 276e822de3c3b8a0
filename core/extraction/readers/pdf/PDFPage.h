#pragma once
#include "core/extraction/readers/pictures/Raster.h"
#include "core/extraction/readers/pictures/RasterScaling.h"

#include <cstdint>
#include <optional>
#include <string>

namespace poppler {
class page;
} // namespace poppler

namespace vesto::readers {

/// The text of a page in the order a person reads it in, column after column, lines separated by line feeds,
/// as Poppler lays it out. Valid UTF-8. Without what nobody can see: text of less than 2 points, outside the
/// page and, where `isDrawn` and the page can be drawn, where the drawn page shows nothing at all. An
/// invisible text over a picture stays, since the picture shows it.
[[nodiscard]] std::string visibleTextOfPage(const poppler::page& page, bool isDrawn);

/// The page as a picture of at most `maxPixels` and, each side, `maxSide`. Nothing for a page of an absurd
/// size and where it cannot be drawn.
[[nodiscard]] std::optional<Raster> drawnPage(const poppler::page& page, std::uint64_t maxPixels,
                                              std::uint32_t maxSide);

} // namespace vesto::readers
