#pragma once
#include <chrono>
#include <cstdint>

namespace vesto::sandbox {

/// What a process may use up.
struct Resources {
    std::uint64_t addressSpace = 0;        // bytes; 0: unlimited
    std::chrono::seconds processorTime{0}; // of all threads together; 0: unlimited
    unsigned openFiles = 64;
};

/// Sets the limits for this process, for good; besides those of `resources`: no core dump, no file written,
/// no memory locked. False where the system refuses one of them.
[[nodiscard]] bool limitResources(const Resources& resources);

} // namespace vesto::sandbox
