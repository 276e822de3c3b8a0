#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>

namespace vesto::readers {

/// Reads a text, a web page, a word-processing document or source code. `unreadable` where the file is larger
/// than `maxFileBytes`, is not what its extension says, or is of a format without a reader (.rtfd,
/// .webarchive, the binary .doc). Callable from any thread; reads `request.fd` only.
[[nodiscard]] std::expected<ContentSummary, SummarizerError>
summarizeDocument(const ReadRequest& request, const DocumentSummarizer& settings);

} // namespace vesto::readers
