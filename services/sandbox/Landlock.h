#pragma once
#include <string>
#include <vector>

namespace vesto::sandbox {

/// The version of Landlock that this kernel has, from 1 on; 0 where it has none or was told not to use it.
[[nodiscard]] int landlockVersion();

/// A set of rules, as a descriptor (close on exec) that the caller owns: below `paths` files may be read, no
/// other path may be touched, nothing is written, made, removed or started. Paths that do not exist are
/// passed over. Negative where the kernel refuses.
[[nodiscard]] int makeRuleset(const std::vector<std::string>& paths);

/// Puts this process under the rules, for good. Descriptors that are open stay as they are. False where the
/// kernel refuses. Needs no_new_privs.
[[nodiscard]] bool enterRuleset(int ruleset);

} // namespace vesto::sandbox
