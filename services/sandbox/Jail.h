#pragma once
#include "services/sandbox/Resources.h"

#include <sys/types.h>

#include <span>
#include <string>
#include <vector>

namespace vesto::sandbox {

/// What shuts a process in. Made before the fork, so that the child allocates little.
struct JailPlan {
    Resources resources;
    std::vector<std::string> readablePaths;
    bool landlock = true; // false: this kernel has none, system calls are filtered all the same
};

/// Shuts this process in, for good; called by a child right after its fork. Of its descriptors only standard
/// input, output and error and those of `kept` (sorted) stay open. It dies with `parent`. False where any of
/// it failed: the process must then end without having looked at the file.
[[nodiscard]] bool enterJail(const JailPlan& plan, std::span<const int> kept, pid_t parent);

} // namespace vesto::sandbox
