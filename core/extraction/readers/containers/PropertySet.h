#pragma once
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/office/OfficeReader.h"
#include "core/support/Time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {

/// What a binary Office document says of itself.
struct DocumentProperties {
    std::string title; // UTF-8, as it stands there; empty for none
    std::optional<Instant> created;
    std::optional<std::int64_t> pageCount;
};

/// Reads the stream "\5SummaryInformation". What is damaged is missing. Linear time.
[[nodiscard]] DocumentProperties readPropertySet(std::string_view stream);

/// Fills title, date and page count from the file's own.
void readBinaryProperties(const CompoundFile& file, OfficeText& result);

} // namespace vesto::readers
