#pragma once
#include "core/files/FileTime.h"
#include "core/support/Json.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vesto {

class Disk;
[[nodiscard]] Disk& systemDisk();

/// What stands still while nobody writes to a file.
struct FileState {
    std::uint64_t size = 0; // bytes
    FileTime modified;

    bool operator==(const FileState&) const = default;
};

/// Which file a name stands for, across renames. Device and inode alone do not tell: file systems hand an
/// inode out again at once, so the birth time joins them where there is one. FAT, exFAT and FUSE invent inode
/// numbers; there the name and, in memory, the folder take the inode's place, until we rename the file
/// ourselves.
///
/// Four relations, since what may be relied on differs:
///  * `==`, in memory, while this machine runs;
///  * `isSameStoredFile`, for what was kept across restarts, when devices may have got other numbers;
///  * `isSameAcrossRename` and `isSameStoredAcrossRename`, between before and after a rename of our own.
/// Whether the file was written to meanwhile is a question apart: `stoodStill`.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0; // where the disk invents them, a number for the folder's real path
    std::optional<FileTime> birth;

    // Present together, and only on a disk that invents inode numbers.
    std::optional<std::string> name;   // the last path component
    std::optional<std::string> volume; // a name of the volume that outlives a restart, where it has one

    std::optional<FileState> state; // at the time of asking; no part of any equality

    /// The identity of the entry itself, never of a link's target; nothing where it cannot be examined.
    [[nodiscard]] static std::optional<FileIdentity> of(const std::filesystem::path& path,
                                                        Disk& disk = systemDisk());

    [[nodiscard]] bool inventedInode() const { return name.has_value(); }

    bool operator==(const FileIdentity& other) const;
};

/// Whether `stored`, kept perhaps before a restart, names the file that `current` names now.
[[nodiscard]] bool isSameStoredFile(const FileIdentity& stored, const FileIdentity& current);

/// Whether `after` is the file `before` once we renamed it. Where inodes are invented, size and modification
/// time take the name's place.
[[nodiscard]] bool isSameAcrossRename(const FileIdentity& before, const FileIdentity& after);

/// The same where `before` was kept across a restart.
[[nodiscard]] bool isSameStoredAcrossRename(const FileIdentity& before, const FileIdentity& after);

/// Whether size and modification time are known of both, and the same.
[[nodiscard]] bool haveSameState(const FileIdentity& left, const FileIdentity& right);

/// Whether nobody wrote to the file between the two; true where either does not tell.
[[nodiscard]] bool stoodStill(const FileIdentity& before, const FileIdentity& after);

/// The keyed record: "device", "inode", and where known "birth", "name", "volume", "size", "modified"; a time
/// is [seconds, nanoseconds].
[[nodiscard]] Json toJson(const FileIdentity& identity);

/// "device" and "inode" are required. A known key with a value of the wrong type makes the record nothing.
[[nodiscard]] std::optional<FileIdentity> fileIdentityFromJson(const Json& record);

} // namespace vesto

template <> struct std::hash<vesto::FileIdentity> {
    [[nodiscard]] std::size_t operator()(const vesto::FileIdentity& identity) const noexcept;
};
