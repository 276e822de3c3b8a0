#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <expected>
#include <optional>

namespace vesto::readers {

/// Reads a picture file: its size, date, text and labels; a screenshot, a photo or any other image.
/// `unreadable` where it cannot be decoded or claims an enormous size. Callable from any thread.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeImage(const ReadRequest& request,
                                                                     const ImageSummarizer& settings);

/// The picture itself, upright; as `summarizeImage` fails, it gives nothing.
[[nodiscard]] std::optional<Raster> pictureOfImage(const ReadRequest& request);

} // namespace vesto::readers
