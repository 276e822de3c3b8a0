#pragma once
#include <string_view>

/// What single control words of Rich Text mean.
namespace vesto::readers::rtf {

/// Whether the word begins what is not part of the running text.
[[nodiscard]] bool beginsSkipped(std::string_view word);

/// The character that the word stands for, or 0.
[[nodiscard]] char32_t scalarOfWord(std::string_view word);

[[nodiscard]] bool breaksLine(std::string_view word);

} // namespace vesto::readers::rtf
