#pragma once
#include "core/support/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <optional>

namespace vesto {

/// The one place that sleeps: until a time since boot (suspend included) comes, somebody rings, or a
/// descriptor has something to read. One thread waits at a time; any thread may ring.
class Alarm {
public:
    /// Where the process may open no more descriptors it still works, looking up ten times a second.
    Alarm();

    /// Ends the wait that is running, else the next one. Never blocks.
    void ring() noexcept;

    struct Woken {
        bool rung = false;
        bool readable = false; // or the descriptor is in error
    };

    /// May return early with neither; the caller looks at its clock.
    Woken wait(std::optional<std::chrono::nanoseconds> sinceBoot, int descriptor = -1);

private:
    /// Milliseconds that poll may sleep at most; -1 without bound.
    [[nodiscard]] int longestSleep(std::optional<std::chrono::nanoseconds> sinceBoot);

    UniqueFd m_timer;
    UniqueFd m_bell;
    std::atomic<bool> m_rung = false;
};

} // namespace vesto
