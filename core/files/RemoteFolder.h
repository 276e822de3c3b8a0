#pragma once
#include <cstdint>
#include <filesystem>

namespace vesto {

/// Whether file systems of this kind (`f_type` of statfs) are of the network or FUSE: others may change what
/// is in them without this kernel's knowledge.
[[nodiscard]] bool isRemoteFileSystem(std::uint32_t kind);

/// Whether `folder` stands on one of them: memory that programs share through its files is not to be relied
/// on. False where the folder cannot be looked at. Thread-safe; may block as long as a share does.
[[nodiscard]] bool isRemoteFolder(const std::filesystem::path& folder);

} // namespace vesto
