#pragma once
#include "core/naming/ContentSummary.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vesto {

/// Takes a title from the first usable lines, without any model. Pure and thread-safe.
struct FallbackNameGenerator {
    std::int64_t maxWords = 6;

    /// Nothing where no line is usable; an empty metadata title gives an empty text.
    [[nodiscard]] std::optional<std::string> propose(const ContentSummary& summary) const;
};

} // namespace vesto
