#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>
#include <string>

namespace vesto::readers {

/// The tags of a recording and the beginning of its sound. `unreadable` where it has neither. Callable from
/// any thread.
[[nodiscard]] std::expected<Reading, SummarizerError> summarizeAudio(const ReadRequest& request,
                                                                     const AudioSummarizer& settings);

/// The picture file on the cover; empty where there is none. Callable from any thread.
[[nodiscard]] std::string coverOfRecording(const ReadRequest& request);

} // namespace vesto::readers
