#pragma once
#include <filesystem>

namespace vesto {

/// Whether `folder` stands on a network or FUSE file system: others may change it without this kernel's
/// knowledge, and memory that programs share through its files is not to be relied on. False where the folder
/// cannot be looked at. Thread-safe; may block as long as a share does.
[[nodiscard]] bool isRemoteFolder(const std::filesystem::path& folder);

} // namespace vesto
