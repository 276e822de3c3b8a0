#pragma once
#include "core/files/Disk.h"
#include "core/files/ExclusiveRename.h"
#include "core/files/FileEligibility.h"
#include "core/files/FileIdentity.h"
#include "core/files/FileStabilizer.h"
#include "core/files/ProcessedMarker.h"
#include "core/files/RenameError.h"
#include "core/naming/NamingPolicy.h"
#include "core/support/Clock.h"

#include <cstddef>
#include <expected>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

/// What is done to files in watched folders, where a share can hang: on a worker thread, and stateless.
namespace vesto::FileTasks {

/// Whether a file may be touched, and which one it is.
struct Examination {
    std::optional<FileEligibility::Rejection> rejection;
    std::optional<FileIdentity> identity; // nothing where it was rejected

    [[nodiscard]] bool isFine() const { return !rejection && identity; }
};
/// `skippedToo`: a file in which an earlier pass found no title may be touched again.
[[nodiscard]] Examination examine(const std::filesystem::path& path, FileEligibility::Options options,
                                  bool skippedToo, Disk& disk);

/// A file that waits for its turn, and how it looked meanwhile.
struct EarlyLook {
    std::filesystem::path path;
    std::optional<FileStabilizer::Look> look{};
};
/// Looks at all of them; what cannot be looked at has none.
void lookAt(std::vector<EarlyLook>& files, Disk& disk, const Clock& clock);

/// A file after the wait.
struct Settled {
    FileStabilizer::Settling settling;
    Examination examination; // where it is stable
};

struct Marked {
    std::optional<FileIdentity> identity; // of the file; nothing where it is no longer there
    bool marked = false;
};
/// Marks the file unless another one has taken its place.
[[nodiscard]] Marked mark(const std::filesystem::path& path, const FileIdentity& expected,
                          ProcessedMarker::State state, Disk& disk, const Clock& clock);

/// The name that a rename would give the file now, with a number where the plain one is taken, or goes to one
/// of the `namesakes` that get theirs before it. Nothing is held: it may be taken by the time of the rename.
[[nodiscard]] std::string freeName(const std::filesystem::path& path, std::string_view baseName,
                                   const NamingPolicy& policy, std::size_t namesakes, Disk& disk);

struct Restored {
    std::filesystem::path path;
    std::optional<FileIdentity> identity; // under the old name
    bool marked = false;
    Leftover leftover = Leftover::none;
};
[[nodiscard]] std::expected<Restored, RenameError> restore(const std::filesystem::path& path,
                                                           std::string_view originalName,
                                                           const FileIdentity& expected, Disk& disk,
                                                           const Clock& clock);

/// What stands in a folder, for the analysis of what it held already.
struct Listing {
    bool isAccessible = false;
    std::vector<std::filesystem::path> eligible; // these three in ascending order of names
    std::vector<std::filesystem::path> wellNamed;
    std::vector<std::filesystem::path> noTitleBefore;
    std::size_t alreadyDone = 0;
    std::size_t notLocal = 0;
    std::size_t subfolders = 0; // visible ones
};
[[nodiscard]] Listing list(const std::filesystem::path& folder, FileEligibility::Options options, Disk& disk,
                           const std::stop_token& stop);

} // namespace vesto::FileTasks
