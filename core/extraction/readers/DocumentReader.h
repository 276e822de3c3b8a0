#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>

namespace vesto::readers {

/// Reads a text, a web page, a word-processing document or source code; where an office document has no text,
/// the text of the picture that it carries. `unreadable` where the file is larger than `maxFileBytes`, is not
/// what its extension says, or is of a format without a reader (.rtfd is a folder on its own platform; alone,
/// nothing of it can be read). Callable from any thread; reads `request.fd` only.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeDocument(const ReadRequest& request,
                                                                        const DocumentSummarizer& settings,
                                                                        const ImageSummarizer& recognition);

} // namespace vesto::readers
