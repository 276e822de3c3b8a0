#pragma once
#include <filesystem>

namespace vesto::readers {

/// Where a classifier of pictures can be installed; empty where the environment names no such place.
[[nodiscard]] std::filesystem::path classifierFolder();

/// Whether one is installed; whether it works only shows when it is used.
[[nodiscard]] bool hasClassifier();

} // namespace vesto::readers
