#pragma once
#include "core/extraction/readers/office/OfficeReader.h"

#include <optional>
#include <string_view>

namespace vesto::readers {

enum class IWorkFormat { keynote, numbers, pages };

/// A document of Keynote, Numbers or Pages, saved as one file. Nothing where the bytes are no archive; one
/// whose content is of a version that is not understood gives no lines.
[[nodiscard]] std::optional<OfficeText> readIWork(std::string_view archive, IWorkFormat format);

} // namespace vesto::readers
