#include "app/model/Recovery.h"

#include "core/files/ExclusiveRename.h"
#include "core/files/FileName.h"
#include "core/naming/NamingPolicy.h"
#include "core/support/Text.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vesto::Recovery {
namespace {

using ProcessedMarker::Marker;
using ProcessedMarker::State;
using Status = RenameRecord::Status;
using std::filesystem::path;

bool isGone(int error) {
    return error == ENOENT || error == ENOTDIR;
}

struct Entry {
    std::string name;
    FileIdentity identity;
    std::uint64_t links = 1;
    FileTime changed;
};

/// Whether two names, looked at in one moment, stand for one file. Where inodes are invented, two files that
/// were copied together may have one size and one time: only what says that it has a second name has one, and
/// giving it that changed both.
bool areOneFile(const Entry& one, const Entry& other) {
    if (!one.identity.inventedInode())
        return one.identity == other.identity;
    return one.links > 1 && one.links == other.links && one.changed == other.changed &&
           isSameAcrossRename(one.identity, other.identity);
}

/// The regular files of a folder; nothing where they cannot be told.
std::optional<std::vector<Entry>> entriesOf(const path& folder, Disk& disk) {
    const auto names = disk.list(folder);
    if (!names)
        return isGone(names.error()) ? std::optional(std::vector<Entry>()) : std::nullopt;
    const bool invents = disk.inventsInodes(folder);
    std::vector<Entry> entries;
    std::optional<FileIdentity> shared; // where inodes are invented, one folder's entries differ in little
    for (const std::string& name : *names) {
        const auto status = invents ? disk.statusNow(folder / name) : disk.status(folder / name);
        if (!status && isGone(status.error()))
            continue;
        if (!status)
            return std::nullopt;
        if (!status->isRegular)
            continue;
        FileIdentity identity{.device = status->device,
                              .inode = status->inode,
                              .birth = status->birth,
                              .name = {},
                              .volume = {},
                              .state = FileState{status->size, status->modified}};
        if (invents) {
            if (!shared)
                shared = FileIdentity::of(folder / name, disk);
            if (!shared) {
                const auto again = disk.status(folder / name);
                if (!again && isGone(again.error()))
                    continue;
                return std::nullopt;
            }
            identity.inode = shared->inode;
            identity.name = name;
            identity.volume = shared->volume;
        }
        entries.push_back({name, std::move(identity), status->links, status->changed});
    }
    std::ranges::sort(entries, {}, &Entry::name);
    return entries;
}

/// The names that one row's file has in its folder.
struct Names {
    std::vector<Entry> own;         // in ascending order
    std::vector<Entry> temporaries; // those that an interrupted rename left

    [[nodiscard]] const Entry* find(std::string_view name) const {
        const auto found = std::ranges::find(own, name, &Entry::name);
        return found == own.end() ? nullptr : &*found;
    }
};

/// Settles one row, whose folder holds `entries`.
class Settling {
public:
    Settling(RenameRecord record, const std::vector<Entry>& entries, Disk& disk, const Clock& clock)
        : m_record(std::move(record))
        , m_folder(m_record.folderPath)
        , m_disk(disk)
        , m_clock(clock) {
        for (const Entry& entry : entries)
            if (isSameStoredAcrossRename(m_record.identity, entry.identity))
                (entry.name.starts_with(temporaryNamePrefix) ? m_names.temporaries : m_names.own)
                    .push_back(entry);
        if (m_record.undoing && m_names.own.empty())
            takeOldNameForTheFile(entries);
    }

    /// Nothing where the row has to wait.
    std::optional<RenameRecord> run() {
        const bool isUndo = m_record.undoing && m_record.status != Status::pending;
        const bool isSettled = isUndo ? settleUndo() : settleRename();
        if (!isSettled)
            return std::nullopt;
        m_record.undoing = false;
        for (const Entry& temporary : m_names.temporaries)
            if (!m_names.own.empty() && !removeHidden(temporary))
                m_record.undoing = true; // the next start tries again
        (void)m_disk.syncFolder(m_folder);
        return std::move(m_record);
    }

    [[nodiscard]] const std::optional<Unmarked>& unmarked() const { return m_unmarked; }

private:
    /// Where inodes are invented, a file that was written to since it was named has only its names to tell
    /// it: standing under the old one alone, it was put back.
    void takeOldNameForTheFile(const std::vector<Entry>& entries) {
        const auto named = [&](std::string_view name) {
            return std::ranges::find(entries, name, &Entry::name);
        };
        const auto old = named(m_record.originalName);
        if (old == entries.end() || !old->identity.inventedInode() || !m_record.identity.inventedInode() ||
            named(m_record.newName) != entries.end())
            return;
        FileIdentity renamed = m_record.identity;
        renamed.name = old->name;
        if (isSameStoredFile(renamed, old->identity))
            m_names.own.push_back(*old);
    }

    bool settleRename() {
        const Entry* old = m_names.find(m_record.originalName);
        const Entry* renamed = numberedForm();
        if (old != nullptr && renamed != nullptr) {
            if (!areOneFile(*old, *renamed) || !needsSecondName(m_folder / renamed->name, m_disk))
                return fail(); // another file's name, or one that the user gave it
            const Entry kept = *renamed;
            return remove(old->name, kept) && finish(kept);
        }
        if (old != nullptr)
            return fail();
        if (renamed != nullptr)
            return finish(*renamed);
        if (m_names.own.empty() && !restoreFromTemporary(m_record.originalName))
            return false;
        if (m_names.own.empty() || m_names.find(m_record.originalName) != nullptr)
            return fail();
        const Entry other = m_names.own.front();
        return finish(other);
    }

    bool settleUndo() {
        const Entry* old = m_names.find(m_record.originalName);
        const Entry* renamed = m_names.find(m_record.newName);
        if (old == nullptr) { // the undo did not take place, or somebody gave a name since
            const bool isHidden = m_names.own.empty() && !m_names.temporaries.empty();
            const bool wasDone = m_record.status == Status::done;
            if (isHidden && !restoreFromTemporary(wasDone ? m_record.newName : m_record.originalName))
                return false;
            if (isHidden && wasDone) // perhaps under a number, the name being another file's by now
                m_record.newName = m_names.own.front().name;
            return true;
        }
        if (renamed != nullptr && !areOneFile(*old, *renamed))
            return true; // the undo did not take place: the old name is another file's by now
        const Entry restored = *old;
        if (renamed != nullptr && needsSecondName(m_folder / restored.name, m_disk) &&
            !remove(renamed->name, restored))
            return false;
        m_record.status = Status::undone;
        mark(restored, State::undone);
        return true;
    }

    /// The new name as it is or with the number that a taken name gets. Where inodes are invented, the last
    /// of several: what bears the others was there before.
    [[nodiscard]] const Entry* numberedForm() const {
        constexpr std::int64_t lastNumber = 99;
        if (m_names.own.empty())
            return nullptr;
        const NamingPolicy policy;
        const std::string_view extension = extensionOf(m_record.originalName); // a rename keeps it
        std::string_view base = m_record.newName;
        if (!extension.empty())
            base = baseNameOf(base);
        const Entry* found = m_names.find(m_record.newName);
        for (std::int64_t number = 2; number <= lastNumber; ++number) {
            if (found != nullptr && !found->identity.inventedInode())
                break;
            if (const Entry* numbered = m_names.find(policy.fileName(base, extension, number)))
                found = numbered;
        }
        return found;
    }

    bool finish(const Entry& entry) {
        auto volume = std::move(m_record.identity.volume);
        m_record.newName = entry.name;
        m_record.identity = entry.identity;
        if (!m_record.identity.volume)
            m_record.identity.volume = std::move(volume);
        m_record.status = Status::done;
        mark(entry, State::renamed);
        return true;
    }

    bool fail() {
        m_record.status = Status::failed;
        m_record.errorMessage = text("Interrompu");
        return true;
    }

    /// Whether a temporary is gone that one of the file's names shows to be superfluous.
    bool removeHidden(const Entry& temporary) {
        const auto witness = std::ranges::find_if(
            m_names.own, [&](const Entry& entry) { return areOneFile(entry, temporary); });
        return witness != m_names.own.end() &&
               removeTemporary(m_folder / temporary.name, m_folder / witness->name, temporary.identity,
                               m_disk);
    }

    /// Takes a name from the file, which keeps that of `witness`; false where it could not be taken.
    bool remove(std::string name, const Entry& witness) {
        if (!removeName(m_folder / name, m_folder / witness.name, witness.identity, m_disk))
            return false;
        std::erase_if(m_names.own, [&](const Entry& entry) { return entry.name == name; });
        return true;
    }

    /// Where temporaries are all that is left of the file: one gets `name` back, or a free number of it, and
    /// is among its own names then. False where it could get none: the next run tries again.
    bool restoreFromTemporary(const std::string& name) {
        if (m_names.temporaries.empty())
            return true;
        Entry entry = m_names.temporaries.front();
        const auto other = putBack(m_folder / entry.name, m_folder / name, m_disk);
        if (other == entry.name)
            return false;
        m_names.temporaries.erase(m_names.temporaries.begin());
        entry.name = other.value_or(name);
        m_names.own.push_back(std::move(entry));
        return true;
    }

    /// Has the file say what was done to it, unless it does.
    void mark(const Entry& entry, State state) {
        const path file = m_folder / entry.name;
        const auto present = ProcessedMarker::read(file, m_disk);
        if (present && present->state == state && present->originalName == m_record.originalName)
            return;
        const Marker marker{.state = state, .originalName = m_record.originalName, .date = m_clock.now()};
        if (!ProcessedMarker::write(file, state, marker.originalName, marker.date, m_disk))
            m_unmarked = Unmarked{entry.identity, marker};
    }

    RenameRecord m_record;
    path m_folder;
    Disk& m_disk;
    const Clock& m_clock;
    Names m_names;
    std::optional<Unmarked> m_unmarked;
};

} // namespace

bool isVolumeThere(const RenameRecord& record, Disk& disk) {
    path folder = record.folderPath;
    bool isFolderThere = true;
    auto status = disk.status(folder);
    while (!status && isGone(status.error()) && folderOf(folder) != folder) {
        isFolderThere = false;
        folder = folderOf(folder);
        status = disk.status(folder);
    }
    if (!status)
        return false;
    if (record.identity.volume)
        if (const auto present = disk.volumeName(status->device))
            return *present == *record.identity.volume;
    if (status->device == record.identity.device)
        return true;
    return isFolderThere && !disk.list(folder).value_or(std::vector<std::string>()).empty();
}

Outcome settle(std::span<const RenameRecord> unsettled, Disk& disk, const Clock& clock,
               const std::function<bool(const RenameRecord&, Disk&)>& volumeIsThere) {
    Outcome outcome;
    std::map<std::string, std::vector<const RenameRecord*>> byFolder;
    for (const RenameRecord& record : unsettled)
        if (record.undoing || record.status == Status::pending)
            byFolder[record.folderPath].push_back(&record);
    for (const auto& [folder, records] : byFolder)
        for (const RenameRecord* record : records) {
            if (!volumeIsThere(*record, disk))
                continue;
            // Anew for each row: settling the one before has changed names.
            const auto entries = entriesOf(folder, disk);
            if (!entries)
                continue;
            Settling settling(*record, *entries, disk, clock);
            if (auto settled = settling.run())
                outcome.settled.push_back(*std::move(settled));
            if (settling.unmarked())
                outcome.unmarked.push_back(*settling.unmarked());
        }
    return outcome;
}

} // namespace vesto::Recovery
