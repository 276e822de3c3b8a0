#pragma once
#include "core/support/Time.h"

#include <optional>
#include <string>
#include <string_view>

/// What a PDF's document information dictionary says. Pure and thread-safe.
namespace vesto::readers {

/// UTF-16 as UTF-8; a lone surrogate becomes U+FFFD.
[[nodiscard]] std::string utf8OfUnits(std::u16string_view units);

/// A text string of the dictionary as Poppler hands it out: UTF-16 decoded, anything else byte by byte. Here
/// it gets its meaning: UTF-8 and little-endian UTF-16 told apart, the rest taken as PDFDocEncoding.
[[nodiscard]] std::string textOfPDFString(std::u16string_view units);

/// `title` fit for a summary: white space collapsed, at most 300 scalars. Nothing where it is empty or says
/// only which program, file or page it came from.
[[nodiscard]] std::optional<std::string> usablePDFTitle(std::string_view title);

/// The instant of "D:20250307101112+01'00'", where everything after the year may be missing; without an
/// offset it is local time. Nothing outside the years 1990 to 2100 and for a day that does not exist.
[[nodiscard]] std::optional<Instant> instantOfPDFDate(std::string_view text);

} // namespace vesto::readers
