#pragma once
#include "core/support/Alarm.h"
#include "core/watch/FolderEvents.h"
#include "core/watch/FolderWatcher.h"
#include "core/watch/OpenFolder.h"
#include "core/watch/SecondReports.h"

#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace vesto {

/// One watch of a FolderWatcher, from its start to its end, with its thread. What is not said to be for any
/// thread is that thread's own.
class FolderWatch {
public:
    using Start = std::expected<void, RenameError>;

    /// `settings` must outlive the thread. `placeholders`: of the watch before.
    FolderWatch(const FolderWatcher::Settings& settings, FolderWatcher::Consumer consumer,
                std::set<std::string> placeholders);

    /// Fails where the system grants no thread. To be called once.
    [[nodiscard]] Start launch();

    // For any thread, from here on to the next heading.

    /// Waits for the first look at the folder. To be called once, after `launch`.
    [[nodiscard]] Start firstLook() { return m_looked.get(); }

    [[nodiscard]] bool isWatching() const { return m_state == State::watching; }
    [[nodiscard]] FolderWatcher::Mode mode() const { return m_mode; }
    void stop();
    void rescanNow();
    bool reportAgain(std::string_view name, FolderWatcher::Fruitless reason, std::optional<FileState> seen);

    /// Waits for the end of the thread; not to be called on it.
    void join();

    // After `join`.

    [[nodiscard]] std::set<std::string> takePlaceholders() { return std::move(m_placeholders); }

private:
    enum class State { watching, stopped, ended };
    enum class Look { done, gone };

    void run();
    [[nodiscard]] Start begin();
    void watchEvents();
    void catchUp(Instant since);

    /// One round of waiting; false where the folder is gone.
    [[nodiscard]] bool waitAndWork();
    [[nodiscard]] bool takeEvents();
    void noteEvent(FolderEvents::Kind kind, std::string_view name);
    void scanSoon();
    [[nodiscard]] Look scan();
    void compare(const std::vector<std::string>& names);
    void report(const std::string& name);

    const FolderWatcher::Settings& m_settings;
    const FolderWatcher::Consumer m_consumer;

    // For any thread.
    std::atomic<State> m_state = State::watching; // leaves `watching` once
    std::atomic<FolderWatcher::Mode> m_mode = FolderWatcher::Mode::events;
    std::atomic<bool> m_isRescanAsked = false;
    Alarm m_alarm;
    std::promise<Start> m_firstLook;
    std::future<Start> m_looked = m_firstLook.get_future();
    std::mutex m_joining; // guards the thread's handle
    std::thread m_thread;
    SecondReports m_reports; // says itself what is for whom

    std::optional<FolderEvents> m_events;
    OpenFolder::Identity m_identity;
    std::vector<std::string> m_known; // names, in order
    std::set<std::string> m_placeholders;
    std::chrono::nanoseconds m_rescanAt{}; // since boot
    std::optional<std::chrono::nanoseconds> m_scanAt;
    bool m_hasEnded = false; // the folder itself, as its events say
};

} // namespace vesto
