#include "cli/ModelSession.h"

#include "cli/Messages.h"
#include "core/support/Clock.h"
#include "core/support/Text.h"
#include "services/client/RemoteLanguageModel.h"

#include <ostream>
#include <utility>

namespace vesto::cli {

namespace {

LocalModel open(RemoteLanguageModel::Settings settings) {
    const auto model = std::make_shared<RemoteLanguageModel>(std::move(settings));
    return {.model = model,
            .settle = [model](std::chrono::milliseconds longest) { model->settle(longest); },
            .facts =
                [model] {
                    const auto facts = model->facts();
                    return LocalModel::Facts{.name = facts.name, .lastTokens = facts.lastTokens};
                }};
}

} // namespace

LocalModel openModel(const std::filesystem::path& file) {
    return open({.model = file});
}

LocalModel openUsedModel(const ModelFolder& models) {
    const auto used = models.used();
    return used ? open({.model = models.pathOf(*used), .enabled = models.isEnabled()}) : LocalModel{};
}

ModelSession::ModelSession(const Options& options, LocalModel local, std::ostream& err, Wait wait,
                           std::chrono::nanoseconds timeout)
    : m_verbose(options.verbose)
    , m_language(options.locale)
    , m_err(err)
    , m_wait(wait)
    , m_local(std::move(local)) {
    if (!m_local.model)
        return;
    m_generator = std::make_shared<FoundationNameGenerator>(m_local.model, options.locale, timeout);
    m_generator->prewarm();
}

std::shared_ptr<TitleGenerating> ModelSession::generator() {
    if (!std::exchange(m_hasWaited, true))
        await();
    return m_availability.isAvailable() ? m_generator : nullptr;
}

void ModelSession::await() {
    const Clock& clock = systemClock();
    const auto start = clock.sinceBoot();
    bool told = false;
    if (m_local.model) {
        m_local.settle(m_wait.silent);
        told = clock.sinceBoot() - start >= m_wait.silent;
        if (told) {
            m_err << text("Le modèle local se charge…") << std::endl;
            m_local.settle(m_wait.longest - m_wait.silent);
        }
    }
    m_availability = FoundationNameGenerator::availability(m_local.model.get(), m_language);
    // Who was told that it loads is told, too, where it did not.
    if (!m_availability.isAvailable() && (m_verbose || told))
        m_err << text("Titres sans modèle local :") << ' ' << m_availability.message << std::endl;
    else if (m_verbose)
        m_err << text("Titres par le modèle local :") << ' ' << printable(m_local.facts().name) << " ("
              << secondsWords(clock.sinceBoot() - start) << ")" << std::endl;
}

} // namespace vesto::cli
