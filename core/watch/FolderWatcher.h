#pragma once
#include "core/files/FileIdentity.h"
#include "core/files/RenameError.h"
#include "core/support/Time.h"

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace vesto {

/// Whether a file's content is on this machine; false only for a placeholder whose content is still to be
/// fetched, which no file system in use here shows.
[[nodiscard]] bool isLocalFile(const std::filesystem::path& path);

/// Reports the files that show up in one folder, not in its subfolders, by their names alone. It judges none
/// of them. One thread of its own holds all its state; every call here is thread-safe. Keeps nothing of the
/// folder open.
class FolderWatcher {
public:
    struct Settings {
        std::filesystem::path url; // of the folder
        /// Entries made at or after it are reported at the start.
        std::optional<Instant> catchUpSince = std::nullopt;
        std::chrono::nanoseconds rescanInterval = std::chrono::seconds(30);
        std::function<bool(const std::filesystem::path&)> isLocal = isLocalFile;
    };

    /// Called on the watcher's thread, one after the other; they must not block.
    struct Consumer {
        std::function<void(std::filesystem::path)> found; // in ascending order of names within one look
        /// The last call: the folder is gone, moved, unmounted. Not called where `stop` ended the watch.
        std::function<void()> ended;
    };

    /// How changes are learnt.
    enum class Mode {
        events,        // and the rescan beside them
        rescanRemote,  // a network or FUSE folder, which tells of no change of others
        rescanLimited, // the system grants no more watches (fs.inotify.max_user_watches or …_instances)
    };

    /// Opens and lists nothing yet.
    explicit FolderWatcher(Settings settings);
    /// As `stop`, and waits for the thread. Not to be called on it.
    ~FolderWatcher();
    FolderWatcher(const FolderWatcher&) = delete;
    FolderWatcher& operator=(const FolderWatcher&) = delete;

    /// After the first look at the folder; what that reports may come before this returns. Fails with
    /// `alreadyStarted` while it watches, and with `system` where the folder cannot be opened. A watch that
    /// has ended may be started again, by another thread than its own.
    [[nodiscard]] std::expected<void, RenameError> start(Consumer consumer);

    /// Harmless when repeated. Nothing is reported once it has returned, but for a call that is running.
    void stop();

    /// Looks at the folder soon.
    void rescanNow();

    /// Why the job of a reported file ended without an outcome.
    enum class Fruitless {
        replaced,   // another file stands under the name now, or may soon: it is reported again at once or,
                    // where there was none to be seen, at the next look
        restless,   // never quiet: reported again when it was closed at last or has stood still
        empty,      // when it was closed, or has changed and then stood still
        unreadable, // likewise
        changed,    // while it was read: likewise
        held,       // an office program has it open: reported again when it has not, however often
    };

    /// `name`, reported before, gave nothing; `seen`: its size and time as they were seen then. It is
    /// reported once more when there is reason to hope, five times in vain at most. False: that was the last
    /// time.
    bool reportAgain(std::string_view name, Fruitless reason, std::optional<FileState> seen);

    [[nodiscard]] Mode mode() const;

private:
    class Impl;
    std::shared_ptr<Impl> m_impl;
};

} // namespace vesto
