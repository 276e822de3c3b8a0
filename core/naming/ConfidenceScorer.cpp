#include "core/naming/ConfidenceScorer.h"

#include "core/naming/JudgedWords.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

namespace vesto {
namespace {

double groundingIn(std::string_view text, std::string_view title, const ContentSummary& summary) {
    const std::string foldedTitle = unicode::folded(title);
    const std::vector<std::string_view> tokens = judged::tokensOf(foldedTitle, summary.period);
    if (tokens.empty())
        return 0;
    const auto matches = judged::matchesOf(tokens, judged::sourceOf(text, summary.documentTitle));
    const auto absent = std::ranges::count(matches, judged::Match::absent);
    return static_cast<double>(std::ssize(matches) - absent) / static_cast<double>(tokens.size());
}

} // namespace

double ConfidenceScorer::score(std::string_view title, const ContentSummary& summary, Source source) const {
    const std::string text = summary.text();
    double raw = 0;
    if (!judged::canGround(text, summary.documentTitle, minLettersForGrounding))
        raw = summary.labels.empty() ? 0.1 : 0.35 * summary.labels.front().confidence + 0.2;
    else
        raw = 0.65 * groundingIn(text, title, summary) + 0.35;
    if (source == Source::fallback && raw > fallbackCap)
        raw = fallbackCap;
    if (!(raw > 0)) // a classifier's confidence may be anything, even no number
        return 0;
    return std::min(std::round(raw * 100) / 100, 1.0);
}

double ConfidenceScorer::grounding(std::string_view title, const ContentSummary& summary) const {
    return groundingIn(summary.text(), title, summary);
}

std::string_view rawValue(ConfidenceScorer::Source source) {
    switch (source) {
    case ConfidenceScorer::Source::model:
        return "model";
    case ConfidenceScorer::Source::fallback:
        return "fallback";
    }
    return {};
}

std::optional<ConfidenceScorer::Source> sourceOfRawValue(std::string_view rawValue) {
    if (rawValue == "model")
        return ConfidenceScorer::Source::model;
    if (rawValue == "fallback")
        return ConfidenceScorer::Source::fallback;
    return std::nullopt;
}

} // namespace vesto
