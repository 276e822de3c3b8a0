#include "services/sandbox/Landlock.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace vesto::sandbox {
namespace {

// Debian 12's header knows version 1 of the interface; what later kernels add is written out here.
struct Ruleset {
    std::uint64_t files;   // version 1
    std::uint64_t network; // version 4
    std::uint64_t scoped;  // version 6
};
constexpr std::uint64_t firstRights = (std::uint64_t{1} << 13) - 1; // all that version 1 can refuse
constexpr std::uint64_t refer = std::uint64_t{1} << 13;             // version 2
constexpr std::uint64_t truncate = std::uint64_t{1} << 14;          // version 3
constexpr std::uint64_t deviceControl = std::uint64_t{1} << 15;     // version 5
constexpr std::uint64_t bindAndConnect = 3;                         // version 4
constexpr std::uint64_t socketsAndSignals = 3;                      // version 6

void addPath(int ruleset, const std::string& path) {
    const int fd = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    if (fd < 0)
        return;
    struct stat status{};
    const bool isFolder = ::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
    landlock_path_beneath_attr rule{};
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
    if (isFolder)
        rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
    rule.parent_fd = fd;
    ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0U);
    ::close(fd);
}

} // namespace

int landlockVersion() {
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, std::size_t{0}, LANDLOCK_CREATE_RULESET_VERSION);
    return version > 0 ? static_cast<int>(version) : 0;
}

int makeRuleset(const std::vector<std::string>& paths) {
    const int version = landlockVersion();
    if (version == 0)
        return -1;
    Ruleset rules{firstRights, 0, 0};
    std::size_t size = sizeof(std::uint64_t);
    if (version >= 2)
        rules.files |= refer;
    if (version >= 3)
        rules.files |= truncate;
    if (version >= 4) {
        rules.network = bindAndConnect;
        size = 2 * sizeof(std::uint64_t);
    }
    if (version >= 5)
        rules.files |= deviceControl;
    if (version >= 6) {
        rules.scoped = socketsAndSignals;
        size = 3 * sizeof(std::uint64_t);
    }
    const int ruleset = static_cast<int>(::syscall(SYS_landlock_create_ruleset, &rules, size, 0U));
    if (ruleset < 0)
        return -1;
    // A path that cannot be added is one less to be read: no reason to do without the rest.
    for (const std::string& path : paths)
        addPath(ruleset, path);
    return ruleset;
}

bool enterRuleset(int ruleset) {
    return ::syscall(SYS_landlock_restrict_self, ruleset, 0U) == 0;
}

} // namespace vesto::sandbox
