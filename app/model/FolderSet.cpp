#include "app/model/FolderSet.h"

#include "core/files/FileName.h"
#include "core/support/Log.h"
#include "core/support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace vesto {
namespace {

std::string inQuotes(const std::filesystem::path& folder) {
    return fmt::format("« {} »", displayNameOf(folder));
}

/// Whether another folder stands where a known one stood; a disk that invents inodes does not tell.
bool isAnother(const WatchedFolder& known, const FileIdentity& current) {
    const bool isTold = known.bookmark && !(known.bookmark->inventedInode() && current.inventedInode());
    return isTold && !isSameStoredFile(*known.bookmark, current);
}

} // namespace

FolderSet::FolderSet(ModelContext& context, Listener listener)
    : m_context(context)
    , m_listener(std::move(listener)) {
    m_search.setInterval(context.given().rescanInterval);
    QObject::connect(&m_search, &QTimer::timeout, &m_search, [this] { lookForLost(); });
    QObject::connect(&context.face(), &AppModel::renamed, &m_search,
                     [this](const RenameRecord& record) { noteFreed(record); });
}

FolderSet::~FolderSet() {
    for (const auto& [id, watch] : m_watches)
        if (watch.watcher)
            watch.watcher->stop();
}

void FolderSet::load() {
    auto folders = m_context.given().store.folders();
    if (folders)
        m_folders = std::move(*folders);
    else
        m_context.fail(fmt::format("{} {}", text("SwiftData :"), folders.error().description));
}

const WatchedFolder* FolderSet::find(std::string_view id) const {
    const auto place = std::ranges::find(m_folders, id, &WatchedFolder::id);
    return place == m_folders.end() ? nullptr : &*place;
}

WatchedFolder* FolderSet::findMutable(std::string_view id) {
    const auto place = std::ranges::find(m_folders, id, &WatchedFolder::id);
    return place == m_folders.end() ? nullptr : &*place;
}

bool FolderSet::isWatching(std::string_view id) const {
    const auto place = m_watches.find(id);
    return place != m_watches.end() && place->second.watcher;
}

std::optional<FolderWatcher::Mode> FolderSet::mode(std::string_view id) const {
    const auto place = m_watches.find(id);
    if (place == m_watches.end() || !place->second.watcher)
        return std::nullopt;
    return place->second.watcher->mode();
}

std::optional<FolderTrouble> FolderSet::trouble(std::string_view id) const {
    const auto loss = m_losses.find(id);
    return loss == m_losses.end() ? std::nullopt : std::optional(loss->second.trouble);
}

void FolderSet::add(const std::filesystem::path& path, std::function<bool()> watches,
                    AppModel::FolderDone done) {
    m_context.onFiles([path, watched = m_folders,
                       &disk = m_context.given().disk] { return checkFolder(path, watched, disk); },
                      [this, path, watched = m_folders, watches = std::move(watches),
                       done = std::move(done)](const FolderCheck& check) {
                          if (watched == m_folders)
                              join(check, watches(), done);
                          else // one joined meanwhile, and may be the same by another name
                              add(path, watches, done);
                      });
}

void FolderSet::join(const FolderCheck& check, bool watches, const AppModel::FolderDone& done) {
    const auto answer = [&](const std::optional<WatchedFolder>& folder,
                            const std::vector<FolderNote>& notes) {
        if (done)
            done(folder, notes);
    };
    if (const WatchedFolder* known = find(check.knownID); known != nullptr && !known->enabled) {
        const bool isStored = setEnabled(check.knownID, true, watches);
        known = find(check.knownID); // whoever hears of it may have changed the list
        answer(isStored && known != nullptr ? std::optional(*known) : std::nullopt, {});
        return;
    }
    const auto error = std::ranges::find_if(check.notes, &FolderNote::isError);
    if (error != check.notes.end()) {
        const bool isKnown = error->kind == FolderNote::Kind::alreadyWatched;
        m_context.fail(isKnown ? error->message
                               : std::string(text("Impossible d'enregistrer l'accès au dossier : ")) +
                                     error->message);
        answer(std::nullopt, check.notes);
        return;
    }
    // A folder that stands where a lost one stood takes its place.
    const auto same = std::ranges::find(m_folders, check.path.native(), &WatchedFolder::path);
    WatchedFolder folder = same == m_folders.end() ? WatchedFolder{} : *same;
    const bool isReplaced = same != m_folders.end() && isAnother(folder, *check.identity);
    if (isReplaced)
        folder.automatic = false; // nobody said so of this one
    folder.path = check.path.native();
    folder.bookmark = check.identity;
    folder.addedAt = m_context.given().clock.now();
    folder.enabled = true;
    if (!m_context.ledger().save(folder)) {
        answer(std::nullopt, check.notes);
        return;
    }
    stop(folder.id);
    if (isReplaced)
        m_listener.replaced(folder.id);
    if (same != m_folders.end())
        m_folders.erase(same);
    m_folders.push_back(folder);
    if (watches)
        watch(folder);
    answer(folder, check.notes);
    Q_EMIT m_context.face().foldersChanged();
}

bool FolderSet::remove(std::string_view id) {
    if (!m_context.ledger().removeFolder(id))
        return false;
    stop(id);
    std::erase_if(m_folders, [&](const WatchedFolder& folder) { return folder.id == id; });
    Q_EMIT m_context.face().foldersChanged();
    return true;
}

bool FolderSet::change(WatchedFolder& folder, WatchedFolder changed) {
    const bool isStored = m_context.ledger().save(changed);
    if (isStored)
        folder = std::move(changed);
    return isStored;
}

bool FolderSet::setEnabled(std::string_view id, bool enabled, bool watches) {
    WatchedFolder* folder = findMutable(id);
    if (folder == nullptr || folder->enabled == enabled)
        return true;
    WatchedFolder changed = *folder;
    changed.enabled = enabled;
    const bool isStored = change(*folder, std::move(changed));
    if (isStored) {
        stop(folder->id);
        if (enabled && watches)
            watch(*folder);
    }
    Q_EMIT m_context.face().foldersChanged();
    return isStored;
}

bool FolderSet::setAutomatic(std::string_view id, bool automatic) {
    WatchedFolder* folder = findMutable(id);
    if (folder == nullptr)
        return true;
    WatchedFolder changed = *folder;
    changed.automatic = automatic;
    const bool isStored = change(*folder, std::move(changed));
    Q_EMIT m_context.face().foldersChanged();
    return isStored;
}

void FolderSet::startAll() {
    for (const WatchedFolder& folder : m_folders)
        if (folder.enabled && !m_watches.contains(folder.id))
            watch(folder);
}

void FolderSet::stopAll() {
    for (const WatchedFolder& folder : m_folders)
        stop(folder.id);
    Q_EMIT m_context.face().foldersChanged();
}

void FolderSet::watch(const WatchedFolder& folder) {
    const std::uint64_t serial = ++m_lastSerial;
    m_watches[folder.id] = Watch{serial, nullptr};
    m_context.onFiles(
        [folder, &disk = m_context.given().disk] { return lookAtFolder(folder, disk); },
        [this, id = folder.id, serial](const FolderLook& look) { startWatcher(id, serial, look); });
}

void FolderSet::startWatcher(const std::string& id, std::uint64_t serial, const FolderLook& look) {
    WatchedFolder* folder = findMutable(id);
    if (folder == nullptr || !isCurrent(id, serial))
        return;
    if (!look.identity) {
        m_watches.erase(id);
        tellLoss(*folder, look.trouble,
                 fmt::format("{}{}{}", text("Accès perdu à "), inQuotes(folder->path),
                             text(". Ajoutez-le à nouveau.")));
        Q_EMIT m_context.face().foldersChanged();
        return;
    }
    if (folder->bookmark != look.identity) { // its disk may have got another number
        folder->bookmark = look.identity;
        m_context.ledger().save(*folder);
    }
    log::write(log::Level::info, "surveillance de %{public}s", {folder->path});
    m_listener.back(id); // what it asks of the worker is done before the watcher reports
    m_context.onFiles(
        [settings = FolderWatcher::Settings{.url = folder->path,
                                            .catchUpSince = folder->addedAt,
                                            .rescanInterval = m_context.given().rescanInterval},
         consumer = consumer(id, serial),
         &disk = m_context.given().disk]() mutable -> std::shared_ptr<FolderWatcher> {
            removeOldProbes(settings.url, disk);
            auto watcher = std::make_shared<FolderWatcher>(std::move(settings));
            return watcher->start(std::move(consumer)) ? watcher : nullptr;
        },
        [this, id, serial](std::shared_ptr<FolderWatcher> watcher) {
            finishStart(id, serial, std::move(watcher));
        });
}

/// Letters are read on the main thread, and only while this set is there.
FolderWatcher::Consumer FolderSet::consumer(const std::string& id, std::uint64_t serial) {
    return {.found =
                [this, box = m_context.mailbox(), id, serial](std::filesystem::path path) {
                    box->post([this, id, serial, path = std::move(path)]() mutable {
                        if (isCurrent(id, serial))
                            m_listener.found(std::move(path), id);
                    });
                },
            .ended = [this, box = m_context.mailbox(), id,
                      serial] { box->post([this, id, serial] { ended(id, serial); }); }};
}

void FolderSet::finishStart(const std::string& id, std::uint64_t serial,
                            std::shared_ptr<FolderWatcher> watcher) {
    const WatchedFolder* folder = find(id);
    if (folder == nullptr || !isCurrent(id, serial)) {
        retire(std::move(watcher));
        return;
    }
    if (watcher) {
        m_watches[id].watcher = std::move(watcher);
        forgetLoss(id);
    } else {
        m_watches.erase(id);
        tellLoss(*folder, FolderTrouble::denied,
                 fmt::format("{}{}.", text("Impossible de surveiller "), inQuotes(folder->path)));
    }
    Q_EMIT m_context.face().foldersChanged();
}

void FolderSet::stop(std::string_view id) {
    forgetLoss(id);
    const auto place = m_watches.find(id);
    if (place == m_watches.end())
        return;
    auto watcher = std::move(place->second.watcher);
    m_watches.erase(place); // first, so that its end is not taken for a loss
    retire(std::move(watcher));
}

void FolderSet::retire(std::shared_ptr<FolderWatcher> watcher) {
    if (!watcher)
        return;
    watcher->stop();
    m_context.dispose(std::move(watcher)); // which waits for its thread
}

void FolderSet::ended(const std::string& id, std::uint64_t serial) {
    const WatchedFolder* folder = find(id);
    if (folder == nullptr || !isCurrent(id, serial))
        return;
    const auto place = m_watches.find(id);
    auto watcher = std::move(place->second.watcher);
    m_watches.erase(place);
    retire(std::move(watcher));
    tellLoss(*folder, FolderTrouble::missing,
             inQuotes(folder->path) + std::string(text(" a été déplacé ou supprimé : surveillance "
                                                       "arrêtée.")));
    m_listener.lost(id);
    Q_EMIT m_context.face().foldersChanged();
}

void FolderSet::lookForLost() {
    for (const WatchedFolder& folder : m_folders)
        if (folder.enabled && m_losses.contains(folder.id) && !m_watches.contains(folder.id))
            watch(folder);
}

void FolderSet::tellLoss(const WatchedFolder& folder, FolderTrouble trouble, std::string message) {
    m_search.start();
    if (const auto known = m_losses.find(folder.id); known != m_losses.end()) {
        known->second.trouble = trouble;
        return; // was said when it was lost
    }
    m_losses.emplace(folder.id, Loss{trouble, message});
    m_context.fail(std::move(message));
}

void FolderSet::forgetLoss(std::string_view id) {
    const auto loss = m_losses.find(id);
    if (loss == m_losses.end())
        return;
    if (m_context.lastError() == loss->second.message)
        m_context.setLastError(std::nullopt);
    m_losses.erase(loss);
    if (m_losses.empty())
        m_search.stop();
}

/// A name that was free only between two looks stands for another file now.
void FolderSet::noteFreed(const RenameRecord& record) {
    for (const WatchedFolder& folder : m_folders)
        if (folder.path == record.folderPath)
            reportAgain(folder.id, record.originalName, FolderWatcher::Fruitless::replaced, std::nullopt);
}

bool FolderSet::isCurrent(std::string_view id, std::uint64_t serial) const {
    const auto place = m_watches.find(id);
    return place != m_watches.end() && place->second.serial == serial;
}

bool FolderSet::reportAgain(std::string_view id, std::string_view name, FolderWatcher::Fruitless reason,
                            std::optional<FileState> seen) {
    const auto place = m_watches.find(id);
    if (place == m_watches.end() || !place->second.watcher)
        return true;
    return place->second.watcher->reportAgain(name, reason, seen);
}

} // namespace vesto
