#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"
#include "core/extraction/SummarizerError.h"
#include "core/naming/ContentSummary.h"

#include <expected>

namespace vesto::readers {

/// Reads a spreadsheet or a presentation (xlsx, pptx, ods, odp). `unreadable` for a file above `maxFileSize`,
/// one that cannot be read or is cut short meanwhile, and for the other types of the route. Callable from any
/// thread.
[[nodiscard]] std::expected<ContentSummary, SummarizerError>
summarizeQuickLook(const ReadRequest& request, const QuickLookSummarizer& settings);

} // namespace vesto::readers
