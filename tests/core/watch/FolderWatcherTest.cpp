#include "tests/core/watch/WatchedFolder.h"

#include <gmock/gmock.h>
#include <sched.h>

namespace vesto {
namespace {

using namespace std::chrono_literals;

/// A user without any inotify instance left, made in a process of its own.
bool leaveNoInstances() {
    return ::unshare(CLONE_NEWUSER) == 0 &&
           static_cast<bool>(std::ofstream("/proc/sys/user/max_inotify_instances") << "0" << std::flush);
}

TEST(FolderWatcher, RescansWhereTheSystemGrantsNoEvents) {
    if (!inOwnProcess(leaveNoInstances))
        GTEST_SKIP() << "the limits may not be changed here";
    const TestFolder folder;
    EXPECT_TRUE(inOwnProcess([&] {
        if (!leaveNoInstances())
            return false;
        Watched watched(folder.path(), 20ms);
        if (!watched.start() || watched.watcher.mode() != FolderWatcher::Mode::rescanLimited)
            return false;
        write(folder / "a.pdf", "x");
        if (!watched.reports.waitFor("a.pdf"))
            return false;
        std::ofstream("/proc/sys/user/max_inotify_instances") << "10" << std::flush;
        for (int tries = 0; tries < 1000; ++tries) {
            if (watched.watcher.mode() == FolderWatcher::Mode::events)
                return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }));
}

/// What may not be read for a while has not ended, and is reported afresh.
TEST(FolderWatcher, OutlivesAFolderThatMayNotBeRead) {
    const TestFolder outer;
    std::filesystem::permissions(outer.path(), std::filesystem::perms::all);
    EXPECT_TRUE(asOrdinaryUser([&] {
        const auto folder = outer / "folder";
        std::filesystem::create_directory(folder);
        write(folder / "old.pdf", "x");
        Watched watched(folder);
        if (!watched.start())
            return false;
        bool isReported = false;
        for (auto time = 600ms; time < 30s && !isReported; time *= 2) { // until there was a look at nothing
            std::filesystem::permissions(folder, std::filesystem::perms::none);
            std::this_thread::sleep_for(time);
            if (FolderWatcher({.url = folder}).start({}).error() != RenameError::system(EACCES))
                return false;
            std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
            isReported = std::ranges::count(watched.now(), "old.pdf") > 0;
        }
        return isReported && watched.reports.ends() == 0;
    }));
}

} // namespace
} // namespace vesto
