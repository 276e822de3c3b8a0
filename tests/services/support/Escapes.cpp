#include "tests/services/support/Escapes.h"

#include <fcntl.h>
#include <linux/sched.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace vesto::tests {
namespace {

/// 0 for a result that is no error; a descriptor among them is closed.
int outcome(long result) {
    return result < 0 ? errno : 0;
}
/// The same for a try that does no harm, because it must fail with `error` where it is let in.
int letIn(int error, long result) {
    return result < 0 && errno != error ? errno : 0;
}
int outcomeOfOpening(long fd) {
    if (fd < 0)
        return errno;
    ::close(static_cast<int>(fd));
    return 0;
}

/// A result of the ways to make a process: the new one ends at once, and is waited for.
int outcomeOfForking(long pid) {
    if (pid == 0)
        ::_exit(0);
    if (pid < 0)
        return errno;
    ::waitpid(static_cast<pid_t>(pid), nullptr, __WALL);
    return 0;
}

std::string ownPath(int file) {
    return "/proc/self/fd/" + std::to_string(file);
}

int anySocket(int) {
    for (int family = 0; family < 64; ++family)
        for (const int type : {SOCK_STREAM, SOCK_DGRAM, SOCK_RAW, SOCK_SEQPACKET, SOCK_RDM})
            if (outcomeOfOpening(::socket(family, type, 0)) == 0)
                return 0;
    return EPERM;
}

int cloneWith(unsigned long flags) {
    return outcomeOfForking(::syscall(SYS_clone, flags | SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

int clone3(int) {
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    return outcomeOfForking(::syscall(SYS_clone3, &arguments, sizeof arguments));
}

int openat2(int) {
    const std::uint64_t how[3] = {O_RDONLY, 0, 0};
    return outcomeOfOpening(::syscall(SYS_openat2, AT_FDCWD, "/", how, sizeof how));
}

int execute(int) {
    // Outside it is tried in a process of its own, which would be gone.
    const long pid = ::syscall(SYS_fork);
    if (pid < 0) {
        char program[] = "/bin/true";
        char* const words[] = {program, nullptr};
        ::execve(program, words, nullptr);
        return errno;
    }
    if (pid == 0) {
        char program[] = "/bin/true";
        char* const words[] = {program, nullptr};
        ::execve(program, words, nullptr);
        ::_exit(1);
    }
    int status = 0;
    ::waitpid(static_cast<pid_t>(pid), &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : EPERM;
}

int setFlags(int file) {
    const int flags = ::fcntl(file, F_GETFL);
    return outcome(::fcntl(file, F_SETFL, flags | O_NONBLOCK));
}

int changeTimes(int file) {
    const timespec times[2] = {{1, 0}, {1, 0}};
    return outcome(::futimens(file, times));
}

int inodeFlags(int file) {
    long flags = 0;
    constexpr unsigned long getFlags = 0x8008'6601; // FS_IOC_GETFLAGS
    return outcome(::ioctl(file, getFlags, &flags));
}

int createFile(int) {
    const char* path = P_tmpdir "/vesto-escape"; // the usual folder for anybody's files
    const int result = outcomeOfOpening(::open(path, O_WRONLY | O_CREAT, 0600));
    ::unlink(path);
    return result;
}

int useUring(int) {
    char parameters[120] = {};
    return outcomeOfOpening(::syscall(SYS_io_uring_setup, 1, parameters));
}

int loadProgram(int) {
    char attributes[120] = {};
    return letIn(EINVAL, ::syscall(SYS_bpf, 0, attributes, sizeof attributes)); // BPF_MAP_CREATE of nothing
}

const Escape table[] = {
    // The file that was handed over.
    {"reopen for writing", [](int f) { return outcomeOfOpening(::open(ownPath(f).c_str(), O_RDWR)); }, true},
    {"reopen", [](int f) { return outcomeOfOpening(::open(ownPath(f).c_str(), O_RDONLY)); }, true},
    {"fchmod", [](int f) { return outcome(::fchmod(f, 0777)); }, true},
    {"fchown", [](int f) { return outcome(::fchown(f, ::getuid(), ::getgid())); }, true},
    {"fsetxattr", [](int f) { return outcome(::fsetxattr(f, "user.escape", "1", 1, 0)); }, false},
    {"futimens", changeTimes, true},
    {"fcntl F_SETFL", setFlags, true},
    {"fcntl F_SETLEASE", [](int f) { return outcome(::fcntl(f, F_SETLEASE, F_RDLCK)); }, true},
    {"fcntl F_SETOWN", [](int f) { return outcome(::fcntl(f, F_SETOWN, ::getpid())); }, true},
    {"ioctl", inodeFlags, false},
    {"ftruncate", [](int f) { return outcome(::ftruncate(f, 0)); }, false},
    {"linkat",
     [](int f) { return outcome(::linkat(f, "", AT_FDCWD, P_tmpdir "/vesto-escape-link", AT_EMPTY_PATH)); },
     false},
    // Other files.
    {"create", createFile, true},
    {"open for writing", [](int) { return outcomeOfOpening(::open("/dev/null", O_WRONLY)); }, true},
    {"file without a name", [](int) { return outcomeOfOpening(::open(P_tmpdir, O_TMPFILE | O_RDWR, 0600)); },
     false},
    {"memory file", [](int) { return outcomeOfOpening(::syscall(SYS_memfd_create, "x", 0U)); }, true},
    {"password file", [](int) { return outcomeOfOpening(::open("/etc/passwd", O_RDONLY)); }, true, EACCES},
    {"home folder",
     [](int) {
         return outcomeOfOpening(::open(::getenv("HOME") == nullptr ? "/root" : ::getenv("HOME"), O_RDONLY));
     },
     true, EACCES},
    {"root folder", [](int) { return outcomeOfOpening(::open("/", O_RDONLY | O_DIRECTORY)); }, true, EACCES},
    {"own memory map", [](int) { return outcomeOfOpening(::open("/proc/self/maps", O_RDONLY)); }, true,
     EACCES},
    {"openat2", openat2, false, ENOSYS},
    {"unlink", [](int) { return letIn(ENOENT, ::unlink(P_tmpdir "/vesto-escape-absent")); }, true},
    {"mkdir",
     [](int) {
         return outcome(::mkdir(P_tmpdir "/vesto-escape-folder", 0700)) |
                outcome(::rmdir(P_tmpdir "/vesto-escape-folder"));
     },
     true},
    {"mount",
     [](int) { return letIn(ENOENT, ::mount("x", P_tmpdir "/vesto-escape-absent", "tmpfs", 0, nullptr)); },
     false},
    // Other processes.
    {"fork", [](int) { return outcomeOfForking(::syscall(SYS_fork)); }, true},
    {"clone a process", [](int) { return cloneWith(0); }, true},
    {"clone like vfork", [](int) { return cloneWith(CLONE_VFORK); }, true},
    {"clone with files", [](int) { return cloneWith(CLONE_FILES); }, true},
    {"clone3", clone3, false, ENOSYS},
    {"exec", execute, true},
    {"execveat",
     [](int f) { return outcome(::syscall(SYS_execveat, f, "", nullptr, nullptr, AT_EMPTY_PATH)); }, false},
    {"kill itself with 0", [](int) { return outcome(::kill(::getpid(), 0)); }, true},
    {"kill the service", [](int) { return outcome(::kill(::getppid(), 0)); }, true},
    {"tgkill", [](int) { return outcome(::syscall(SYS_tgkill, ::getpid(), ::gettid(), 0)); }, true},
    {"tkill", [](int) { return outcome(::syscall(SYS_tkill, ::gettid(), 0)); }, true},
    {"queue a signal", [](int) { return outcome(::sigqueue(::getpid(), 0, {})); }, true},
    {"pidfd_open", [](int) { return outcomeOfOpening(::syscall(SYS_pidfd_open, ::getppid(), 0U)); }, true},
    {"ptrace", [](int) { return outcome(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr)); }, false},
    {"read the service's memory",
     [](int) {
         return outcome(::syscall(SYS_process_vm_readv, ::getppid(), nullptr, 0UL, nullptr, 0UL, 0UL));
     },
     false},
    {"kcmp", [](int) { return outcome(::syscall(SYS_kcmp, ::getpid(), ::getpid(), 0, 0UL, 0UL)); }, false},
    {"new namespace", [](int) { return outcome(::syscall(SYS_unshare, 0UL)); }, false},
    {"shared memory", [](int) { return outcome(::shmget(IPC_PRIVATE, 4096, 0)); }, false},
    // Sockets and the kernel.
    {"any socket", anySocket, true},
    {"socketpair",
     [](int) {
         int ends[2];
         const int r = outcome(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
         if (r == 0) {
             ::close(ends[0]);
             ::close(ends[1]);
         }
         return r;
     },
     true},
    {"io_uring", useUring, false},
    {"bpf", loadProgram, false},
    {"userfaultfd", [](int) { return outcomeOfOpening(::syscall(SYS_userfaultfd, 1)); }, false},
    {"perf_event_open", [](int) { return outcome(::syscall(SYS_perf_event_open, nullptr, 0, -1, -1, 0UL)); },
     false},
    {"keyctl", [](int) { return outcome(::syscall(SYS_keyctl, 0, -3, 0)); }, false},
    {"inotify", [](int) { return outcomeOfOpening(::syscall(SYS_inotify_init1, 0)); }, true},
    // The jail itself.
    {"raise a limit",
     [](int) {
         const rlimit wide{RLIM_INFINITY, RLIM_INFINITY};
         return outcome(::setrlimit(RLIMIT_CPU, &wide));
     },
     true},
    {"outlive the service", [](int) { return outcome(::prctl(PR_SET_PDEATHSIG, 0)); }, true},
    {"be dumpable", [](int) { return outcome(::prctl(PR_SET_DUMPABLE, 1)); }, true},
    {"new user id", [](int) { return outcome(::syscall(SYS_setuid, ::getuid())); }, true},
    {"priority", [](int) { return outcome(::setpriority(PRIO_PROCESS, 0, ::getpriority(PRIO_PROCESS, 0))); },
     true},
    {"another seccomp filter",
     [](int) {
         const std::uint32_t action = 0;
         return outcome(::syscall(SYS_seccomp, 2U, 0U, &action));
     },
     false},
};

} // namespace

std::span<const Escape> escapes() {
    return table;
}

bool meansRefused(int error) {
    return error == EPERM || error == EACCES || error == ENOSYS;
}

} // namespace vesto::tests
