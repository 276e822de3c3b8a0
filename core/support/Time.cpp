#include "core/support/Time.h"

#include <cmath>

namespace vesto {

double secondsSinceReference(Instant instant) {
    return Seconds(instant - referenceDate).count();
}

std::optional<Instant> instantFromReference(double seconds) {
    constexpr double bound = 9.0e12; // in seconds: below the range of `Instant`, which is 9.22e12
    if (!std::isfinite(seconds) || std::abs(seconds) > bound)
        return std::nullopt;
    // Split first: a double of seconds near the bound has no room for microseconds.
    const double whole = std::floor(seconds);
    const auto fraction = std::chrono::microseconds(std::llround((seconds - whole) * 1e6));
    return referenceDate + std::chrono::seconds(static_cast<long long>(whole)) + fraction;
}

} // namespace vesto
