#pragma once
#include "core/extraction/readers/office/OfficeReader.h"

#include <optional>
#include <string>
#include <string_view>

namespace vesto::readers {

struct EPUBContent {
    OfficeText text;    // of the first chapters, without cover and contents
    std::string author; // may be empty
    std::string cover;  // the member that holds the picture of the cover; empty for none
};

/// An electronic book. What is encrypted is missing. Nothing where the bytes are no archive or name no book.
[[nodiscard]] std::optional<EPUBContent> readEPUB(std::string_view archive);

} // namespace vesto::readers
