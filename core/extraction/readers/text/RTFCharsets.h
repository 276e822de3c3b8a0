#pragma once
#include <string>

namespace vesto::readers {

/// The charset that the number of a \fcharset names; empty for «the document's» and for unknown ones.
[[nodiscard]] std::string charsetOfFont(int number);

/// The charset of a Windows code page's number, as \ansicpg gives it.
[[nodiscard]] std::string charsetOfCodePage(int codePage);

} // namespace vesto::readers
