#include "services/client/RemoteReader.h"

#include "tests/services/support/Service.h"

#include <dirent.h>
#include <signal.h>

#include <atomic>
#include <stop_token>
#include <thread>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;

int openDescriptors() {
    int count = 0;
    DIR* folder = ::opendir("/proc/self/fd");
    while (::readdir(folder) != nullptr)
        ++count;
    ::closedir(folder);
    return count;
}

/// Zombies and running children of this process.
int childProcesses() {
    int count = 0;
    siginfo_t info{};
    while (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG) == 0)
        ++count;
    return count;
}

TEST(RemoteReader, NothingThatAServiceSaysIsMoreThanUnreadable) {
    const int before = openDescriptors();
    {
        auto impatientForSounds = serviceSettings(VESTO_HOSTILE_SERVICE);
        impatientForSounds.patience = [](Route route) { return route == Route::audio ? 1500ms : 60'000ms; };
        RemoteReader reader(std::move(impatientForSounds));
        ASSERT_EQ(reader.start(), ipc::Jail::reduced);
        const auto process = reader.process();
        for (const char* name : {"garbage", "truncated", "trailing", "twice", "enormous", "flood", "stages",
                                 "closes", "preview"}) {
            SCOPED_TRACE(name);
            EXPECT_EQ(firstLine(reader, name), "unreadable");
            EXPECT_EQ(firstLine(reader, "lu"), "lu");
        }
        EXPECT_EQ(firstLine(reader, "silent", Route::audio), "unreadable");
        EXPECT_EQ(firstLine(reader, "lu"), "lu");
        EXPECT_EQ(reader.process(), process); // it was never restarted for that
        const Asked asked("lu");
        EXPECT_FALSE(reader.preview(asked.request)); // a reading is no preview
        const Asked picture("preview");
        EXPECT_TRUE(reader.preview(picture.request));
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(childProcesses(), 0);
}

TEST(RemoteReader, GivesUpAtOnceWhereNobodyWantsTheAnswer) {
    RemoteReader reader(serviceSettings(VESTO_HOSTILE_SERVICE));
    EXPECT_EQ(firstLine(reader, "lu"), "lu");
    const auto process = reader.process();
    std::stop_source stop;
    Asked asked("silent");
    asked.request.stop = stop.get_token();
    const std::jthread impatient([&] {
        std::this_thread::sleep_for(50ms);
        stop.request_stop();
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(reader.read(asked.request, settings()));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s); // its own patience is twice that
    EXPECT_EQ(firstLine(reader, "lu"), "lu");
    EXPECT_EQ(reader.process(), process);
}

TEST(RemoteReader, AServiceThatDiesIsStartedAgain) {
    const int before = openDescriptors();
    {
        RemoteReader reader(serviceSettings(VESTO_HOSTILE_SERVICE));
        EXPECT_EQ(firstLine(reader, "lu"), "lu");
        const auto first = reader.process();
        ASSERT_TRUE(first);
        ASSERT_EQ(::kill(*first, SIGKILL), 0);
        EXPECT_EQ(firstLine(reader, "lu"), "lu");
        EXPECT_NE(reader.process(), first);

        // A file that kills it each time is given up; one with which it only left is not at fault.
        for (const char* name : {"dies", "leaves"}) {
            EXPECT_EQ(firstLine(reader, name), "unreadable");
            EXPECT_EQ(firstLine(reader, "lu"), "lu");
        }
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(childProcesses(), 0);
}

TEST(RemoteReader, SaysWhyTheServiceDoesNotRun) {
    struct Row {
        std::string program;
        std::string mode;
        ReaderStartFailure failure;
    };
    const std::vector<Row> rows{
        {"/nowhere/vesto-reader", "", ReaderStartFailure::programMissing},
        {"/dev/null", "", ReaderStartFailure::notStarted},
        {VESTO_HOSTILE_SERVICE, "exits", ReaderStartFailure::noAnswer},
        {VESTO_HOSTILE_SERVICE, "garbage", ReaderStartFailure::noAnswer},
        {VESTO_HOSTILE_SERVICE, "longGreeting", ReaderStartFailure::noAnswer},
        {VESTO_HOSTILE_SERVICE, "none", ReaderStartFailure::noSeccomp},
    };
    const int before = openDescriptors();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.program + " " + row.mode);
        RemoteReader reader(serviceSettings(row.program, {row.mode}));
        EXPECT_EQ(reader.start(), std::unexpected(row.failure));
        EXPECT_EQ(firstLine(reader, "lu"), "unreadable");
        EXPECT_FALSE(messageOf(row.failure).empty());
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(childProcesses(), 0);
}

TEST(RemoteReaderThreads, ManyReadAtOnceWhileTheServiceDies) {
    RemoteReader reader(serviceSettings(VESTO_HOSTILE_SERVICE));
    std::atomic<int> read = 0;
    std::atomic<int> unreadable = 0;
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int turn = 0; turn < 12; ++turn) {
                const bool kills = thread == 0 && turn % 6 == 5;
                const std::string result = firstLine(reader, kills           ? "dies"
                                                             : turn % 2 == 0 ? "lu"
                                                                             : "garbage");
                ++(result == "lu" ? read : unreadable);
            }
        });
    threads.clear();
    EXPECT_EQ(read + unreadable, 48);
    EXPECT_GT(read, 0);
    EXPECT_EQ(firstLine(reader, "lu"), "lu");
}

} // namespace
} // namespace vesto::tests
