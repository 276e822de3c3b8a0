#include "cli/ModelSession.h"

#include "cli/Messages.h"
#include "core/support/Clock.h"
#include "core/support/Text.h"

#include <ostream>
#include <utility>

namespace vesto::cli {

namespace {

/// Whether it is worth getting ready; asking sets off loading.
bool mayServe(LanguageModel& model) {
    const auto state = model.availability();
    return state == LanguageModel::Availability::available ||
           state == LanguageModel::Availability::modelNotReady;
}

} // namespace

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
    if (m_local.getsReady && mayServe(*m_local.model))
        m_generator->prewarm();
}

std::shared_ptr<TitleGenerating> ModelSession::generator() {
    if (!std::exchange(m_hasWaited, true))
        await();
    return m_availability.isAvailable() ? m_generator : nullptr;
}

std::string_view ModelSession::unavailableBecause() const {
    const std::string_view obstacle = facts().obstacle;
    return obstacle.empty() ? m_availability.message : obstacle;
}

void ModelSession::await() {
    const Clock& clock = systemClock();
    const auto start = clock.sinceBoot();
    bool told = false;
    if (m_local.model) {
        m_local.settle(m_wait.silent);
        told = clock.sinceBoot() - start >= m_wait.silent;
        if (told) {
            m_err << text("Le modèle local se charge…") << '\n' << std::flush;
            m_local.settle(m_wait.longest - m_wait.silent);
        }
    }
    m_availability = FoundationNameGenerator::availability(m_local.model.get(), m_language);
    // Who was told that it loads is told, too, where it did not.
    if (!m_availability.isAvailable() && (m_verbose || told))
        m_err << text("Titres sans modèle local :") << ' ' << unavailableBecause() << '\n' << std::flush;
    else if (m_verbose)
        m_err << text("Titres par le modèle local :") << ' ' << printable(m_local.facts().name) << " ("
              << secondsWords(clock.sinceBoot() - start) << ")" << '\n'
              << std::flush;
}

} // namespace vesto::cli
