#pragma once
#include "core/support/Clock.h"
#include "core/support/Time.h"

#include <chrono>

namespace vesto::readers {

/// The moment from which on a reader gives what it has.
class Deadline {
public:
    explicit Deadline(Seconds fromNow)
        : m_end(systemClock().sinceBoot() + std::chrono::duration_cast<std::chrono::nanoseconds>(fromNow)) {}

    [[nodiscard]] bool passed() const { return systemClock().sinceBoot() >= m_end; }

private:
    std::chrono::nanoseconds m_end; // since boot
};

} // namespace vesto::readers
