#pragma once
#include "core/extraction/readers/office/OfficeReader.h"

#include <optional>
#include <string_view>

/// The binary formats of Word, Excel and PowerPoint, as they were until 2003. Linear time, thread-safe.
namespace vesto::readers {

/// A document of Word 6 to 2003: its body without field codes, hidden and deleted text, tables of contents,
/// headers and notes; text boxes last. Nothing where the bytes are none, damaged in their head, or encrypted.
[[nodiscard]] std::optional<OfficeText> readBinaryWord(std::string_view bytes);

/// A workbook of Excel 5 to 2003: the first rows of the first sheet that is shown, then the names of all that
/// are.
[[nodiscard]] std::optional<OfficeText> readBinaryWorkbook(std::string_view bytes);

/// A presentation of PowerPoint 97 to 2003: the slides that are shown, in their order.
[[nodiscard]] std::optional<OfficeText> readBinarySlides(std::string_view bytes);

} // namespace vesto::readers
