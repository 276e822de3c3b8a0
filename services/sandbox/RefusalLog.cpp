#include "services/sandbox/RefusalLog.h"

#if defined(VESTO_DEBUG_SWITCHES) && defined(__x86_64__)

#include <seccomp.h>
#include <signal.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vesto::sandbox {
namespace {

void report(int, siginfo_t* info, void* context) {
    char* name = ::seccomp_syscall_resolve_num_arch(SCMP_ARCH_NATIVE, info->si_syscall);
    if (name != nullptr) {
        [[maybe_unused]] ssize_t ignored = ::write(STDERR_FILENO, "jail refused ", 13);
        ignored = ::write(STDERR_FILENO, name, std::strlen(name));
        ignored = ::write(STDERR_FILENO, "\n", 1);
        std::free(name);
    }
    static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RAX] = -EPERM;
}

} // namespace

bool logRefusedCalls() {
    if (std::getenv("VESTO_JAIL_LOG") == nullptr)
        return false;
    struct sigaction action{};
    action.sa_sigaction = report;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    return ::sigaction(SIGSYS, &action, nullptr) == 0;
}

} // namespace vesto::sandbox

#else

namespace vesto::sandbox {

bool logRefusedCalls() {
    return false;
}

} // namespace vesto::sandbox

#endif
