#pragma once
#include "core/support/Time.h"

#include <filesystem>
#include <optional>

namespace vesto::FileDates {

/// When the entry at `path` was made; where its file system keeps no such date, when it was last modified.
/// Nothing where it cannot be examined. Links are not followed.
[[nodiscard]] std::optional<Instant> bestDate(const std::filesystem::path& path);

} // namespace vesto::FileDates
