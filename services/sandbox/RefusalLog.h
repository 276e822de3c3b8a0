#pragma once

namespace vesto::sandbox {

/// In builds with tests, and only where the environment has VESTO_JAIL_LOG: from now on a refused system call
/// raises SIGSYS, whose handler writes the call's name to standard error and answers with EPERM. False in
/// every other case.
[[nodiscard]] bool logRefusedCalls();

} // namespace vesto::sandbox
