#pragma once
#include "core/extraction/Summarizer.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/naming/FallbackNameGenerator.h"
#include "core/naming/NameTemplate.h"
#include "core/naming/NamingPolicy.h"
#include "core/naming/Proposal.h"
#include "core/naming/TitleGenerating.h"
#include "core/support/Clock.h"
#include "core/support/Locale.h"

#include <array>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace vesto {

/// Turns one file into a proposal or a reasoned refusal. Immutable; callable from any thread.
class NamingPipeline {
public:
    /// `generator` may be null: titles then come from the first usable lines.
    NamingPipeline(Summarizer summarizer, std::shared_ptr<TitleGenerating> generator,
                   NameTemplate nameTemplate, Locale locale, NamingPolicy policy,
                   const Clock& clock = systemClock());
    NamingPipeline(std::shared_ptr<ContentReading> reading, std::shared_ptr<TitleGenerating> generator,
                   NameTemplate nameTemplate, Locale locale, NamingPolicy policy,
                   const Clock& clock = systemClock());

    /// Fails only as the summarizer does; every failure of the generator leads to the fallback.
    [[nodiscard]] std::expected<PipelineOutcome, SummarizerError> run(const std::filesystem::path& path,
                                                                      std::stop_token stop = {}) const;

    /// The base name for a title that the user wrote; nothing where it cleans to nothing.
    [[nodiscard]] std::optional<std::string> baseNameForUserTitle(std::string_view userTitle,
                                                                  const Proposal& proposal) const;

    struct Title {
        std::string text;
        ConfidenceScorer::Source source;
    };
    /// The title that `run` would put into the template; nothing where neither the generator nor the fallback
    /// has a usable one.
    [[nodiscard]] std::optional<Title> titleOf(const ContentSummary& summary,
                                               std::stop_token stop = {}) const;

private:
    Summarizer m_summarizer;
    std::shared_ptr<TitleGenerating> m_generator;
    FallbackNameGenerator m_fallback;
    NamingPolicy m_policy;
    NameTemplate m_template;
    ConfidenceScorer m_scorer;
    Locale m_locale;
    std::array<std::string, 12> m_foldedMonths; // of the locale
    const Clock& m_clock;
};

} // namespace vesto
