#pragma once
#include "core/naming/ContentSummary.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vesto {

/// How far the words of a title are found in what was read from the file. Pure and thread-safe.
struct ConfidenceScorer {
    /// Who produced the title.
    enum class Source { model, fallback };

    std::int64_t minLettersForGrounding = 20;
    double fallbackCap = 0.55;

    /// 0 to 1, at most two decimals.
    [[nodiscard]] double score(std::string_view title, const ContentSummary& summary, Source source) const;

    /// The share of the title's meaningful words that the file holds, 0 to 1.
    [[nodiscard]] double grounding(std::string_view title, const ContentSummary& summary) const;
};

/// The enumerator's own name, as it is stored and shown to programs.
[[nodiscard]] std::string_view rawValue(ConfidenceScorer::Source source);
[[nodiscard]] std::optional<ConfidenceScorer::Source> sourceOfRawValue(std::string_view rawValue);

} // namespace vesto
