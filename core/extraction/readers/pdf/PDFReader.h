#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/readers/pictures/Raster.h"

#include <cstdint>
#include <expected>
#include <optional>

namespace vesto::readers {

/// The text layer, page count, title and dates of a PDF; of a scan, which has hardly any text, what can be
/// recognised on its first page. A file that only a password opens is `locked`; what is no PDF, or one
/// without pages, is `unreadable`. What takes too long gives the pages before it; see
/// `readInTime`. Callable from any thread.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizePDF(const ReadRequest& request,
                                                                   const PDFSummarizer& settings);

/// The first page as a picture of at most `maxSide` pixels a side. Nothing where `summarizePDF` fails and
/// where the page cannot be drawn. Callable from any thread.
[[nodiscard]] std::optional<Raster> firstPageOfPDF(const ReadRequest& request, std::uint32_t maxSide);

} // namespace vesto::readers
