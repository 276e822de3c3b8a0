#include "core/files/ExclusiveRename.h"

#include "core/files/FileName.h"
#include "core/support/Uuid.h"

#include <fmt/format.h>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vesto {
namespace {

using std::filesystem::path;

std::expected<path, int> unusedTemporaryName(const path& beside, Disk& disk) {
    for (int attempt = 0; attempt < 8; ++attempt) {
        path name = siblingOf(beside, std::string(temporaryNamePrefix) + randomUuid());
        const auto status = disk.status(name);
        if (!status && status.error() == ENOENT)
            return name;
        if (!status)
            return std::unexpected(status.error());
    }
    return std::unexpected(EBUSY);
}

bool names(const path& name, const FileIdentity& file, Disk& disk) {
    const auto found = FileIdentity::of(name, disk);
    return found && isSameAcrossRename(file, *found);
}

/// For a temporary that was found to name the file that its witness names.
bool unlinkTemporary(const path& temporary, Disk& disk) {
    (void)disk.syncFolder(folderOf(temporary)); // the witness is on the disk before the other name goes
    return disk.unlink(temporary).has_value();
}

} // namespace

bool needsSecondName(const path& existing, Disk& disk) {
    const auto probe = unusedTemporaryName(existing, disk);
    const auto target = unusedTemporaryName(existing, disk);
    if (!probe || !target || !disk.link(existing, *probe))
        return false;
    const auto renamed = disk.renameExclusively(*probe, *target);
    (void)disk.unlink(renamed ? *target : *probe);
    return !renamed && (renamed.error() == EINVAL || renamed.error() == ENOSYS);
}

std::optional<std::string> putBack(const path& temporary, const path& name, Disk& disk) {
    constexpr int lastNumber = 999;
    const std::string_view fileName = lastComponentOf(name);
    const std::string_view base = baseNameOf(fileName);
    const std::string_view dottedExtension = fileName.substr(base.size());
    std::string candidate(fileName);
    for (int number = 2;; ++number) {
        const auto linked = disk.link(temporary, siblingOf(name, candidate));
        if (linked) {
            (void)disk.unlink(temporary); // else the file has a hidden name too many
            if (candidate == fileName)
                return std::nullopt;
            return candidate;
        }
        if (linked.error() == ENOENT)
            return std::nullopt; // somebody removed it
        if (linked.error() != EEXIST || number > lastNumber)
            return std::string(lastComponentOf(temporary));
        candidate = fmt::format("{} {}{}", base, number, dottedExtension);
    }
}

bool removeTemporary(const path& temporary, const path& witness, const FileIdentity& file, Disk& disk) {
    return names(temporary, file, disk) && names(witness, file, disk) && unlinkTemporary(temporary, disk);
}

// A name is first moved aside, where nobody can swap it, and looked at there.
std::expected<Leftover, RenameError> removeName(const path& name, const path& witness,
                                                const FileIdentity& file, Disk& disk) {
    const auto temporary = unusedTemporaryName(name, disk);
    if (!temporary)
        return std::unexpected(RenameError::system(temporary.error()));
    if (const auto moved = disk.moveToSecretName(name, *temporary); !moved)
        return std::unexpected(RenameError::system(moved.error()));
    if (names(*temporary, file, disk) && names(witness, file, disk)) {
        return unlinkTemporary(*temporary, disk) ? Leftover::none : Leftover::hiddenName;
    }
    RenameError error(RenameError::Case::identityMismatch);
    if (auto kept = putBack(*temporary, name, disk))
        error = error.keeping({*std::move(kept)});
    return std::unexpected(std::move(error));
}

namespace {

/// After a failure: takes back the second name `to`, given to the file that was `before` or to one that had
/// come under its old name and stands as `witness` now. It stays where it has become the only name of the
/// file, or where it cannot be removed; then the names that stay.
std::vector<std::string> withdraw(const path& to, const path& witness, const FileIdentity& before,
                                  Disk& disk) {
    const auto status = disk.status(to);
    if (!status && status.error() == ENOENT)
        return {};
    std::vector<std::string> stays{std::string(lastComponentOf(to))};
    const auto given = FileIdentity::of(to, disk);
    if (!given)
        return stays;
    if (!names(witness, *given, disk)) // the only name of ours, or a stranger's that came under `to`
        return isSameAcrossRename(before, *given) ? stays : std::vector<std::string>();
    const auto removed = removeName(to, witness, *given, disk);
    if (removed)
        return {};
    if (!removed.error().keptNames().empty())
        return removed.error().keptNames(); // of another file that had come under `to`
    return names(to, *given, disk) ? stays : std::vector<std::string>();
}

std::expected<Leftover, RenameError> renameByLink(const path& from, const path& to,
                                                  const FileIdentity& before, int firstAnswer, Disk& disk) {
    if (const auto answer = disk.link(from, to); !answer) {
        const int code = answer.error();
        const bool refusesLinks =
            code == EPERM || code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == EMLINK;
        return std::unexpected(RenameError::system(refusesLinks ? firstAnswer : code));
    }
    auto removed = removeName(from, to, before, disk);
    if (!removed) {
        std::vector<std::string> kept = removed.error().keptNames();
        const path standsAt = kept.empty() ? from : siblingOf(from, kept.front());
        for (std::string& name : withdraw(to, standsAt, before, disk))
            kept.push_back(std::move(name));
        removed = std::unexpected(removed.error().keeping(std::move(kept)));
        (void)disk.syncFolder(folderOf(to));
    }
    return removed;
}

} // namespace

std::expected<Leftover, RenameError> renameExclusively(const path& from, const path& to,
                                                       const FileIdentity& before, Disk& disk) {
    const auto renamed = disk.renameExclusively(from, to);
    if (renamed)
        return Leftover::none;
    if (renamed.error() == EINVAL || renamed.error() == ENOSYS)
        return renameByLink(from, to, before, renamed.error(), disk);
    return std::unexpected(RenameError::system(renamed.error()));
}

std::expected<VerifiedRename, RenameError> renameVerified(const path& from, const path& to,
                                                          const FileIdentity& before, Disk& disk) {
    auto renamed = renameExclusively(from, to, before, disk);
    if (!renamed)
        return std::unexpected(std::move(renamed).error());
    const auto after = FileIdentity::of(to, disk);
    if (after && isSameAcrossRename(before, *after))
        return VerifiedRename{*after, *renamed};
    RenameError mismatch(RenameError::Case::identityMismatch);
    // Where the look itself failed the file is still ours, as far as anybody knows.
    const auto back = renameExclusively(to, from, after.value_or(before), disk);
    if (!back && back.error() != RenameError::system(ENOENT)) {
        std::vector<std::string> kept = back.error().keptNames();
        if (back.error().value() == RenameError::Case::system)
            kept.emplace_back(lastComponentOf(to));
        mismatch = mismatch.keeping(std::move(kept));
    }
    (void)disk.syncFolder(folderOf(from));
    return std::unexpected(std::move(mismatch));
}

} // namespace vesto
