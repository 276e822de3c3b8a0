#include "core/extraction/FileDates.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <limits>

namespace vesto::FileDates {
namespace {

/// Nothing for a date that no `Instant` can hold: file systems keep 64 bits of seconds.
std::optional<Instant> instantOf(const struct statx_timestamp& time) {
    constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / 1'000'000 - 1;
    if (time.tv_sec > limit || time.tv_sec < -limit)
        return std::nullopt;
    return Instant(std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_nsec / 1000));
}

} // namespace

std::optional<Instant> bestDate(const std::filesystem::path& path) {
    struct statx status{};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_MTIME, &status) != 0)
        return std::nullopt;
    // Some network file systems claim a birth at the epoch for want of one.
    const bool hasBirth = (status.stx_mask & STATX_BTIME) != 0 &&
                          (status.stx_btime.tv_sec != 0 || status.stx_btime.tv_nsec != 0);
    if (hasBirth)
        return instantOf(status.stx_btime);
    if ((status.stx_mask & STATX_MTIME) != 0)
        return instantOf(status.stx_mtime);
    return std::nullopt;
}

} // namespace vesto::FileDates
