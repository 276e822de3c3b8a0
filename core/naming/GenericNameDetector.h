#pragma once
#include <string>
#include <string_view>

/// Whether a file's name says nothing about what is inside. Pure and thread-safe, linear time.
namespace vesto::GenericNameDetector {

/// Composed, lower case, straight apostrophes, plain spaces, trimmed; accents stay.
[[nodiscard]] std::string normalize(std::string_view name);

/// Whether a screenshot or a screen recording was named so by the machine that made it.
[[nodiscard]] bool isScreenshotName(std::string_view name);

/// `baseName` is a file name without its extension.
[[nodiscard]] bool isGeneric(std::string_view baseName);

} // namespace vesto::GenericNameDetector
