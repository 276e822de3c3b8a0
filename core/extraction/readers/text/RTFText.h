#pragma once
#include "core/extraction/readers/DocumentText.h"

#include <optional>
#include <string_view>

namespace vesto::readers {

/// The body of a Rich Text document, with its title and date of creation: no headers, footers, notes,
/// pictures, hidden or deleted text. Nothing where the bytes are no RTF; one that ends early gives what it
/// has. Pure, thread-safe, linear time.
[[nodiscard]] std::optional<DocumentText> readRTF(std::string_view bytes);

} // namespace vesto::readers
