#include "services/client/ServiceProcess.h"

#include "services/ipc/Packet.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace vesto {
namespace {

using namespace std::string_view_literals;

constexpr int childSocket = 3; // the service's number for its end

/// What a service may know of our environment: where a user's fonts and models are, languages, the time zone.
std::vector<std::string> withOurs(std::vector<std::string> result) {
    constexpr std::array names{"HOME="sv,
                               "LANG="sv,
                               "LANGUAGE="sv,
                               "TZ="sv,
                               "XDG_DATA_HOME="sv,
                               "XDG_CONFIG_HOME="sv,
                               "XDG_CACHE_HOME="sv,
                               "XDG_DATA_DIRS="sv,
                               "LC_"sv,
#ifdef VESTO_DEBUG_SWITCHES
                               "ASAN_OPTIONS="sv,
                               "UBSAN_OPTIONS="sv,
                               "TSAN_OPTIONS="sv,
                               "VESTO_JAIL_LOG="sv
#endif
    };
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry)
        if (std::ranges::any_of(names, [&](auto name) { return std::string_view(*entry).starts_with(name); }))
            result.emplace_back(*entry);
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// The libraries of services chatter; where a test looks for what the jail refused, they may.
bool keepsStandardError() {
#ifdef VESTO_DEBUG_SWITCHES
    return ::getenv("VESTO_JAIL_LOG") != nullptr;
#else
    return false;
#endif
}

/// Starts the program with `socket` (above every number used here) as its descriptor 3 and nothing else open.
/// 0, or what the system said.
int spawn(const std::filesystem::path& program, const std::vector<std::string>& arguments,
          std::vector<std::string> environment, int socket, pid_t& pid) {
    std::vector<std::string> words{program.native()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    environment = withOurs(std::move(environment));

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (!keepsStandardError())
        ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, socket, childSocket);
    ::posix_spawn_file_actions_addclosefrom_np(&actions, childSocket + 1);

    // Signals as a new program expects them, and a session of its own: Ctrl-C in a terminal is for us.
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t all;
    sigset_t none;
    ::sigfillset(&all);
    ::sigemptyset(&none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setflags(&attributes,
                               POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);

    const int error = ::posix_spawn(&pid, program.c_str(), &actions, &attributes, pointersTo(words).data(),
                                    pointersTo(environment).data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return error;
}

} // namespace

std::filesystem::path serviceProgram(std::string_view name) {
    std::error_code error;
    const auto own = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return {}; // never a path that depends on the folder we stand in
    const std::filesystem::path folder = own.parent_path();
    const std::filesystem::path beside = folder / name;
    return ::access(beside.c_str(), X_OK) == 0 ? beside : folder.parent_path() / "libexec" / "vesto" / name;
}

std::expected<ServiceProcess, ServiceProcess::Failure>
ServiceProcess::start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                      std::vector<std::string> environment) {
    if (!program.is_absolute())
        return std::unexpected(Failure::programMissing);
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return std::unexpected(Failure::notStarted);
    UniqueFd ours(ends[0]);
    UniqueFd theirs(ends[1]);
    theirs.reset(::fcntl(theirs.get(), F_DUPFD_CLOEXEC, 10));
    if (!theirs)
        return std::unexpected(Failure::notStarted);

    pid_t pid = 0;
    if (const int error = spawn(program, arguments, std::move(environment), theirs.get(), pid); error != 0)
        return std::unexpected(error == ENOENT ? Failure::programMissing : Failure::notStarted);
    // Not reaped yet, so the number is still that process's.
    UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)));
    if (!process) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
        return std::unexpected(Failure::notStarted);
    }
    // A copy of their end would hide that the service is gone: it is closed here.
    return ServiceProcess(std::move(ours), std::move(process), pid);
}

ServiceProcess::~ServiceProcess() {
    if (!m_process)
        return; // moved from
    // It has nothing to save, and its children die with it.
    ::syscall(SYS_pidfd_send_signal, m_process.get(), SIGKILL, nullptr, 0U);
    siginfo_t end{};
    while (::waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &end, WEXITED) != 0 && errno == EINTR) {
    }
}

bool ServiceProcess::isGone(std::chrono::milliseconds timeout) const {
    pollfd entry{m_socket.get(), 0, 0};
    int ready = 0;
    do
        ready = ::poll(&entry, 1, static_cast<int>(timeout.count()));
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

std::optional<ServiceProcess::End> ServiceProcess::end() const {
    siginfo_t end{};
    if (!ipc::waitReadable(m_process.get(), std::chrono::seconds(1)) ||
        ::waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &end, WEXITED | WNOHANG | WNOWAIT) != 0)
        return std::nullopt;
    if (end.si_code == CLD_EXITED)
        return end.si_status == 0 ? End::left : End::failed;
    constexpr std::array crashes{SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP};
    return std::ranges::find(crashes, end.si_status) == crashes.end() ? End::killed : End::failed;
}

} // namespace vesto
