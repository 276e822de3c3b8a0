#pragma once
#include "core/extraction/readers/DocumentText.h"

#include <optional>
#include <string_view>

namespace vesto::readers {

/// The page that a web archive holds, a binary property list or one in XML. Nothing where the bytes are none,
/// or its main resource is no text. Linear time.
[[nodiscard]] std::optional<DocumentText> readWebArchive(std::string_view bytes);

} // namespace vesto::readers
