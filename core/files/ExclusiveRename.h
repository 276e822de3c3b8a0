#pragma once
#include "core/files/Disk.h"
#include "core/files/FileIdentity.h"
#include "core/files/RenameError.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// How the name begins under which a file is moved aside for an instant where the disk knows no exclusive
/// rename; it is hidden, and stands beside the file. One that outlives a crash is a second name of the
/// renamed file, or its only one.
inline constexpr std::string_view temporaryNamePrefix = ".vesto-rename-";

/// What a rename that took place may leave behind.
enum class Leftover {
    none,
    hiddenName, // the file's temporary name could not be removed
};

/// Renames `from`, which was the file `before`, to `to` in the same folder, and never replaces anything. To
/// sync the folder after a success is left to the caller, who first marks the file: a process that is killed
/// waiting for the disk must not leave a new name without the mark that tells the old one.
///
/// Where the file system cannot promise not to replace, the file gets `to` as a second name and loses `from`
/// under a guard: whoever saves a new file as `from` meanwhile keeps it. Where second names are refused too,
/// the rename fails with what the file system answered first.
///
/// Fails with `system` (EEXIST where `to` is taken, ENOENT where `from` is gone) or `identityMismatch`; then
/// everything stands where it was, but for the error's `keptNames`.
[[nodiscard]] std::expected<Leftover, RenameError> renameExclusively(const std::filesystem::path& from,
                                                                     const std::filesystem::path& to,
                                                                     const FileIdentity& before, Disk& disk);

// What is left to do where that was interrupted. None of these takes the last name from a file; `file` is its
// identity as it is now.

/// Whether the disk of `existing` needs the second name: asked by means of another name of it, which is gone
/// in the end. No where it cannot be found out.
[[nodiscard]] bool needsSecondName(const std::filesystem::path& existing, Disk& disk);

/// Takes the name `name` from `file`, which `witness` names as well. Fails with `system`, or with
/// `identityMismatch` where one of the names is another file's; then that one keeps its name.
[[nodiscard]] std::expected<Leftover, RenameError> removeName(const std::filesystem::path& name,
                                                              const std::filesystem::path& witness,
                                                              const FileIdentity& file, Disk& disk);

/// The same for a name that begins with `temporaryNamePrefix`. Whether it is gone.
[[nodiscard]] bool removeTemporary(const std::filesystem::path& temporary,
                                   const std::filesystem::path& witness, const FileIdentity& file,
                                   Disk& disk);

/// Gives what stands under `temporary` the name `name`, or the next free number of it: the name that it has
/// in the end where that is another one, which may still be the temporary's. Nothing as well where it is
/// gone.
[[nodiscard]] std::optional<std::string> putBack(const std::filesystem::path& temporary,
                                                 const std::filesystem::path& name, Disk& disk);

struct VerifiedRename {
    FileIdentity identity; // under the new name
    Leftover leftover = Leftover::none;
};

/// A rename that ends with a look at the file under its new name: it must be `before` still, else it is
/// renamed back and the error is `identityMismatch`.
[[nodiscard]] std::expected<VerifiedRename, RenameError> renameVerified(const std::filesystem::path& from,
                                                                        const std::filesystem::path& to,
                                                                        const FileIdentity& before,
                                                                        Disk& disk);

} // namespace vesto
