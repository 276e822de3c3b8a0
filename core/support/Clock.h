#pragma once
#include "core/support/Time.h"

#include <chrono>
#include <stop_token>

namespace vesto {

/// The time as the core sees it, so that a test can hold it in its hand. Thread-safe.
class Clock {
public:
    virtual ~Clock() = default;

    /// The wall clock; it may jump.
    [[nodiscard]] virtual Instant now() const = 0;

    /// Time since the machine booted, suspend included; it never goes back.
    [[nodiscard]] virtual std::chrono::nanoseconds sinceBoot() const = 0;

    /// Blocks until `sinceBoot()` has reached `time`; false where the stop was asked for, at once. A clock
    /// that a test holds in its hand moves itself here.
    [[nodiscard]] virtual bool sleepUntil(std::chrono::nanoseconds time, const std::stop_token& stop) const;
};

/// The clock of this machine; lives as long as the process.
[[nodiscard]] const Clock& systemClock();

} // namespace vesto
