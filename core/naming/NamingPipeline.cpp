#include "core/naming/NamingPipeline.h"

#include "core/files/FileName.h"
#include "core/naming/TitleMatching.h"
#include "core/support/Text.h"
#include "core/support/Uuid.h"

#include <utility>

namespace vesto {
namespace {

std::string renderedName(const NameTemplate& nameTemplate, const NamingPolicy& policy, const Locale& locale,
                         std::string title, const ContentSummary& summary, std::string_view currentName) {
    const NameTemplate::Context context{.title = std::move(title),
                                        .date = summary.date,
                                        .kind = summary.kind,
                                        .originalBaseName = std::string(baseNameOf(currentName)),
                                        .locale = locale,
                                        .timeZone = {}};
    return nameTemplate.render(context, policy);
}

} // namespace

NamingPipeline::NamingPipeline(std::shared_ptr<ContentReading> reading,
                               std::shared_ptr<TitleGenerating> generator, NameTemplate nameTemplate,
                               Locale locale, NamingPolicy policy, const Clock& clock)
    : NamingPipeline(Summarizer({"fr-FR", "en-US"}, std::move(reading)), std::move(generator),
                     std::move(nameTemplate), std::move(locale), policy, clock) {}

NamingPipeline::NamingPipeline(Summarizer summarizer, std::shared_ptr<TitleGenerating> generator,
                               NameTemplate nameTemplate, Locale locale, NamingPolicy policy,
                               const Clock& clock)
    : m_summarizer(std::move(summarizer))
    , m_generator(std::move(generator))
    , m_policy(policy)
    , m_template(std::move(nameTemplate))
    , m_locale(std::move(locale))
    , m_foldedMonths(foldedMonthNames(m_locale))
    , m_clock(clock) {}

std::optional<NamingPipeline::Title> NamingPipeline::titleOf(const ContentSummary& summary,
                                                             std::stop_token stop) const {
    if (m_generator) {
        if (const auto raw = m_generator->title(summary, std::move(stop))) {
            std::string title = m_policy.cleanTitle(*raw);
            if (!title.empty()) {
                title = withCasingOf(summary.text(), title, m_foldedMonths);
                if (summary.period)
                    title = withPeriod(*summary.period, title, m_locale, m_policy.maxTitleLength);
                return Title{std::move(title), ConfidenceScorer::Source::model};
            }
        }
    }
    const std::optional<std::string> raw = m_fallback.propose(summary);
    std::string title = raw ? m_policy.cleanTitle(*raw) : std::string();
    if (title.empty())
        return std::nullopt;
    // Neither casing nor period: these words stand in the file as they are.
    return Title{std::move(title), ConfidenceScorer::Source::fallback};
}

std::expected<PipelineOutcome, SummarizerError> NamingPipeline::run(const std::filesystem::path& path,
                                                                    std::stop_token stop) const {
    const std::optional<FileIdentity> identity = FileIdentity::of(path);
    const auto start = m_clock.sinceBoot();
    std::expected<ContentSummary, SummarizerError> summary = m_summarizer.summarize(path, stop);
    if (!summary)
        return std::unexpected(std::move(summary).error());
    const auto summarized = m_clock.sinceBoot();
    std::optional<Title> title = titleOf(*summary, std::move(stop));
    const auto titled = m_clock.sinceBoot();
    if (!title)
        return PipelineOutcome::Nothing{std::string(text("Aucun contenu exploitable")), std::move(*summary)};

    const std::string currentName = path.filename().string();
    std::string baseName = renderedName(m_template, m_policy, m_locale, title->text, *summary, currentName);
    if (isSameName(m_policy.fileName(baseName, extensionOf(currentName)), currentName))
        return PipelineOutcome::Nothing{std::string(text("Nom identique")), std::move(*summary)};

    const double confidence = m_scorer.score(title->text, *summary, title->source);
    return Proposal{.id = randomUuid(),
                    .url = path,
                    .identity = identity,
                    .title = std::move(title->text),
                    .baseName = std::move(baseName),
                    .source = title->source,
                    .confidence = confidence,
                    .summary = std::move(*summary),
                    .summarizeSeconds = summarized - start,
                    .generateSeconds = titled - summarized,
                    .policy = m_policy};
}

std::optional<std::string> NamingPipeline::baseNameForUserTitle(std::string_view userTitle,
                                                                const Proposal& proposal) const {
    std::string title = m_policy.cleanTitle(userTitle);
    if (title.empty())
        return std::nullopt;
    return renderedName(m_template, m_policy, m_locale, std::move(title), proposal.summary,
                        proposal.url.filename().string());
}

} // namespace vesto
