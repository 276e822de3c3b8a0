#pragma once
#include "core/extraction/readers/DocumentText.h"

#include <string_view>

/// Readers of the formats that people write as text. Each takes valid UTF-8, is pure and thread-safe, takes
/// linear time and stops at the limits of LineCollector.
namespace vesto::readers {

[[nodiscard]] DocumentText plainText(std::string_view text);

/// Markdown without its marks: headings, emphasis, links, lists, tables, comments. The front matter gives
/// title and date.
[[nodiscard]] DocumentText markdownText(std::string_view text);

/// The strings of a JSON text in order, «key : value», or the value alone where the key says that it is a
/// name; such a one of the outermost object is the title. Also one value a line. Plain lines where it is
/// neither; `isWhole` says that the text was not cut, so that its end counts.
[[nodiscard]] DocumentText jsonText(std::string_view text, bool isWhole);

/// The first 40 rows of a table of values that commas, semicolons, tabs or bars separate; cells joined by a
/// blank.
[[nodiscard]] DocumentText delimitedText(std::string_view text);

} // namespace vesto::readers
