#include "app/model/FolderCheck.h"

#include "core/files/ExclusiveRename.h"
#include "core/files/FileName.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"
#include "core/support/UniqueFd.h"
#include "core/support/Uuid.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <expected>
#include <system_error>
#include <utility>

namespace vesto {

using Kind = FolderNote::Kind;

namespace {

/// Absolute, without "." and "..", without a slash at the end; links stay.
std::filesystem::path tidied(const std::filesystem::path& path) {
    std::error_code ignored;
    auto absolute = std::filesystem::absolute(path, ignored).lexically_normal();
    if (!absolute.has_filename() && absolute.has_relative_path())
        absolute = absolute.parent_path();
    return absolute;
}

std::filesystem::path resolved(const std::filesystem::path& path) {
    std::error_code error;
    auto target = std::filesystem::canonical(path, error);
    return error ? path : target;
}

bool isInside(const std::filesystem::path& inner, const std::filesystem::path& outer) {
    const auto [end, ignored] = std::ranges::mismatch(outer, inner);
    return end == outer.end() && inner != outer;
}

void compare(FolderCheck& check, const std::vector<WatchedFolder>& watched, Disk& disk) {
    const auto real = resolved(check.path);
    for (const WatchedFolder& other : watched) {
        const auto identity = folderIdentity(other.path, disk);
        // Whatever stands where a lost folder stood is not that folder.
        const bool isThere = identity && (!other.bookmark || isSameStoredFile(*other.bookmark, *identity));
        const auto note = [&](Kind kind, std::string_view before, std::string_view after) {
            check.notes.push_back(
                {kind, fmt::format("{}« {} »{}", text(before), displayNameOf(other.path), text(after))});
        };
        if (isThere && *identity == *check.identity)
            note(Kind::alreadyWatched, "", " est déjà surveillé.");
        else if (isInside(real, resolved(other.path)))
            note(Kind::insideAnother, "Ce dossier est dans ",
                 ", déjà surveillé : chacun l'est sans ses sous-dossiers.");
        else if (isInside(resolved(other.path), real))
            note(Kind::containsAnother, "Ce dossier contient ",
                 ", déjà surveillé : chacun l'est sans ses sous-dossiers.");
    }
}

bool isRefusalOfKind(const RenameError& error) {
    const int code = error.code();
    return code == EINVAL || code == ENOSYS || code == EPERM || code == EOPNOTSUPP || code == EMLINK;
}

/// An empty file of ours, gone at the end.
class Probe {
public:
    explicit Probe(const std::filesystem::path& folder)
        : m_path(folder / fmt::format("{}{}", temporaryNamePrefix, randomUuid())) {
        if (!UniqueFd(::open(m_path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, 0600)))
            m_error = errno;
    }
    Probe(const Probe&) = delete;

    void remove(Disk& disk) const { (void)disk.unlink(m_path); }

    [[nodiscard]] int error() const { return m_error; }
    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    void movedTo(std::filesystem::path path) { m_path = std::move(path); }

private:
    std::filesystem::path m_path;
    int m_error = 0; // why there is no file
};

} // namespace

bool FolderCheck::hasError() const {
    return std::ranges::any_of(notes, &FolderNote::isError);
}

std::string displayNameOf(const std::filesystem::path& folder) {
    const std::string_view name = lastComponentOf(folder);
    return unicode::repaired(name.empty() ? std::string_view(folder.native()) : name);
}

std::optional<FileIdentity> folderIdentity(const std::filesystem::path& path, Disk& disk) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error) || error)
        return std::nullopt;
    auto identity = FileIdentity::of(resolved(path), disk);
    if (identity)
        identity->state.reset(); // of a folder it says nothing
    return identity;
}

namespace {

/// Whether a missing folder would stand on a disk that people plug in, whose own folder is missing as well.
bool isOnAbsentVolume(const std::filesystem::path& folder) {
    static const std::array<std::filesystem::path, 3> roots{"/media", "/run/media", "/mnt"};
    std::error_code error;
    std::filesystem::path there = folder;
    while (there.has_relative_path() && !std::filesystem::exists(there, error))
        there = there.parent_path();
    // Below the first two a folder of the user's name comes first.
    return std::ranges::any_of(roots, [&](const std::filesystem::path& root) {
        return there == root || (root != "/mnt" && there.parent_path() == root);
    });
}

} // namespace

FolderLook lookAtFolder(const WatchedFolder& folder, Disk& disk) {
    std::error_code error;
    const bool isFolder = std::filesystem::is_directory(folder.path, error);
    if (error == std::errc::permission_denied)
        return {.identity = std::nullopt, .trouble = FolderTrouble::denied};
    auto identity = isFolder ? folderIdentity(folder.path, disk) : std::nullopt;
    if (!identity)
        return {.identity = std::nullopt,
                .trouble =
                    isOnAbsentVolume(folder.path) ? FolderTrouble::volumeAbsent : FolderTrouble::missing};
    if (folder.bookmark && !isSameStoredFile(*folder.bookmark, *identity))
        return {.identity = std::nullopt,
                .trouble = folder.bookmark->device == identity->device ? FolderTrouble::replaced
                                                                       : FolderTrouble::volumeAbsent};
    return {.identity = std::move(identity)};
}

std::vector<FolderNote> checkDiskOf(const std::filesystem::path& folder, Disk& disk) {
    Probe probe(folder);
    if (probe.error() == EROFS || probe.error() == EACCES || probe.error() == EPERM)
        return {
            {Kind::readOnly, std::string(text("Ce dossier est en lecture seule : rien n'y sera renommé."))}};
    if (probe.error() != 0)
        return {};
    std::vector<FolderNote> notes;
    // A full disk or the like says nothing of what it can do.
    const auto marked = ProcessedMarker::write(probe.path(), ProcessedMarker::State::skipped, "", {}, disk);
    if (!marked && isRefusalOfKind(marked.error()))
        notes.push_back({Kind::noAttributes,
                         std::string(text("Ce disque ne garde pas d'attributs : Vesto retient lui-même ce "
                                          "qu'il y a traité, et d'autres ordinateurs n'en savent rien."))});
    if (const auto identity = FileIdentity::of(probe.path(), disk)) {
        const auto target = siblingOf(probe.path(), fmt::format("{}{}", temporaryNamePrefix, randomUuid()));
        const auto renamed = renameVerified(probe.path(), target, *identity, disk);
        if (renamed)
            probe.movedTo(target);
        else if (isRefusalOfKind(renamed.error()))
            notes.push_back({Kind::noSafeRename,
                             std::string(text("Ce disque ne permet pas de renommer sans risque d'écraser un "
                                              "fichier : rien n'y sera renommé."))});
    }
    probe.remove(disk);
    return notes;
}

FolderCheck checkFolder(const std::filesystem::path& path, const std::vector<WatchedFolder>& watched,
                        Disk& disk) {
    FolderCheck check{.path = tidied(path), .identity = std::nullopt, .notes = {}};
    std::error_code error;
    const auto status = std::filesystem::status(check.path, error);
    if (!std::filesystem::exists(status)) {
        check.notes.push_back({Kind::missing, std::string(text("ce dossier n'existe pas ou ne peut pas être "
                                                               "examiné."))});
        return check;
    }
    check.identity = folderIdentity(check.path, disk);
    if (!check.identity) {
        check.notes.push_back({Kind::notFolder, std::string(text("ce n'est pas un dossier."))});
        return check;
    }
    compare(check, watched, disk);
    if (!check.hasError())
        std::ranges::move(checkDiskOf(check.path, disk), std::back_inserter(check.notes));
    return check;
}

} // namespace vesto
