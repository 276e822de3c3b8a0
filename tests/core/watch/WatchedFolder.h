#pragma once
#include "core/watch/FolderWatcher.h"
#include "tests/core/files/TestFolder.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vesto {

/// What a watcher reports, for a test to wait for.
class Reports {
public:
    static constexpr auto patience = std::chrono::seconds(60); // only a failing test takes that long

    [[nodiscard]] FolderWatcher::Consumer consumer() {
        return {.found =
                    [this](const std::filesystem::path& path) {
                        const std::lock_guard lock(m_mutex);
                        m_names.push_back(path.filename());
                        m_bell.notify_all();
                    },
                .ended =
                    [this] {
                        const std::lock_guard lock(m_mutex);
                        ++m_ends;
                        m_bell.notify_all();
                    }};
    }

    bool waitFor(std::size_t count) {
        std::unique_lock lock(m_mutex);
        return m_bell.wait_for(lock, patience, [&] { return m_names.size() >= count; });
    }
    bool waitFor(const std::string& name, std::ptrdiff_t times = 1) {
        std::unique_lock lock(m_mutex);
        return m_bell.wait_for(lock, patience, [&] { return std::ranges::count(m_names, name) >= times; });
    }
    bool waitForEnd() {
        std::unique_lock lock(m_mutex);
        return m_bell.wait_for(lock, patience, [&] { return m_ends > 0; });
    }

    /// Since the last call.
    std::vector<std::string> take() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_names, {});
    }
    int ends() {
        const std::lock_guard lock(m_mutex);
        return m_ends;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_bell;
    std::vector<std::string> m_names;
    int m_ends = 0;
};

/// A watched folder whose rescans come so rarely that all is owed to events, unless said otherwise.
struct Watched {
    explicit Watched(std::filesystem::path url, std::chrono::nanoseconds rescan = std::chrono::hours(24),
                     std::function<bool(const std::filesystem::path&)> isLocal = isLocalFile)
        : path(std::move(url))
        , watcher(
              {.url = path, .catchUpSince = {}, .rescanInterval = rescan, .isLocal = std::move(isLocal)}) {}

    [[nodiscard]] bool start() { return watcher.start(reports.consumer()).has_value(); }

    /// What was reported until now, by a look that began after the call.
    std::vector<std::string> now() {
        const std::string mark = "\xFF\xFF mark " + std::to_string(++m_marks); // reported after all others
        write(path / mark, "");
        EXPECT_TRUE(reports.waitFor(mark));
        auto names = reports.take();
        std::erase(names, mark);
        return names;
    }

    std::filesystem::path path;
    Reports reports;
    FolderWatcher watcher;

private:
    int m_marks = 0;
};

} // namespace vesto
