#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <expected>
#include <optional>

namespace vesto::readers {

/// The tags of a recording and the beginning of its sound. `unreadable` where it has neither. Callable from
/// any thread.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeAudio(const ReadRequest& request,
                                                                     const AudioSummarizer& settings);

/// The picture on the cover, scaled down to about `maxPixels`; nothing where there is none.
[[nodiscard]] std::optional<Raster> audioPicture(const ReadRequest& request, std::uint64_t maxPixels);

} // namespace vesto::readers
