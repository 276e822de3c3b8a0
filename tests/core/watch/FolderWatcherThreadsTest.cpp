#include "core/support/Clock.h"
#include "core/support/UniqueFd.h"
#include "tests/core/watch/ShortQueue.h"
#include "tests/core/watch/WatchedFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <semaphore>

namespace vesto {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;
using Names = std::vector<std::string>;
using Fruitless = FolderWatcher::Fruitless;
using Mode = FolderWatcher::Mode;

TEST(FolderWatcherThreads, ReportsEachNewNameOnce) {
    const TestFolder folder;
    write(folder / "old.pdf", "old");
    Watched watched(folder.path());
    ASSERT_TRUE(watched.start());
    EXPECT_EQ(watched.watcher.mode(), Mode::events);
    EXPECT_EQ(watched.watcher.start({}).error(), RenameError(RenameError::Case::alreadyStarted));

    Names expected;
    for (char letter = 'j'; letter >= 'a'; --letter)
        write(folder / expected.emplace_back(std::string(1, letter) + ".pdf"), "x");
    ASSERT_TRUE(watched.reports.waitFor(expected.size()));
    EXPECT_THAT(watched.reports.take(), UnorderedElementsAreArray(expected)); // by more than one look, maybe

    // Known names, whatever happens to what they stand for.
    write(folder / "old.pdf", "rewritten");
    std::filesystem::remove(folder / "a.pdf");
    write(folder / "a.pdf", "recreated");
    EXPECT_THAT(watched.now(), IsEmpty());

    // Whatever kind of entry, whatever way it came.
    std::filesystem::rename(folder / "b.pdf", folder / "B.pdf");
    std::filesystem::create_directory(folder / "folder");
    std::filesystem::create_symlink("nowhere", folder / "link");
    std::filesystem::create_hard_link(folder / "c.pdf", folder / ".hidden");
    write(folder / "\xFF not text", "x");
    EXPECT_THAT(watched.now(), UnorderedElementsAre(".hidden", "B.pdf", "folder", "link", "\xFF not text"));
}

TEST(FolderWatcherThreads, CatchesUpByTheTimeOfCreation) {
    const TestFolder folder;
    const auto startOn = [](const std::filesystem::path& path, Instant since) {
        Reports reports;
        FolderWatcher watcher({.url = path, .catchUpSince = since});
        EXPECT_TRUE(watcher.start(reports.consumer()));
        return reports.take(); // what the first look reports comes before `start` returns
    };
    const auto setModified = [](const std::filesystem::path& path, std::time_t seconds) {
        const timespec time{.tv_sec = seconds, .tv_nsec = 0};
        const timespec times[] = {time, time};
        EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    };
    setModified(write(folder / "before.pdf", "x"), 4'000'000'000);
    std::this_thread::sleep_for(50ms);
    const Instant since = systemClock().now();
    std::this_thread::sleep_for(50ms);
    setModified(write(folder / "b.pdf", "x"), 1);
    write(folder / "a.pdf", "x");
    EXPECT_THAT(startOn(folder.path(), since), ElementsAre("a.pdf", "b.pdf"));
    EXPECT_THAT(startOn(folder.path(), Instant::min()), ElementsAre("a.pdf", "b.pdf", "before.pdf"));
    EXPECT_THAT(startOn(folder.path(), Instant::max()), IsEmpty());

    const TestMount birthless(MountKind::ramfs);
    if (!birthless.path)
        GTEST_SKIP() << "nothing may be mounted here";
    setModified(write(*birthless.path / "before.pdf", "x"), 999);
    setModified(write(*birthless.path / "since.pdf", "x"), 1000);
    EXPECT_THAT(startOn(*birthless.path, Instant(1000s)), ElementsAre("since.pdf"));
}

TEST(FolderWatcherThreads, EndsWithItsFolder) {
    struct Row {
        const char* what;
        std::chrono::nanoseconds rescan; // far away: an event has to tell
        void (*happen)(const std::filesystem::path& parent, const std::filesystem::path& folder);
        bool isThereAgain;
    };
    for (const Row& row : {
             Row{"moved", 24h,
                 [](auto&, auto& folder) { std::filesystem::rename(folder, folder.native() + " 2"); }, false},
             Row{"deleted", 24h, [](auto&, auto& folder) { std::filesystem::remove_all(folder); }, false},
             Row{"moved, another in its place", 24h,
                 [](auto&, auto& folder) {
                     std::filesystem::rename(folder, folder.native() + " 2");
                     std::filesystem::create_directory(folder);
                 },
                 true},
             Row{"moved with the one around it", 50ms,
                 [](auto& parent, auto&) { std::filesystem::rename(parent, parent.native() + " 2"); }, false},
         }) {
        SCOPED_TRACE(row.what);
        const TestFolder outer;
        const auto parent = outer / "parent";
        const auto folder = parent / "folder";
        std::filesystem::create_directories(folder);
        write(folder / "a.pdf", "x");
        Watched watched(folder, row.rescan);
        ASSERT_TRUE(watched.start());
        row.happen(parent, folder);
        ASSERT_TRUE(watched.reports.waitForEnd());
        EXPECT_THAT(watched.reports.take(), IsEmpty());
        watched.watcher.stop();
        watched.watcher.rescanNow();
        const auto again = watched.watcher.start(watched.reports.consumer());
        EXPECT_EQ(again.has_value(), row.isThereAgain);
        if (!again) {
            EXPECT_EQ(again.error(), RenameError::system(ENOENT));
        }
        EXPECT_EQ(watched.reports.ends(), 1);
    }
}

/// Nothing that is kept holds the disk, and the empty place where it was is not the folder.
TEST(FolderWatcherThreads, EndsWithItsDisk) {
    for (const bool isLazy : {false, true}) {
        SCOPED_TRACE(isLazy ? "seen by a rescan: somebody has a file open" : "told by the system");
        const TestMount disk(MountKind::smallTmpfs);
        if (!disk.path)
            GTEST_SKIP() << "nothing may be mounted here";
        Watched watched(*disk.path, isLazy ? 50ms : std::chrono::nanoseconds(24h));
        ASSERT_TRUE(watched.start());
        const auto file = write(*disk.path / "a.pdf", "x");
        ASSERT_TRUE(watched.reports.waitFor("a.pdf"));
        const UniqueFd held(isLazy ? ::open(file.c_str(), O_RDONLY | O_CLOEXEC) : -1);
        int unmounted = -1;
        for (int tries = 0; tries < 10'000 && unmounted != 0; ++tries) { // not in the middle of a look
            unmounted = ::umount2(disk.path->c_str(), isLazy ? MNT_DETACH : 0);
            std::this_thread::sleep_for(1ms);
        }
        ASSERT_EQ(unmounted, 0) << errno;
        EXPECT_TRUE(watched.reports.waitForEnd());
    }
}

TEST(FolderWatcherThreads, StartsOnlyOnAFolder) {
    const TestFolder folder;
    const auto file = write(folder / "file", "x");
    const auto errorOf = [](const std::filesystem::path& path) {
        return FolderWatcher({.url = path}).start({}).error();
    };
    EXPECT_EQ(errorOf(folder / "none"), RenameError::system(ENOENT));
    EXPECT_EQ(errorOf(file), RenameError::system(ENOTDIR));
}

TEST(FolderWatcherThreads, IsSilentOnceStopped) {
    const TestFolder folder;
    Watched watched(folder.path(), 1ms);
    watched.watcher.stop();
    ASSERT_TRUE(watched.start());
    for (int round = 0; round < 20; ++round) {
        const std::string name = std::to_string(round);
        write(folder / name, "x");
        if (round % 2 == 0) {
            ASSERT_TRUE(watched.reports.waitFor(name));
        }
        watched.watcher.stop();
        watched.watcher.stop();
        write(folder / (name + " later"), "x");
        watched.watcher.rescanNow();
        std::this_thread::sleep_for(5ms);
        // A call that ran may tell `name`.
        EXPECT_THAT(watched.reports.take(), Not(Contains(name + " later")));
        ASSERT_TRUE(watched.start());
    }
    EXPECT_EQ(watched.reports.ends(), 0);
}

TEST(FolderWatcherThreads, ReportsAPlaceholderAgainWhenItsContentCame) {
    const TestFolder folder;
    std::atomic<bool> isLocal = false;
    Watched watched(folder.path(), 24h, [&](const std::filesystem::path& path) {
        return isLocal || path.filename().native().starts_with("\xFF\xFF");
    });
    ASSERT_TRUE(watched.start());
    write(folder / "cloud.pdf", "x");
    write(folder / "brief.pdf", "x");
    EXPECT_THAT(watched.now(), ElementsAre("brief.pdf", "cloud.pdf"));
    std::filesystem::remove(folder / "brief.pdf");
    EXPECT_THAT(watched.now(), IsEmpty());
    isLocal = true;
    watched.watcher.rescanNow();
    ASSERT_TRUE(watched.reports.waitFor("cloud.pdf"));
    EXPECT_THAT(watched.now(), ElementsAre("cloud.pdf"));
    EXPECT_THAT(watched.now(), IsEmpty());
}

TEST(FolderWatcherThreads, ReportsAgainWhatGaveNothing) {
    const TestFolder folder;
    Watched watched(folder.path());
    ASSERT_TRUE(watched.start());
    const auto tell = [&](Fruitless reason) {
        const auto state = FileIdentity::of(folder / "a.pdf")->state;
        return watched.watcher.reportAgain("a.pdf", reason, state);
    };
    const auto isReported = [&] {
        return watched.reports.waitFor("a.pdf") && !watched.reports.take().empty();
    };

    // A browser makes the name, writes elsewhere, and moves that over it.
    write(folder / "a.pdf", "");
    ASSERT_TRUE(isReported());
    EXPECT_TRUE(tell(Fruitless::empty));
    EXPECT_THAT(watched.now(), IsEmpty());
    std::filesystem::rename(write(folder / "a.pdf.part", "content"), folder / "a.pdf");
    ASSERT_TRUE(isReported());

    EXPECT_TRUE(tell(Fruitless::replaced));
    ASSERT_TRUE(isReported());

    EXPECT_TRUE(tell(Fruitless::unreadable));
    write(folder / "a.pdf", "more content");
    ASSERT_TRUE(isReported());

    // Our own reading, marking and changing of modes are no reason.
    EXPECT_TRUE(tell(Fruitless::unreadable));
    EXPECT_EQ(contentOf(folder / "a.pdf"), "more content");
    EXPECT_EQ(::setxattr((folder / "a.pdf").c_str(), "user.probe", "1", 1, 0), 0);
    EXPECT_EQ(::chmod((folder / "a.pdf").c_str(), 0600), 0);
    EXPECT_THAT(watched.now(), IsEmpty());

    // Somebody keeps it open, so that nothing tells but that it stands still again.
    Watched still(folder.path(), 100ms);
    ASSERT_TRUE(still.start());
    std::ofstream writer(folder / "b.pdf");
    ASSERT_TRUE(still.reports.waitFor("b.pdf"));
    still.watcher.reportAgain("b.pdf", Fruitless::empty, FileIdentity::of(folder / "b.pdf")->state);
    writer << "content" << std::flush;
    EXPECT_TRUE(still.reports.waitFor("b.pdf", 2));
}

TEST(FolderWatcherThreads, RescansWhatMakesNoEvents) {
    const TestMount remote(MountKind::bindfs);
    if (!remote.path)
        GTEST_SKIP() << "bindfs may not be mounted here";
    Watched watched(*remote.path, 50ms);
    write(*remote.path / "old.pdf", "x");
    ASSERT_TRUE(watched.start());
    EXPECT_EQ(watched.watcher.mode(), Mode::rescanRemote);
    // On the other side of the mount.
    write(remote.path->parent_path() / "source" / "new.pdf", "x");
    EXPECT_TRUE(watched.reports.waitFor("new.pdf"));
    std::filesystem::remove(*remote.path / "old.pdf");
    EXPECT_THAT(watched.now(), ElementsAre("new.pdf"));
    EXPECT_EQ(watched.reports.ends(), 0);
}

TEST(FolderWatcherThreads, LosesNothingInAFlood) {
    constexpr int count = 10'000;
    const TestFolder folder;
    Watched watched(folder.path());
    ASSERT_TRUE(watched.start());
    std::atomic<bool> isOver = false;
    std::thread writer([&] {
        while (!isOver)
            std::ofstream(folder / "log", std::ios::app) << "line\n";
    });
    Names expected{"log"};
    for (int number = 0; number < count; ++number)
        write(folder / expected.emplace_back("file " + std::to_string(number)), "");
    EXPECT_TRUE(watched.reports.waitFor(expected.size()));
    isOver = true;
    writer.join();
    auto names = watched.now();
    std::ranges::sort(names);
    std::ranges::sort(expected);
    EXPECT_EQ(names, expected);
}

/// Events that mean nothing fill the queue while the watcher is held up; the one that counts is lost.
TEST(FolderWatcherThreads, LooksWhereEventsWereLost) {
    const TestFolder folder;
    write(folder / "old.pdf", "x");
    write(folder / "older.pdf", "x");
    std::counting_semaphore<> isHeld{0};
    std::counting_semaphore<> mayGoOn{0};
    Reports reports;
    FolderWatcher watcher({.url = folder.path(), .rescanInterval = 24h});
    auto consumer = reports.consumer();
    consumer.found = [&, found = consumer.found](const std::filesystem::path& path) {
        found(path);
        if (path.filename() != "hold.pdf")
            return;
        isHeld.release();
        mayGoOn.acquire();
    };
    {
        const ShortQueue queue;
        if (!queue.isShort)
            GTEST_SKIP() << "the length of the system's queue may not be changed here";
        ASSERT_TRUE(watcher.start(consumer));
    }
    write(folder / "hold.pdf", "x");
    isHeld.acquire();
    for (int round = 0; round < 20; ++round) // in turn, or they would be told as one
        EXPECT_EQ(::chmod((folder / (round % 2 == 0 ? "old.pdf" : "older.pdf")).c_str(), 0600), 0);
    write(folder / "new.pdf", "x");
    mayGoOn.release();
    EXPECT_TRUE(reports.waitFor("new.pdf"));
}

TEST(FolderWatcherThreads, MayBeStoppedAndDestroyedAtAnyTime) {
    const TestFolder folder;
    std::atomic<bool> isOver = false;
    std::thread writer([&] {
        for (int number = 0; !isOver; ++number) {
            write(folder / std::to_string(number % 50), "x");
            std::filesystem::remove(folder / std::to_string((number + 25) % 50));
        }
    });
    for (int round = 0; round < 100; ++round) {
        Reports reports;
        std::atomic<int> calls = 0;
        {
            FolderWatcher watcher(
                {.url = folder.path(), .catchUpSince = Instant::min(), .rescanInterval = 1ms});
            FolderWatcher::Consumer consumer = reports.consumer();
            if (round % 3 == 0)
                consumer.found = [&](const std::filesystem::path& path) {
                    ++calls;
                    watcher.reportAgain(path.filename().native(), Fruitless::replaced, std::nullopt);
                    if (round % 2 == 0)
                        watcher.stop(); // from its own thread
                };
            std::thread starter([&] { static_cast<void>(watcher.start(consumer)); });
            std::thread stopper([&] {
                watcher.rescanNow();
                watcher.stop();
                static_cast<void>(watcher.start(consumer));
            });
            starter.join();
            stopper.join();
        }
        const int before = calls;
        reports.take();
        std::this_thread::sleep_for(200us);
        EXPECT_EQ(calls, before);
        EXPECT_THAT(reports.take(), IsEmpty());
        EXPECT_EQ(reports.ends(), 0);
    }
    isOver = true;
    writer.join();
}

} // namespace
} // namespace vesto
