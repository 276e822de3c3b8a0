#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <expected>
#include <optional>

namespace vesto::readers {

/// A film: what one of its pictures says and shows, and the beginning of its sound. `unreadable` where it has
/// neither and no title. Callable from any thread.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeVideo(const ReadRequest& request,
                                                                     const VideoSummarizer& settings);

/// One picture of a film, upright, scaled down to about `maxPixels`; its cover where none can be decoded.
[[nodiscard]] std::optional<Raster> videoPicture(const ReadRequest& request, std::uint64_t maxPixels);

} // namespace vesto::readers
