#pragma once
#include "app/model/WatchedFolder.h"
#include "core/files/Disk.h"
#include "core/files/FileIdentity.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

/// Something that a person should know of a folder that is to be watched.
struct FolderNote {
    enum class Kind {
        missing, // or cannot be examined
        notFolder,
        alreadyWatched,  // also by another name: a link, a bind mount
        insideAnother,   // that is watched
        containsAnother, // that is watched
        readOnly,
        noSafeRename, // the disk cannot promise that nothing is replaced
        noAttributes, // the disk keeps no marks; Vesto remembers what it did there itself
    };
    Kind kind = Kind::missing;
    std::string message; // in French

    /// Whether the folder cannot be watched at all.
    [[nodiscard]] bool isError() const {
        return kind == Kind::missing || kind == Kind::notFolder || kind == Kind::alreadyWatched;
    }
    bool operator==(const FolderNote&) const = default;
};

/// What a look at a folder tells.
struct FolderCheck {
    std::filesystem::path path;           // absolute, as it was named
    std::optional<FileIdentity> identity; // of the folder itself, links followed; nothing where there is none
    std::vector<FolderNote> notes;
    std::string knownID{}; // of the watched folder that is the same; empty where there is none

    [[nodiscard]] bool hasError() const;
};

/// Examines a folder that is to join `watched`. What its disk can do is tried on an empty file in a
/// hidden folder, which are there for a moment. Blocks while the disk does; any thread.
[[nodiscard]] FolderCheck checkFolder(const std::filesystem::path& path,
                                      const std::vector<WatchedFolder>& watched, Disk& disk = systemDisk());

/// What the disk of a folder can do, for who wants to know it of a folder that is watched already: of the
/// notes only `readOnly`, `noSafeRename`, `noAttributes`, and `missing` where it cannot be tried.
[[nodiscard]] std::vector<FolderNote> checkDiskOf(const std::filesystem::path& folder,
                                                  Disk& disk = systemDisk());

/// Takes away what a look was killed over, but for what somebody else put there. Any thread.
void removeOldProbes(const std::filesystem::path& folder, Disk& disk = systemDisk());

/// The folder at this path, links followed; nothing where there is no folder.
[[nodiscard]] std::optional<FileIdentity> folderIdentity(const std::filesystem::path& path,
                                                         Disk& disk = systemDisk());

/// Why a folder is not watched although it should be.
enum class FolderTrouble {
    missing,
    volumeAbsent, // its disk is not there
    denied,
    replaced, // another folder stands in its place
};

struct FolderLook {
    std::optional<FileIdentity> identity;           // of the folder itself; nothing where it is in trouble
    FolderTrouble trouble = FolderTrouble::missing; // where there is no identity
};
/// Looks whether a folder that is to be watched is still there. Blocks while the disk does; any thread.
[[nodiscard]] FolderLook lookAtFolder(const WatchedFolder& folder, Disk& disk = systemDisk());

/// What a folder is called in messages: its last component, repaired where it is no text.
[[nodiscard]] std::string displayNameOf(const std::filesystem::path& folder);

} // namespace vesto
