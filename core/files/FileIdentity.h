#pragma once
#include <compare>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <sys/types.h>

namespace vesto {

/// Which file a name stands for, across renames. Device and inode alone do not tell: file systems hand an inode
/// out again at once, so the birth time joins them where there is one.
///
/// See `sameFile` (in memory) and `sameStoredFile` (across a restart) for the two relations.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    // TO BE COMPLETED by the files room: birth time in nanoseconds, and what FAT and FUSE need instead of inodes.
};

} // namespace vesto
