#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <expected>
#include <optional>

namespace vesto::readers {

/// Reads a text, a web page, a word-processing document or source code; where an office document has no text,
/// the text of the picture that it carries. `unreadable` where the file is larger than `maxFileBytes`, is not
/// what its extension says, or is of a format without a reader (.rtfd is a folder on its own platform; alone,
/// nothing of it can be read). Callable from any thread; reads `request.fd` only.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeDocument(const ReadRequest& request,
                                                                        const DocumentSummarizer& settings,
                                                                        const ImageSummarizer& recognition);

/// The picture that an office document carries of itself, of at most about `maxPixels`.
[[nodiscard]] std::optional<Raster>
pictureOfDocument(const ReadRequest& request, const DocumentSummarizer& settings, std::uint64_t maxPixels);

} // namespace vesto::readers
