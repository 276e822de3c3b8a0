#include "services/sandbox/Jail.h"

#include "services/sandbox/Landlock.h"
#include "services/sandbox/SystemCalls.h"

#include <linux/capability.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

namespace vesto::sandbox {
namespace {

bool closeAllBut(std::span<const int> kept) {
    unsigned first = STDERR_FILENO + 1;
    for (const int fd : kept) {
        const auto number = static_cast<unsigned>(fd);
        if (number > first && ::close_range(first, number - 1, 0) != 0)
            return false;
        if (number >= first)
            first = number + 1;
    }
    return ::close_range(first, ~0U, 0) == 0;
}

/// A service that root started needs none of root's powers.
bool dropCapabilities() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> none{};
    return ::syscall(SYS_capset, &header, none.data()) == 0;
}

} // namespace

bool enterJail(const JailPlan& plan, std::span<const int> kept, pid_t parent) {
    // The parent may have died before the kernel was asked to tell: then another one is the parent now.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != parent)
        return false;
    if (!closeAllBut(kept) || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return false;
    if (plan.landlock && !restrictPaths(plan.readablePaths))
        return false;
    // Limits come after what opens the paths, the filter of system calls after all that it refuses.
    return dropCapabilities() && ::prctl(PR_SET_DUMPABLE, 0) == 0 && limitResources(plan.resources) &&
           restrictSystemCalls();
}

} // namespace vesto::sandbox
