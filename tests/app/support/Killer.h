#pragma once
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// Runs a piece of this program as a process of its own and kills it before one of the system calls by which
/// it changes a disk. Not to be used beside threads or other children of this process.
namespace vesto::killer {

/// The calls that may change what is on a disk. `openat` only where it may make or cut a file.
inline constexpr auto watchedCalls = std::to_array<unsigned>({
    SYS_write,     SYS_pwrite64,  SYS_writev,    SYS_pwritev,  SYS_ftruncate, SYS_fallocate, SYS_fsync,
    SYS_fdatasync, SYS_renameat,  SYS_renameat2, SYS_linkat,   SYS_unlinkat,  SYS_mkdirat,   SYS_setxattr,
    SYS_lsetxattr, SYS_fsetxattr, SYS_fchmod,    SYS_fchmodat, SYS_openat,
#ifdef SYS_open // not on every processor
    SYS_open,      SYS_rename,    SYS_link,      SYS_unlink,   SYS_mkdir,     SYS_chmod,
#endif
});

struct End {
    bool isForbidden = false; // this machine lets no process be traced
    bool wasKilled = false;   // else it ended by itself
    int status = -1;          // what it returned then; 128 and the signal where it died
    int calls = 0;            // that change a disk, until its end
};

/// Stops at the calls above. 0, or the system's error number.
inline int watchCalls() {
    std::vector<sock_filter> filter;
    const auto add = [&](unsigned code, unsigned value, unsigned yes, unsigned no) {
        filter.push_back({static_cast<__u16>(code), static_cast<__u8>(yes), static_cast<__u8>(no), value});
    };
    add(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr), 0, 0);
    for (std::size_t index = 0; index < watchedCalls.size(); ++index)
        add(BPF_JMP | BPF_JEQ | BPF_K, watchedCalls[index],
            static_cast<unsigned>(watchedCalls.size() - index), 0);
    add(BPF_RET | BPF_K, SECCOMP_RET_ALLOW, 0, 0);
    add(BPF_RET | BPF_K, SECCOMP_RET_TRACE, 0, 0);
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return errno;
    return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0 ? 0 : errno;
}

/// Whether the call at which `thread` stands can change a file.
inline bool changesDisk(pid_t thread) {
    __ptrace_syscall_info info{};
    if (::ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof info, &info) <= 0)
        return true;
    constexpr auto making = static_cast<unsigned>(O_CREAT | O_TRUNC);
    switch (info.seccomp.nr) {
    case SYS_openat:
        return (info.seccomp.args[2] & making) != 0;
#ifdef SYS_open
    case SYS_open:
        return (info.seccomp.args[1] & making) != 0;
#endif
    case SYS_write:
    case SYS_writev: {
        if (info.seccomp.args[0] <= STDERR_FILENO)
            return false;
        std::array<char, PATH_MAX> target{}; // pipes and bells have no path
        const std::string link =
            "/proc/" + std::to_string(thread) + "/fd/" + std::to_string(info.seccomp.args[0]);
        return ::readlink(link.c_str(), target.data(), target.size()) > 0 && target[0] == '/';
    }
    default:
        return true;
    }
}

/// `life` in a process of its own, which is killed before its `fatal`th call that changes a disk (from 1; 0:
/// never).
inline End run(const std::function<int()>& life, int fatal) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        constexpr int forbidden = 99;
        if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            ::_exit(forbidden);
        ::raise(SIGSTOP); // until the tracer is ready
        ::_exit(watchCalls() == 0 ? life() : forbidden);
    }
    End end;
    bool isReady = false;
    int status = 0;
    for (pid_t thread = 0; (thread = ::waitpid(-1, &status, __WALL)) > 0;) {
        if (!WIFSTOPPED(status)) {
            if (thread != child)
                continue;
            end.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
            end.isForbidden = !end.wasKilled && end.status == 99;
            continue; // until nothing of it is left
        }
        const int event = status >> 16;
        int signal = 0;
        if (!isReady && thread == child) {
            ::ptrace(PTRACE_SETOPTIONS, child, nullptr,
                     PTRACE_O_TRACESECCOMP | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                         PTRACE_O_EXITKILL);
            isReady = true;
        } else if (event == PTRACE_EVENT_SECCOMP && !end.wasKilled && changesDisk(thread)) {
            ++end.calls;
            if (end.calls == fatal) {
                end.wasKilled = true;
                ::kill(child, SIGKILL);
            }
        } else if (event == 0 && WSTOPSIG(status) != SIGSTOP) { // a new thread begins with a stop
            signal = WSTOPSIG(status);
        }
        ::ptrace(PTRACE_CONT, thread, nullptr, signal);
    }
    return end;
}

} // namespace vesto::killer
