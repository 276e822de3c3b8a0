#pragma once
#include <string>
#include <vector>

namespace vesto::sandbox {

/// What a reader may read besides the file that it was given: folders with all below them, and single files.
/// Data for recognition, models, fonts, fontconfig and its cache, Poppler's data, language tags, character
/// sets, time zones, shared libraries. Some may be missing. Looks at the environment (HOME, XDG_*).
[[nodiscard]] std::vector<std::string> readablePaths();

} // namespace vesto::sandbox
