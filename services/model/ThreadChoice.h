#pragma once
#include <optional>

namespace vesto::model {

/// Whether one thread or `all` do a piece of work faster: how many. `timed` does it with so many and says how
/// long it took, or nothing where it was stopped, after which it is not called again. The first time does not
/// count: it waits for memory, or for the disk. Nothing where all of them never came to an end.
template <typename Timed> [[nodiscard]] std::optional<int> fasterThreads(int all, Timed timed) {
    if (all <= 1)
        return 1;
    if (!timed(all))
        return std::nullopt;
    const auto together = timed(all);
    if (!together)
        return std::nullopt;
    const auto alone = timed(1);
    return alone && *alone < *together ? 1 : all;
}

} // namespace vesto::model
