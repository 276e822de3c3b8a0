#pragma once
#include "core/support/Time.h"

#include <algorithm>
#include <compare>
#include <cstdint>

namespace vesto {

/// A moment as a file system keeps it, since 1970. A damaged disk may hold any value, also ones that no count
/// of nanoseconds in 64 bits can carry.
struct FileTime {
    std::int64_t seconds = 0;
    std::uint32_t nanoseconds = 0;

    auto operator<=>(const FileTime&) const = default;

    /// The whole second, the nanoseconds ignored; the nearest one that an `Instant` can carry.
    [[nodiscard]] Instant wholeSecond() const {
        constexpr std::int64_t bound = 9'000'000'000'000; // seconds; an `Instant` carries 9.22e12
        return Instant(std::chrono::seconds(std::clamp(seconds, -bound, bound)));
    }
};

} // namespace vesto
