#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Summarizer.h"

#include <expected>

namespace vesto::readers {

/// Reads files in this process, each by the reader of its route. No exception leaves it. Callable from any
/// thread.
class LocalReader : public ContentReading {
public:
    [[nodiscard]] std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                               const SummarizerSettings& settings) override;
    [[nodiscard]] std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override;
};

} // namespace vesto::readers
