#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/SummarizerError.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <expected>
#include <optional>

namespace vesto::readers {

/// Reads a spreadsheet, a presentation, an electronic book or a document of iWork; where it has no text, the
/// text of the picture that it carries. `unreadable` for a file above `maxFileSize` and for one that cannot
/// be read or is cut short meanwhile. Callable from any thread.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeQuickLook(const ReadRequest& request,
                                                                         const QuickLookSummarizer& settings);

/// The cover of a book, or the picture that another document of these kinds carries of itself, of at most
/// about `maxPixels`.
[[nodiscard]] std::optional<Raster>
pictureOfQuickLook(const ReadRequest& request, const QuickLookSummarizer& settings, std::uint64_t maxPixels);

} // namespace vesto::readers
