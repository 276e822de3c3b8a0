#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>

namespace vesto::readers {

/// Reads a mail message: subject, sender, date, then the body. `unreadable` for a file above 50 MiB and for
/// what has no header of a message. Callable from any thread; reads `request.fd` only.
[[nodiscard]] std::expected<ContentSummary, SummarizerError> summarizeEmail(const ReadRequest& request,
                                                                            const EmailSummarizer& settings);

} // namespace vesto::readers
