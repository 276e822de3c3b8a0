#pragma once
#include "core/extraction/Route.h"

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vesto::ipc {

/// What one file may cost its reader; the bounds of the answer stand in Answer.h.
struct ReadingLimits {
    std::uint64_t addressSpace = std::uint64_t{1} << 30; // bytes, code and libraries included; 0: unlimited
    std::chrono::seconds time{10}; // on the wall, and on the processors in all threads together
};

/// The table: 1 GiB and 10 s; sound may take 20 s, films 30 s. Where a sanitizer is built in, its shadow fits
/// under no limit of the address space and its checks take their time: there the memory is unlimited and
/// every time four times as long.
[[nodiscard]] ReadingLimits limitsOf(Route route);

/// How long after its reader was to be stopped an answer is still waited for: the service starts, loads the
/// recognition of text, and sees to the others meanwhile.
inline constexpr std::chrono::seconds slack{5};

/// How many files are read side by side: as many as there are processors, within reason.
[[nodiscard]] std::size_t readingsAtOnce();

} // namespace vesto::ipc
