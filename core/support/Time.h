#pragma once
#include <chrono>
#include <optional>

namespace vesto {

/// A moment in UTC; microseconds, so that every date a file can carry fits (years −290,000 to 290,000).
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

/// A length of time that was read or measured, in seconds with a fraction.
using Seconds = std::chrono::duration<double>;

/// 2001-01-01T00:00:00Z, the epoch of dates in markers and keyed records.
inline constexpr Instant referenceDate = std::chrono::sys_days{std::chrono::year{2001} / 1 / 1};

/// Seconds from `referenceDate`, negative before it.
[[nodiscard]] double secondsSinceReference(Instant instant);

/// The inverse; nothing where the number is not finite or no `Instant` can hold it.
[[nodiscard]] std::optional<Instant> instantFromReference(double seconds);

} // namespace vesto
