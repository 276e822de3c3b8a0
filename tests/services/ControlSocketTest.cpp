#include "services/client/ControlSocket.h"

#include "services/client/ControlClient.h"
#include "services/ipc/ControlFrames.h"
#include "services/ipc/Packet.h"
#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <thread>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

/// Runs `work` in a child; the child waits for a signal afterwards where `stays`.
pid_t inChild(const std::function<void()>& work, bool stays = false) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        while (stays)
            ::pause();
        ::_exit(0);
    }
    return child;
}

void kill(pid_t child) {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

/// A folder that no runtime folder is there for.
class ControlSocket : public testing::Test {
protected:
    ControlSocket() { ::unsetenv("XDG_RUNTIME_DIR"); }
    [[nodiscard]] fs::path data() const { return m_folder.path() / "vesto"; }

    TestFolder m_folder;
};

/// Answers one client after the other until it is destroyed: greets, and gives each request back twice.
class EchoEngine {
public:
    explicit EchoEngine(const fs::path& data, int protocol = ipc::controlProtocol)
        : m_lock(*EngineLock::take(data))
        , m_listener(*ControlListener::open(m_lock))
        , m_thread([this, data, protocol](const std::stop_token& stop) { serve(stop, data, protocol); }) {}

    [[nodiscard]] const fs::path& socket() const { return m_listener.path(); }

private:
    void serve(const std::stop_token& stop, const fs::path& data, int protocol) {
        while (!stop.stop_requested()) {
            UniqueFd client;
            if (ipc::waitReadable(m_listener.socket(), 20ms))
                client = m_listener.accept();
            if (!client)
                continue;
            ControlPeer peer(std::move(client), ipc::maxControlRequest);
            (void)peer.send(Json{{"protocol", protocol}, {"lock", lockToken(data)}});
            Json request;
            while (!stop.stop_requested()) {
                (void)ipc::waitReadable(peer.socket(), 20ms);
                const auto received = peer.receive(request);
                if (received == ControlPeer::Received::over)
                    break;
                if (received == ControlPeer::Received::message &&
                    !(peer.send(Json{{"line", request}}) && peer.send(Json{{"end", request}})))
                    break;
                (void)peer.flush();
            }
        }
    }

    EngineLock m_lock;
    ControlListener m_listener;
    std::jthread m_thread;
};

TEST(ControlFrames, CutAndPutTogetherWhateverTheLength) {
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{1}, ipc::controlFrameBytes - 2, ipc::controlFrameBytes - 1,
          ipc::controlFrameBytes, std::size_t{200'000}}) {
        SCOPED_TRACE(size);
        std::string message(size, 'x');
        if (size > 0)
            message.back() = 'y';
        ipc::ControlAssembler assembler(ipc::maxControlRequest);
        const auto frames = ipc::controlFrames(message);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            EXPECT_LE(frames[i].size(), ipc::controlFrameBytes);
            const bool isLast = i + 1 == frames.size();
            EXPECT_EQ(assembler.take(frames[i]),
                      isLast ? ipc::ControlAssembler::Taken::whole : ipc::ControlAssembler::Taken::piece);
        }
        EXPECT_EQ(assembler.message(), message);
    }
}

TEST(ControlFrames, RefuseWhatNobodyHonestSends) {
    using Taken = ipc::ControlAssembler::Taken;
    const std::string whole = ipc::controlFrames(std::string(100'000, 'x')).front();
    const std::vector<std::string> frames{"", "x", "\2{}", std::string(1, '\0') + "short", whole + "x"};
    for (const std::string& frame : frames)
        EXPECT_EQ(ipc::ControlAssembler(ipc::maxControlRequest).take(frame), Taken::broken);
    ipc::ControlAssembler endless(ipc::maxControlRequest);
    int pieces = 0;
    while (endless.take(whole) == Taken::piece)
        ++pieces;
    EXPECT_EQ(pieces, 8);

    for (const std::string& message :
         {std::string("[1]"), std::string("{"), std::string("\xff"), std::string(),
          R"({"a":)" + std::string(100'000, '['), R"({"a":1}{"b":2})" + std::string()})
        EXPECT_FALSE(ipc::parseControlMessage(message)) << message.substr(0, 20);
    EXPECT_TRUE(ipc::parseControlMessage(R"({"a":"[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[\"["})"));
}

TEST_F(ControlSocket, OneHolderAtATimeAndTheKernelFreesAKilledOnes) {
    const pid_t holder = inChild(
        [&] {
            static auto lock = EngineLock::take(data()); // NOLINT: held until the signal
            static auto listener = ControlListener::open(*lock);
        },
        true);
    for (int i = 0; i < 6000 && !engineNote(data()); ++i)
        std::this_thread::sleep_for(10ms);
    const auto note = engineNote(data());
    ASSERT_TRUE(note);
    EXPECT_EQ(note->pid, holder);
    EXPECT_EQ(EngineLock::take(data()).error(), EWOULDBLOCK);
    EXPECT_EQ(EngineLock::await(data(), 120ms, [](auto) { return true; }).error(), EWOULDBLOCK);
    struct stat status{};
    ASSERT_EQ(::stat(note->socket.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);

    kill(holder);
    EXPECT_TRUE(fs::exists(note->socket));
    EXPECT_EQ(ControlClient::connect(data()).error(), ControlClient::Failure::noEngine);
    const auto lock = EngineLock::take(data());
    ASSERT_TRUE(lock);
    EXPECT_EQ(lock->leftover(), note);
    EXPECT_FALSE(engineNote(data()));
    const auto listener = ControlListener::open(*lock);
    ASSERT_TRUE(listener);
    EXPECT_FALSE(fs::exists(note->socket)); // what the killed one left is gone
    EXPECT_NE(listener->path(), note->socket);
}

TEST_F(ControlSocket, ANoteCannotHaveAnythingButOurSocketsRemoved) {
    const fs::path precious = write(m_folder / "control-precious", "1");
    ASSERT_TRUE(EngineLock::take(data())->announce(precious));
    const auto lock = EngineLock::take(data());
    ASSERT_TRUE(lock && lock->leftover());
    ASSERT_TRUE(ControlListener::open(*lock));
    EXPECT_TRUE(fs::exists(precious));
}

TEST_F(ControlSocket, TwoStoresShareARuntimeFolderAndAreNeverMixedUp) {
    const fs::path runtime = m_folder.path() / "runtime";
    fs::create_directory(runtime);
    ::chmod(runtime.c_str(), 0700);
    ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    const fs::path other =
        m_folder.path() / std::string(150, 'x') / "vesto"; // no path of a socket is so long
    EchoEngine first(data());
    {
        EchoEngine second(other);
        EXPECT_EQ(first.socket().parent_path(), runtime / "vesto");
        EXPECT_NE(first.socket(), second.socket());
        EXPECT_TRUE(ControlClient::connect(other));
    }
    EXPECT_FALSE(ControlClient::connect(other));
    // A folder that others may look into is not used.
    ::chmod(runtime.c_str(), 0755);
    EchoEngine third(other);
    EXPECT_EQ(third.socket().parent_path(), other / "run");
    ASSERT_TRUE(ControlClient::connect(other));

    // A copy of a profile has the note of the other one's engine.
    const fs::path copy = m_folder.path() / "copy";
    fs::create_directory(copy);
    fs::copy_file(data() / "engine.lock", copy / "engine.lock");
    EXPECT_EQ(ControlClient::connect(copy).error(), ControlClient::Failure::noEngine);
    ::unsetenv("XDG_RUNTIME_DIR");
}

TEST_F(ControlSocket, CarriesLongMessagesBothWays) {
    EchoEngine engine(data());
    auto client = ControlClient::connect(data());
    ASSERT_TRUE(client);
    for (const std::size_t size : {std::size_t{2}, std::size_t{200'000}}) {
        const Json request{{"text", std::string(size, 'x')}};
        std::vector<Json> events;
        const auto end = client->ask(request, [&](const Json& event) {
            events.push_back(event);
            return true;
        });
        ASSERT_TRUE(end);
        EXPECT_EQ(end->at("end"), request);
        EXPECT_EQ(events, std::vector<Json>{(Json{{"line", request}})});
    }
    // Longer than any request is: the engine hangs up, and serves the next one.
    EXPECT_EQ(
        client->ask(Json{{"text", std::string(400'000, 'x')}}, [](const Json&) { return true; }).error(),
        ControlClient::Failure::lost);
    EXPECT_TRUE(ControlClient::connect(data()));
}

TEST_F(ControlSocket, SaysWhyThereIsNobodyToTalkTo) {
    EXPECT_EQ(ControlClient::connect(data()).error(), ControlClient::Failure::noEngine);
    {
        EchoEngine engine(data(), ipc::controlProtocol + 1);
        EXPECT_EQ(ControlClient::connect(data()).error(), ControlClient::Failure::otherVersion);
    }
    EXPECT_EQ(ControlClient::connect(data()).error(), ControlClient::Failure::noEngine);
    const auto lock = EngineLock::take(data());
    const auto silent = ControlListener::open(*lock);
    EXPECT_EQ(ControlClient::connect(data(), 50ms).error(), ControlClient::Failure::noAnswer);
}

TEST_F(ControlSocket, GivesUpWhoReadsNothing) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
    const UniqueFd reader(ends[1]);
    ControlPeer peer(UniqueFd{ends[0]}, ipc::maxControlRequest);
    const Json event{{"line", std::string(100'000, 'x')}};
    std::size_t sent = 0;
    while (peer.send(event) && sent < 10 * ControlPeer::maxUnsent)
        sent += 100'000;
    EXPECT_GE(sent, ControlPeer::maxUnsent - 200'000);
    EXPECT_LE(sent, ControlPeer::maxUnsent + 2'000'000);
}

TEST_F(ControlSocket, AnotherUserIsSentAway) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root, to become somebody else";
    const auto lock = EngineLock::take(data());
    const auto listener = ControlListener::open(*lock);
    ASSERT_TRUE(listener);
    // As if every folder on the way were open to all.
    for (fs::path folder = listener->path(); folder != m_folder.path().parent_path();
         folder = folder.parent_path())
        ::chmod(folder.c_str(), 0777);
    int status = 0;
    const pid_t stranger = inChild([&] {
        const bool became = ::setgid(65534) == 0 && ::setuid(65534) == 0;
        const auto connected = connectTo(listener->path());
        ::_exit(!became ? 3 : connected ? 1 : connected.error() == EPERM ? 0 : 2);
    });
    ::waitpid(stranger, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 0); // it does not trust us either
    ASSERT_TRUE(ipc::waitReadable(listener->socket(), 1s));
    EXPECT_FALSE(listener->accept());
    // Somebody of ours gets in all the same.
    const auto ours = connectTo(listener->path());
    ASSERT_TRUE(ours);
    EXPECT_TRUE(listener->accept());
}

} // namespace
} // namespace vesto::tests
