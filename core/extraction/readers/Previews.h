#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <optional>

namespace vesto::readers {

/// What a file shows a person: its first page or the picture that it is or carries, at most
/// `Preview::maxSide` pixels a side. Nothing where its format has none. Callable from any thread.
[[nodiscard]] std::optional<Raster> pictureOf(const ReadRequest& request);

} // namespace vesto::readers
