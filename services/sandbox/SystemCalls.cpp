#include "services/sandbox/SystemCalls.h"

#include "services/sandbox/RefusalLog.h"

#include <fcntl.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <initializer_list>

namespace vesto::sandbox {
namespace {

/// A filter in the making; the first rule that fails makes it useless.
class Filter {
public:
    explicit Filter(std::uint32_t defaultAction)
        : m_context(::seccomp_init(defaultAction)) {
        m_valid = m_context != nullptr;
        // Other call tables (32 bit on 64) answer as the system calls that are not there.
        require(m_valid &&
                ::seccomp_attr_set(m_context, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_ERRNO(ENOSYS)) == 0);
    }
    ~Filter() {
        if (m_context != nullptr)
            ::seccomp_release(m_context);
    }
    Filter(const Filter&) = delete;
    Filter& operator=(const Filter&) = delete;

    /// A call whose number this architecture does not have is passed over.
    void rule(std::uint32_t action, int call, std::initializer_list<scmp_arg_cmp> conditions = {}) {
        if (call < 0 || !m_valid)
            return;
        require(::seccomp_rule_add_array(m_context, action, call, static_cast<unsigned>(conditions.size()),
                                         conditions.begin()) == 0);
    }
    void allow(std::initializer_list<int> calls) {
        for (const int call : calls)
            rule(SCMP_ACT_ALLOW, call);
    }
    void attribute(scmp_filter_attr name, std::uint32_t value) {
        require(m_valid && ::seccomp_attr_set(m_context, name, value) == 0);
    }
    [[nodiscard]] bool load() { return m_valid && ::seccomp_load(m_context) == 0; }

    /// The instructions; none where anything failed.
    [[nodiscard]] std::vector<sock_filter> program() const {
        // The library writes them to a descriptor only; a pipe takes 64 KiB, a filter is at most half of
        // that.
        std::array<int, 2> ends{};
        if (!m_valid || ::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
            return {};
        std::vector<sock_filter> instructions(BPF_MAXINSNS);
        const bool written = ::seccomp_export_bpf(m_context, ends[1]) == 0;
        const ssize_t size = ::read(ends[0], instructions.data(), instructions.size() * sizeof(sock_filter));
        ::close(ends[0]);
        ::close(ends[1]);
        const bool whole = written && size > 0 && static_cast<std::size_t>(size) % sizeof(sock_filter) == 0;
        instructions.resize(whole ? static_cast<std::size_t>(size) / sizeof(sock_filter) : 0);
        return instructions;
    }

private:
    void require(bool condition) { m_valid = m_valid && condition; }

    scmp_filter_ctx m_context = nullptr;
    bool m_valid = false;
};

/// The lower half of an argument alone: the kernel takes an int, whatever stands above it.
scmp_arg_cmp intIs(unsigned argument, std::uint32_t value) {
    return {argument, SCMP_CMP_MASKED_EQ, 0xFFFF'FFFFU, value};
}
scmp_arg_cmp noBitsBut(unsigned argument, std::uint32_t allowed) {
    return {argument, SCMP_CMP_MASKED_EQ, 0xFFFF'FFFFU & ~allowed, 0};
}
scmp_arg_cmp hasBits(unsigned argument, std::uint32_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, bits, bits};
}

void allowDescriptors(Filter& filter) {
    filter.allow({
        SCMP_SYS(read),
        SCMP_SYS(pread64),
        SCMP_SYS(readv),
        SCMP_SYS(preadv),
        SCMP_SYS(lseek),
        SCMP_SYS(close),
        SCMP_SYS(close_range),
        SCMP_SYS(fstat),
        SCMP_SYS(newfstatat), // how the C library asks about a descriptor
        SCMP_SYS(statx),
        SCMP_SYS(fstatfs),
        SCMP_SYS(fadvise64),
        SCMP_SYS(readahead),
        SCMP_SYS(dup),
        // To where the answer goes: nothing else is open for writing.
        SCMP_SYS(write),
        SCMP_SYS(writev),
        // Within one process only.
        SCMP_SYS(pipe),
        SCMP_SYS(pipe2),
        SCMP_SYS(eventfd2),
        SCMP_SYS(poll),
        SCMP_SYS(ppoll),
        SCMP_SYS(select),
        SCMP_SYS(pselect6),
    });
    for (const int command : {F_GETFD, F_SETFD, F_GETFL, F_DUPFD, F_DUPFD_CLOEXEC})
        filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(fcntl), {intIs(1, static_cast<std::uint32_t>(command))});
}

void allowPaths(Filter& filter) {
    filter.allow({
        SCMP_SYS(stat),
        SCMP_SYS(lstat),
        SCMP_SYS(statfs),
        SCMP_SYS(access),
        SCMP_SYS(faccessat),
        SCMP_SYS(faccessat2),
        SCMP_SYS(readlink),
        SCMP_SYS(readlinkat),
        SCMP_SYS(getcwd),
        SCMP_SYS(getdents64),
    });
    // O_RDONLY is 0, and so is O_LARGEFILE where the C library has nothing to ask for.
    constexpr std::uint32_t reading = O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_DIRECTORY | O_NOCTTY;
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(open), {noBitsBut(1, reading)});
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(openat), {noBitsBut(2, reading)});
}

void allowMemoryAndThreads(Filter& filter) {
    filter.allow({
        SCMP_SYS(mmap),
        SCMP_SYS(munmap),
        SCMP_SYS(mremap),
        SCMP_SYS(mprotect),
        SCMP_SYS(madvise),
        SCMP_SYS(brk),
        SCMP_SYS(mincore),
        SCMP_SYS(membarrier),
        SCMP_SYS(futex),
        SCMP_SYS(set_robust_list),
        SCMP_SYS(get_robust_list),
        SCMP_SYS(rseq),
        SCMP_SYS(set_tid_address),
        SCMP_SYS(sched_yield),
        SCMP_SYS(sched_getaffinity),
        SCMP_SYS(sched_getparam),
        SCMP_SYS(sched_getscheduler),
        SCMP_SYS(sched_get_priority_max),
        SCMP_SYS(sched_get_priority_min),
        SCMP_SYS(exit),
        SCMP_SYS(exit_group),
        SCMP_SYS(rt_sigaction),
        SCMP_SYS(rt_sigprocmask),
        SCMP_SYS(rt_sigreturn),
        SCMP_SYS(sigaltstack),
        SCMP_SYS(restart_syscall),
    });
    // A thread, not a process: decoders start some. The arguments of clone3 lie in memory, where no filter
    // looks; the C library then goes back to clone.
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(clone), {hasBits(0, CLONE_THREAD | CLONE_VM | CLONE_SIGHAND)});
    filter.rule(SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3));
    filter.rule(SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(openat2));
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(prctl), {intIs(0, PR_SET_NAME)});
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(prctl), {intIs(0, PR_GET_NAME)});
}

void allowQuestions(Filter& filter) {
    filter.allow({
        SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(clock_nanosleep), SCMP_SYS(nanosleep),
        SCMP_SYS(gettimeofday),  SCMP_SYS(time),         SCMP_SYS(times),           SCMP_SYS(getrusage),
        SCMP_SYS(getrlimit),     SCMP_SYS(sysinfo),      SCMP_SYS(uname),           SCMP_SYS(getcpu),
        SCMP_SYS(getrandom),     SCMP_SYS(getpid),       SCMP_SYS(gettid),          SCMP_SYS(getppid),
        SCMP_SYS(getuid),        SCMP_SYS(geteuid),      SCMP_SYS(getgid),          SCMP_SYS(getegid),
        SCMP_SYS(getresuid),     SCMP_SYS(getresgid),
    });
    // Asks for a limit; sets none.
    filter.rule(SCMP_ACT_ALLOW, SCMP_SYS(prlimit64), {intIs(0, 0), scmp_arg_cmp{2, SCMP_CMP_EQ, 0, 0}});
}

} // namespace

bool canFilterSystemCalls() {
    const std::uint32_t action = SECCOMP_RET_ERRNO;
    return ::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0U, &action) == 0;
}

std::vector<sock_filter> filterFor(Inmate inmate) {
    // Logging answers with the same error.
    Filter filter(logRefusedCalls() ? SCMP_ACT_TRAP : SCMP_ACT_ERRNO(EPERM));
    allowDescriptors(filter);
    allowMemoryAndThreads(filter);
    allowQuestions(filter);
    switch (inmate) {
    case Inmate::reader:
        allowPaths(filter);
        break;
    case Inmate::model:
        filter.allow({SCMP_SYS(sendmsg), SCMP_SYS(recvmsg)});
        break;
    }
    // A search in a tree instead of one comparison after the other.
    filter.attribute(SCMP_FLTATR_CTL_OPTIMIZE, 2);
    return filter.program();
}

bool install(std::span<const sock_filter> filter) {
    const sock_fprog program{static_cast<unsigned short>(filter.size()),
                             const_cast<sock_filter*>(filter.data())};
    return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0U, &program) == 0;
}

bool refuseNetwork() {
    Filter filter(SCMP_ACT_ALLOW);
    const std::uint32_t refuse = SCMP_ACT_ERRNO(EACCES);
    for (const int call : {SCMP_SYS(socket), SCMP_SYS(socketpair)}) {
        static_assert(AF_UNIX == 1 && AF_NETLINK == 16);
        for (std::uint32_t family = 0; family < AF_NETLINK; ++family)
            if (family != AF_UNIX)
                filter.rule(refuse, call, {intIs(0, family)});
        filter.rule(refuse, call, {scmp_arg_cmp{0, SCMP_CMP_GT, AF_NETLINK, 0}});
    }
    for (const int call : {SCMP_SYS(io_uring_setup), SCMP_SYS(io_uring_enter), SCMP_SYS(io_uring_register)})
        filter.rule(SCMP_ACT_ERRNO(ENOSYS), call);
    filter.attribute(SCMP_FLTATR_CTL_TSYNC, 1);
    return filter.load();
}

} // namespace vesto::sandbox
