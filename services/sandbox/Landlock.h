#pragma once
#include <string>
#include <vector>

namespace vesto::sandbox {

/// The version of Landlock that this kernel has, from 1 on; 0 where it has none or was told not to use it.
[[nodiscard]] int landlockVersion();

/// From now on this process may read below `paths` and touch no other path: nothing is written, made, removed
/// or started. Paths that do not exist are passed over. Descriptors that are open stay as they are. False
/// where the kernel refuses. Needs no_new_privs.
[[nodiscard]] bool restrictPaths(const std::vector<std::string>& paths);

} // namespace vesto::sandbox
