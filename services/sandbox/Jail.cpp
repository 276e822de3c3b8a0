#include "services/sandbox/Jail.h"

#include "services/sandbox/Landlock.h"

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

Jail::Jail(const std::vector<std::string>& readablePaths, Inmate inmate)
    : m_filter(canFilterSystemCalls() ? filterFor(inmate) : std::vector<sock_filter>{})
    , m_ruleset(makeRuleset(readablePaths)) {}

Jail::~Jail() {
    if (m_ruleset >= 0)
        ::close(m_ruleset);
}

bool Jail::enter(const Resources& resources, std::span<const int> kept, pid_t parent) const {
    // The parent may have died before the kernel was asked to tell: then another one is the parent now.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || ::getppid() != parent)
        return false;
    if (!filtersCalls() || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return false;
    if (restrictsPaths() && !enterRuleset(m_ruleset))
        return false;
    // The filter of system calls comes last: it refuses what the others need.
    return closeAllBut(kept) && dropCapabilities() && ::prctl(PR_SET_DUMPABLE, 0) == 0 &&
           limitResources(resources) && install(m_filter);
}

} // namespace vesto::sandbox
