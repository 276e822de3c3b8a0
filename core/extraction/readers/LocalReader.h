#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>

namespace vesto::readers {

/// Reads files in this process, each by the reader of its route. No exception leaves it. Callable from any
/// thread.
class LocalReader : public ContentReading {
public:
    [[nodiscard]] std::expected<ContentSummary, SummarizerError>
    read(const ReadRequest& request, const SummarizerSettings& settings) override;
};

} // namespace vesto::readers
