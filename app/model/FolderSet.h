#pragma once
#include "app/model/FolderCheck.h"
#include "app/model/ModelContext.h"
#include "app/model/RenameRecord.h"
#include "app/model/WatchedFolder.h"

#include <QTimer>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// The folders that the user chose and the watchers of those that are watched. One that was lost is looked
/// for until it is back. Main thread.
class FolderSet {
public:
    /// What others want to hear.
    struct Listener {
        std::function<void(std::filesystem::path, const std::string& folderID)> found;
        std::function<void(const std::string& folderID)> lost; // it ended by itself
        std::function<void(const std::string& folderID)>
            back; // is there, and is about to be watched, perhaps again
        std::function<void(const std::string& folderID)> replaced; // another one stands there, and was added
    };

    FolderSet(ModelContext& context, Listener listener);
    ~FolderSet();
    FolderSet(const FolderSet&) = delete;

    /// Reads the folders from the store.
    void load();
    [[nodiscard]] const std::vector<WatchedFolder>& all() const { return m_folders; }
    [[nodiscard]] const WatchedFolder* find(std::string_view id) const;
    [[nodiscard]] bool isWatching(std::string_view id) const;
    [[nodiscard]] std::optional<FolderWatcher::Mode> mode(std::string_view id) const;
    [[nodiscard]] std::optional<FolderTrouble> trouble(std::string_view id) const;

    // What cannot be stored does not happen, and the user is told; false then.

    /// `watches`: whether folders are being watched now, asked when the folder joins.
    void add(const std::filesystem::path& path, std::function<bool()> watches, AppModel::FolderDone done);
    bool remove(std::string_view id);
    bool setEnabled(std::string_view id, bool enabled, bool watches);
    bool setAutomatic(std::string_view id, bool automatic);

    void startAll();
    void stopAll();

    /// As the watcher does; true also where the folder is no longer watched.
    bool reportAgain(std::string_view id, std::string_view name, FolderWatcher::Fruitless reason,
                     std::optional<FileState> seen);

private:
    struct Watch {
        std::uint64_t serial = 0; // tells the letters of this watch from those of an earlier one
        std::shared_ptr<FolderWatcher> watcher; // null while it starts
    };
    struct Loss {
        FolderTrouble trouble = FolderTrouble::missing;
        std::string message; // that the user was told
    };
    [[nodiscard]] WatchedFolder* findMutable(std::string_view id);
    /// Changes a folder, unless that cannot be stored.
    bool change(WatchedFolder& folder, WatchedFolder changed);
    void join(const FolderCheck& check, bool watches, const AppModel::FolderDone& done);
    void watch(const WatchedFolder& folder);
    void startWatcher(const std::string& id, std::uint64_t serial, const FolderLook& look);
    [[nodiscard]] FolderWatcher::Consumer consumer(const std::string& id, std::uint64_t serial);
    /// `watcher` is null where it could not start.
    void finishStart(const std::string& id, std::uint64_t serial, std::shared_ptr<FolderWatcher> watcher);
    void stop(std::string_view id);
    void retire(std::shared_ptr<FolderWatcher> watcher);
    void ended(const std::string& id, std::uint64_t serial);
    void lookForLost();
    void noteFreed(const RenameRecord& record);
    void tellLoss(const WatchedFolder& folder, FolderTrouble trouble, std::string message);
    void forgetLoss(std::string_view id);
    [[nodiscard]] bool isCurrent(std::string_view id, std::uint64_t serial) const;

    ModelContext& m_context;
    Listener m_listener;
    std::vector<WatchedFolder> m_folders;
    std::map<std::string, Watch, std::less<>> m_watches; // by folder
    std::map<std::string, Loss, std::less<>> m_losses;   // lost folders
    std::uint64_t m_lastSerial = 0;
    QTimer m_search; // runs while a folder is lost
};

} // namespace vesto
