#include "bench/CrowdedFolder.h"
#include "core/watch/FolderWatcher.h"

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace vesto {
namespace {

/// A watcher that lets its scans be counted: a placeholder whose name comes last is asked for in each.
class CountedWatch {
public:
    CountedWatch(const std::filesystem::path& folder, std::chrono::nanoseconds rescan)
        : m_placeholder(folder / "zz")
        , m_watcher({.url = folder, .rescanInterval = rescan, .isLocal = [this](const auto& path) {
                         if (path != m_placeholder)
                             return true;
                         ++m_scans;
                         m_scans.notify_all();
                         return false;
                     }}) {
        VESTO_ASSERT(m_watcher.start({.found = [](auto&&) {}, .ended = {}}));
        const UniqueFd made(::open(m_placeholder.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        m_watcher.rescanNow();
        waitFor(2); // the second by its event
    }
    CountedWatch(const CountedWatch&) = delete;
    ~CountedWatch() {
        std::error_code ignored;
        std::filesystem::remove(m_placeholder, ignored);
    }

    [[nodiscard]] int scans() const { return m_scans; }
    void waitFor(int count) {
        for (int seen = m_scans; seen < count; seen = m_scans)
            m_scans.wait(seen);
    }
    void scan() {
        const int before = m_scans;
        m_watcher.rescanNow();
        waitFor(before + 1);
    }

private:
    std::filesystem::path m_placeholder;
    std::atomic<int> m_scans = 0;
    FolderWatcher m_watcher; // its thread counts
};

void bareListing(benchmark::State& state) {
    const auto& folder = CrowdedFolder::shared().path;
    for (auto _ : state) {
        std::vector<std::string> names;
        DIR* stream = ::opendir(folder.c_str());
        VESTO_ASSERT(stream != nullptr);
        while (const dirent* entry = ::readdir(stream))
            names.emplace_back(entry->d_name);
        ::closedir(stream);
        std::ranges::sort(names);
        VESTO_ASSERT(names.size() >= CrowdedFolder::fileCount);
        benchmark::DoNotOptimize(names.data());
    }
}

void scan(benchmark::State& state) {
    CountedWatch watch(CrowdedFolder::shared().path, std::chrono::hours(24));
    for (auto _ : state)
        watch.scan();
}

/// Five folders of a hundred entries where nothing happens: what an hour costs, whose rescans take place in
/// two seconds here.
void idle(benchmark::State& state) {
    constexpr int folderCount = 5;
    constexpr int rescansAnHour = 120;
    std::vector<std::unique_ptr<CrowdedFolder>> folders;
    std::vector<std::unique_ptr<CountedWatch>> watches;
    for (int number = 0; number < folderCount; ++number) {
        folders.push_back(std::make_unique<CrowdedFolder>(100));
        watches.push_back(std::make_unique<CountedWatch>(folders.back()->path,
                                                         std::chrono::milliseconds(2000) / rescansAnHour));
    }
    const auto scans = [&watches] {
        int sum = 0;
        for (const auto& watch : watches)
            sum += watch->scans();
        return sum;
    };
    double seconds = 0;
    double wakeUps = 0;
    int rescans = 0;
    for (auto _ : state) {
        rusage before{};
        rusage after{};
        ::getrusage(RUSAGE_SELF, &before);
        rescans -= scans();
        std::this_thread::sleep_for(std::chrono::seconds(2));
        rescans += scans();
        ::getrusage(RUSAGE_SELF, &after);
        const auto secondsOf = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        seconds += secondsOf(after.ru_utime) - secondsOf(before.ru_utime) + secondsOf(after.ru_stime) -
                   secondsOf(before.ru_stime);
        wakeUps += static_cast<double>(after.ru_nvcsw - before.ru_nvcsw);
    }
    VESTO_ASSERT(rescans > 0);
    state.counters["cpu_s_an_hour"] = seconds / rescans * folderCount * rescansAnHour;
    state.counters["wakeups_a_rescan"] = wakeUps / rescans;
}

BENCHMARK(bareListing)->Name("watch/bareListing")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(scan)->Name("watch/scan")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(idle)->Name("watch/idle")->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace vesto
