#include "services/client/RemoteReader.h"
#include "tests/services/support/Service.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;

TEST(ReaderService, ReadsAndSurvivesItsOwnDeath) {
    RemoteReader reader(serviceSettings(VESTO_READER));
    const auto read = [&](std::string_view content) {
        const Asked asked("relevé.txt", content);
        const auto reading = reader.read(asked.request, settings());
        EXPECT_TRUE(reading);
        return reading && !reading->summary.lines.empty() ? reading->summary.lines[0] : std::string();
    };
    EXPECT_EQ(read("Bail du moulin\n"), "Bail du moulin");
    const auto first = reader.process();
    ASSERT_TRUE(first);
    ASSERT_EQ(::kill(*first, SIGKILL), 0);
    EXPECT_EQ(read("Facture d'eau\n"), "Facture d'eau");
    EXPECT_NE(reader.process(), first);
    // What is no PDF and what shows no picture.
    Asked broken("a.pdf", "%PDF-1.7 et rien d'autre", Route::pdf);
    broken.request.type = {"com.adobe.pdf"};
    EXPECT_EQ(reader.read(broken.request, settings()),
              std::unexpected(SummarizerError::unreadable(broken.request.path)));
    EXPECT_FALSE(reader.preview(broken.request));
}

TEST(ReaderService, ADescriptorThatCouldBeWrittenIsNotTaken) {
    RemoteReader reader(serviceSettings(VESTO_READER));
    std::string pattern = ::testing::TempDir() + "vesto-XXXXXX";
    const UniqueFd writable(::mkstemp(pattern.data()));
    ::unlink(pattern.c_str());
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const UniqueFd pipeOut(ends[0]);
    const UniqueFd pipeIn(ends[1]);
    const UniqueFd folder(::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Asked asked("a.txt");
    for (const int fd : {writable.get(), pipeOut.get(), folder.get()}) {
        asked.request.fd = fd;
        EXPECT_FALSE(reader.read(asked.request, settings()));
    }
    asked.request.fd = asked.file.get();
    EXPECT_TRUE(reader.read(asked.request, settings()));
}

TEST(ReaderService, AChildThatDiesCostsItsOwnFile) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE, {"--time=1"}));
    ASSERT_TRUE(reader.start());
    const auto process = reader.process();
    for (const char* name : {"crash", "partial", "always cold"}) {
        EXPECT_EQ(firstLine(reader, name), "unreadable") << name;
        EXPECT_NE(firstLine(reader, "x"), "unreadable");
    }
    for (const char* name : {"hang", "spin"}) {
        SCOPED_TRACE(name);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(firstLine(reader, name, Route::audio), "unreadable");
        EXPECT_LT(std::chrono::steady_clock::now() - start, 30s); // not the patience of the client
        EXPECT_NE(firstLine(reader, "x"), "unreadable");
    }
    EXPECT_EQ(reader.process(), process);
}

/// A child that has answered and lives on must not keep a place that others wait for.
TEST(ReaderService, AChildThatLingersIsGoneBeforeTheNext) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE, {}, 40s)); // a child may take longer
    const std::size_t places = ipc::readingsAtOnce();
    for (std::size_t i = 0; i < places; ++i)
        EXPECT_EQ(firstLine(reader, "rubbish, then spin"), "unreadable");
    EXPECT_EQ(firstLine(reader, "x"), "cold");

    RemoteReader second(serviceSettings(VESTO_JAILED_PROBE, {"--time=1"}));
    std::string answer;
    for (int tries = 0; tries < 5 && answer != "said";
         ++tries) // a busy machine may not let it answer in time
        answer = firstLine(second, "answer, then spin", Route::audio);
    EXPECT_EQ(answer, "said");
    EXPECT_EQ(firstLine(second, "x"), "cold");
}

TEST(ReaderService, RecognitionIsLoadedWhereItIsMissedAndNotBefore) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE));
    EXPECT_EQ(firstLine(reader, "x"), "cold");
    EXPECT_EQ(firstLine(reader, "cold"), "warm"); // read a second time
    EXPECT_EQ(firstLine(reader, "x"), "warm");

    RemoteReader second(serviceSettings(VESTO_JAILED_PROBE));
    const Asked picture("x", "", Route::image);
    const auto reading = second.read(picture.request, settings());
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->summary.lines, std::vector<std::string>{"warm"}); // every picture needs it
}

TEST(ReaderService, LeavesWhenNothingIsAskedAndComesBack) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE, {"--idle=2000"}));
    ASSERT_TRUE(reader.start());
    const auto first = reader.process();
    ASSERT_TRUE(first);
    const auto isChild = [&first] {
        return ::waitid(P_PID, static_cast<id_t>(*first), nullptr, WEXITED | WNOWAIT | WNOHANG) == 0;
    };
    for (int turn = 0; turn < 1200 && isChild(); ++turn)
        std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(isChild()); // not even a dead one
    EXPECT_FALSE(reader.process());
    EXPECT_EQ(firstLine(reader, "x"), "cold");
    EXPECT_NE(reader.process(), first);
}

TEST(ReaderService, LeavesWithItsApplication) {
    std::optional<pid_t> process;
    {
        RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE));
        ASSERT_TRUE(reader.start());
        process = reader.process();
    }
    EXPECT_NE(::kill(*process, 0), 0);
}

TEST(ReaderService, ManyFilesSideBySide) {
    RemoteReader reader(serviceSettings(VESTO_READER));
    std::atomic<int> right = 0;
    std::vector<std::jthread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int turn = 0; turn < 10; ++turn) {
                const std::string text = "Dossier " + std::to_string(thread * 100 + turn);
                const Asked asked("a.txt", text);
                const auto reading = reader.read(asked.request, settings());
                right += reading && reading->summary.lines == std::vector{text};
            }
        });
    threads.clear();
    EXPECT_EQ(right, 40);
}

} // namespace
} // namespace vesto::tests
