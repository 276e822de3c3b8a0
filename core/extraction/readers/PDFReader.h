#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>

namespace vesto::readers {

/// The text layer, page count, title and dates of a PDF. A file that only a password opens is `locked`; what
/// is no PDF, or one without pages, is `unreadable`. Callable from any thread.
[[nodiscard]] std::expected<ContentSummary, SummarizerError> summarizePDF(const ReadRequest& request,
                                                                          const PDFSummarizer& settings);

} // namespace vesto::readers
