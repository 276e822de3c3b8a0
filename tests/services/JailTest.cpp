#include "services/sandbox/Jail.h"

#include "services/client/RemoteReader.h"
#include "services/sandbox/SystemCalls.h"
#include "tests/services/support/Escapes.h"
#include "tests/services/support/Service.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <stop_token>
#include <thread>

namespace vesto::tests {
namespace {

using namespace std::chrono_literals;

std::vector<std::string> linesOf(RemoteReader& reader, const Asked& asked) {
    const auto reading = reader.read(asked.request, settings());
    EXPECT_TRUE(reading);
    return reading ? reading->summary.lines : std::vector<std::string>{};
}

/// What `body` gives, in a process of its own: what it changes stays there.
int inAnotherProcess(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

TEST(Jail, NoWayOutLeadsAnywhere) {
    const Asked asked("escapes");
    struct stat before{};
    ASSERT_EQ(::fstat(asked.file.get(), &before), 0);
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE));
    ASSERT_EQ(reader.start(), ipc::Jail::full) << "this kernel has no Landlock: the escapes cannot be tried";
    const auto lines = linesOf(reader, asked);
    ASSERT_EQ(lines.size(), escapes().size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const Escape& escape = escapes()[i];
        ASSERT_TRUE(lines[i].starts_with(std::string(escape.name) + ' '));
        const int error = std::atoi(lines[i].c_str() + escape.name.size() + 1);
        EXPECT_TRUE(meansRefused(error)) << lines[i] << ": " << std::strerror(error);
        EXPECT_EQ(error, escape.onlyErrno == 0 ? error : escape.onlyErrno) << escape.name;
    }
    struct stat after{};
    ASSERT_EQ(::fstat(asked.file.get(), &after), 0);
    EXPECT_EQ(std::memcmp(&before.st_mtim, &after.st_mtim, sizeof before.st_mtim), 0);
    EXPECT_EQ(std::memcmp(&before.st_ctim, &after.st_ctim, sizeof before.st_ctim), 0);
    EXPECT_EQ(before.st_mode, after.st_mode);
}

TEST(Jail, NorAnyFromThatOfTheLanguageModel) {
    const sandbox::Jail jail({}, sandbox::Inmate::model);
    ASSERT_TRUE(jail.filtersCalls() && jail.restrictsPaths());
    const pid_t parent = ::getpid();
    for (const Escape& escape : escapes()) {
        const Asked asked("x");
        const int error = inAnotherProcess([&] {
            const std::array kept{asked.file.get()};
            return jail.enter({}, kept, parent) ? escape.attempt(asked.file.get()) : 254;
        });
        EXPECT_TRUE(meansRefused(error)) << escape.name << ": " << std::strerror(error);
    }
}

TEST(Jail, TheWaysOutAreOnesOutside) {
    for (const Escape& escape : escapes()) {
        if (!escape.worksOutside)
            continue;
        const Asked asked("x");
        EXPECT_EQ(inAnotherProcess([&] { return escape.attempt(asked.file.get()); }), 0) << escape.name;
    }
}

bool hasChild(pid_t process) {
    const std::string number = std::to_string(process);
    pid_t child = 0;
    return static_cast<bool>(std::ifstream("/proc/" + number + "/task/" + number + "/children") >> child);
}

TEST(Jail, OnlyTheFileAndThePipeAreOpen) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE));
    const std::vector<std::string> standard{"0", "1", "2"};
    EXPECT_EQ(linesOf(reader, Asked("descriptors")), standard);
    // Also while another file is being read.
    const std::stop_source stop;
    Asked other("hang");
    other.request.stop = stop.get_token();
    const std::jthread reading([&] { EXPECT_FALSE(reader.read(other.request, settings())); });
    for (int i = 0; i < 6000 && !hasChild(*reader.process()); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(hasChild(*reader.process()));
    EXPECT_EQ(linesOf(reader, Asked("descriptors")), standard);
    EXPECT_TRUE(hasChild(*reader.process())); // to the end
    stop.request_stop();
}

TEST(Jail, ThreadsMayBeMade) {
    RemoteReader reader(serviceSettings(VESTO_JAILED_PROBE));
    EXPECT_EQ(firstLine(reader, "thread"), "thread");
}

/// The answer to making a socket of this family where the network is refused.
int socketWithoutNetwork(int family) {
    return inAnotherProcess([&] {
        if (!sandbox::refuseNetwork())
            return 254;
        return ::socket(family, SOCK_DGRAM, 0) < 0 ? errno : 0;
    });
}

TEST(RefuseNetwork, LeavesTheSocketsOfThisMachine) {
    for (int family = 0; family < 64; ++family)
        EXPECT_EQ(socketWithoutNetwork(family), family == AF_UNIX || family == AF_NETLINK ? 0 : EACCES)
            << family;
    EXPECT_EQ(inAnotherProcess([] {
                  static_cast<void>(sandbox::refuseNetwork());
                  char parameters[120] = {};
                  return ::syscall(SYS_io_uring_setup, 1, parameters) < 0 ? errno : 0;
              }),
              ENOSYS);
    // The kernel looks at the lower half of the number alone.
    EXPECT_EQ(inAnotherProcess([] {
                  static_cast<void>(sandbox::refuseNetwork());
                  return ::syscall(SYS_socket, 0x1'0000'0002L, SOCK_DGRAM, 0) < 0 ? errno : 0;
              }),
              EACCES);
}

TEST(RefuseNetwork, BindsThreadsThatWereThereBefore) {
    EXPECT_EQ(inAnotherProcess([] {
                  int result = 255;
                  std::atomic<bool> refused = false;
                  std::jthread early([&] {
                      while (!refused)
                          std::this_thread::yield();
                      result = ::socket(AF_INET, SOCK_DGRAM, 0) < 0 ? errno : 0;
                  });
                  refused = sandbox::refuseNetwork();
                  early.join();
                  return result;
              }),
              EACCES);
}

} // namespace
} // namespace vesto::tests
