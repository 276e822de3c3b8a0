#include "app/model/FolderCheck.h"

#include "core/files/ExclusiveRename.h"
#include "core/files/FileName.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/Clock.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"
#include "core/support/UniqueFd.h"
#include "core/support/Uuid.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <expected>
#include <system_error>
#include <utility>

namespace vesto {

using Kind = FolderNote::Kind;

namespace {

FolderNote missing() {
    return {Kind::missing, std::string(text("ce dossier n'existe pas ou ne peut pas être examiné."))};
}

/// The folder cannot be examined: a full disk or the like says nothing of what it can do.
FolderNote untried(const RenameError& error) {
    const auto advice = adviceFor(error.code());
    return {Kind::missing, fmt::format("{} {}", text("Ce que permet ce disque n'a pas pu être essayé."),
                                       advice ? std::string(*advice) : error.message())};
}

/// Why no file could be made in a folder to try things on.
FolderNote noteOfNoProbe(int error) {
    switch (error) {
    case EROFS:
    case EACCES:
    case EPERM:
        return {Kind::readOnly,
                std::string(text("Ce dossier est en lecture seule : rien n'y sera renommé."))};
    case ENOENT:
    case ENOTDIR:
        return missing();
    default:
        return untried(RenameError::system(error));
    }
}

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
        if (isThere && *identity == *check.identity) {
            check.knownID = other.id;
            note(Kind::alreadyWatched, "", " est déjà surveillé.");
        } else if (isInside(real, resolved(other.path)))
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

constexpr std::string_view probePrefix = ".vesto-probe-";

/// An empty file of ours in a folder of ours, both gone at the end. So what a kill leaves can be told from
/// what belongs to anybody.
class Probe {
public:
    Probe(const std::filesystem::path& folder, Disk& disk)
        : m_disk(disk)
        , m_place(folder / fmt::format("{}{}", probePrefix, randomUuid())) {
        if (::mkdir(m_place.c_str(), 0700) != 0 ||
            !UniqueFd(::open(path().c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, 0600)))
            m_error = errno;
    }
    Probe(const Probe&) = delete;
    ~Probe() { remove(m_place, m_disk); }

    [[nodiscard]] int error() const { return m_error; } // why there is no file
    [[nodiscard]] std::filesystem::path path() const { return m_place / firstName; }
    [[nodiscard]] std::filesystem::path otherPath() const { return m_place / secondName; }

    /// Whatever else is there stays, and the place with it.
    static void remove(const std::filesystem::path& place, Disk& disk) {
        const UniqueFd opened(::open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
        if (!opened)
            return;
        for (const std::string& name : disk.list(place).value_or(std::vector<std::string>())) {
            struct stat status{};
            const bool isOurs =
                name == firstName || name == secondName || name.starts_with(temporaryNamePrefix);
            if (isOurs && ::fstatat(opened.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISREG(status.st_mode) && status.st_size == 0)
                ::unlinkat(opened.get(), name.c_str(), 0);
        }
        ::rmdir(place.c_str());
    }

private:
    static constexpr std::string_view firstName = "probe";
    static constexpr std::string_view secondName = "renamed";

    Disk& m_disk;
    std::filesystem::path m_place;
    int m_error = 0;
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

void removeOldProbes(const std::filesystem::path& folder, Disk& disk) {
    constexpr std::chrono::minutes longestLook{2}; // of another program that is at it
    const Instant now = systemClock().now();
    for (const std::string& name : disk.list(folder).value_or(std::vector<std::string>())) {
        if (!name.starts_with(probePrefix))
            continue;
        const auto place = folder / name;
        struct stat status{};
        if (::lstat(place.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
            Instant(std::chrono::seconds(status.st_mtim.tv_sec)) + longestLook < now)
            Probe::remove(place, disk);
    }
}

std::vector<FolderNote> checkDiskOf(const std::filesystem::path& folder, Disk& disk) {
    removeOldProbes(folder, disk);
    const Probe probe(folder, disk);
    if (probe.error() != 0)
        return {noteOfNoProbe(probe.error())};
    std::vector<FolderNote> notes;
    const auto marked = ProcessedMarker::write(probe.path(), ProcessedMarker::State::skipped, "", {}, disk);
    if (!marked)
        notes.push_back(isRefusalOfKind(marked.error())
                            ? FolderNote{Kind::noAttributes,
                                         std::string(text(
                                             "Ce disque ne garde pas d'attributs : Vesto retient lui-même ce "
                                             "qu'il y a traité, et d'autres ordinateurs n'en savent rien."))}
                            : untried(marked.error()));
    const auto identity = FileIdentity::of(probe.path(), disk);
    if (!identity)
        return {untried(RenameError::system(EIO))};
    const auto renamed = renameVerified(probe.path(), probe.otherPath(), *identity, disk);
    if (!renamed)
        notes.push_back(
            isRefusalOfKind(renamed.error())
                ? FolderNote{Kind::noSafeRename,
                             std::string(text("Ce disque ne permet pas de renommer sans risque d'écraser un "
                                              "fichier : rien n'y sera renommé."))}
                : untried(renamed.error()));
    return notes;
}

FolderCheck checkFolder(const std::filesystem::path& path, const std::vector<WatchedFolder>& watched,
                        Disk& disk) {
    FolderCheck check{.path = tidied(path), .identity = std::nullopt, .notes = {}};
    std::error_code error;
    const auto status = std::filesystem::status(check.path, error);
    if (!std::filesystem::exists(status)) {
        check.notes.push_back(missing());
        return check;
    }
    check.identity = folderIdentity(check.path, disk);
    if (!check.identity) {
        check.notes.push_back({Kind::notFolder, std::string(text("ce n'est pas un dossier."))});
        return check;
    }
    compare(check, watched, disk);
    if (check.hasError())
        return check;
    for (FolderNote& note : checkDiskOf(check.path, disk))
        if (!note.isError()) // it was there a moment ago, and may be watched though its disk is full
            check.notes.push_back(std::move(note));
    return check;
}

} // namespace vesto
