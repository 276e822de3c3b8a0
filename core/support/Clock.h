#pragma once
#include "core/support/Time.h"

#include <chrono>

namespace vesto {

/// The time as the core sees it, so that a test can hold it in its hand. Thread-safe.
class Clock {
public:
    virtual ~Clock() = default;

    /// The wall clock; it may jump.
    [[nodiscard]] virtual Instant now() const = 0;

    /// Time since the machine booted, suspend included; it never goes back.
    [[nodiscard]] virtual std::chrono::nanoseconds sinceBoot() const = 0;
};

/// The clock of this machine; lives as long as the process.
[[nodiscard]] const Clock& systemClock();

} // namespace vesto
