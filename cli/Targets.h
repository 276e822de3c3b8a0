#pragma once
#include <filesystem>
#include <vector>

namespace vesto::cli {

/// One file to work on.
struct Target {
    std::filesystem::path path;
    bool fromFolder = false; // found in a folder that was named, not named itself
};

/// A folder stands for its files, one level, hidden ones and subfolders aside, in the order of their names;
/// any other path for itself. A folder that cannot be listed is in `unreadable`.
struct Targets {
    std::vector<Target> files;
    std::vector<std::filesystem::path> empty; // folders without files
    std::vector<std::filesystem::path> unreadable;
};

[[nodiscard]] Targets targetsOf(const std::vector<std::filesystem::path>& paths);

} // namespace vesto::cli
