#pragma once

namespace vesto {

[[noreturn]] void assertionFailed(const char* condition, const char* file, int line);

} // namespace vesto

/// States a programming error; stays on in release builds. Never for what a file, a user or the system may
/// do.
#define VESTO_ASSERT(condition) \
    (static_cast<bool>(condition) ? void() : ::vesto::assertionFailed(#condition, __FILE__, __LINE__))
