#include "app/model/ModelContext.h"

#include "core/support/Text.h"

#include <string_view>

namespace vesto {
namespace {

/// For a worker at the end of the program: a slow disk may take its time to rename and to sync.
constexpr std::chrono::seconds endPatience(10);

constexpr std::string_view silence =
    "Un dossier ne répond pas (partage réseau ou disque débranché ?) : les fichiers attendent.";

} // namespace

void ModelContext::setLastError(std::optional<std::string> message) {
    if (!message && !m_lastError)
        return;
    m_lastError = std::move(message);
    Q_EMIT m_face.lastErrorChanged();
}

void ModelContext::prepareModel(const std::optional<Locale>& language) const {
    if (m_given.prepareModel)
        m_given.prepareModel(language);
}

NamingPipeline ModelContext::pipeline(const std::optional<NameTemplate>& nameTemplate,
                                      const std::optional<Locale>& locale) const {
    return {m_given.summarizer,
            generator(locale),
            nameTemplate.value_or(NameTemplate{m_given.settings.nameTemplate()}),
            locale.value_or(m_given.locale),
            NamingPolicy{},
            m_given.clock};
}

std::shared_ptr<TitleGenerating> ModelContext::generator(const std::optional<Locale>& locale) const {
    if (locale && m_given.generatorIn)
        return m_given.generatorIn(*locale);
    const bool isUsable = !m_given.modelAvailability || m_given.modelAvailability().isAvailable();
    return isUsable ? m_given.generator : nullptr;
}

void ModelContext::watchForSilence() {
    m_silence.setSingleShot(true);
    m_silence.setInterval(m_given.silenceLimit);
    QObject::connect(&m_silence, &QTimer::timeout, &m_silence, [this] {
        m_isSilenceTold = true;
        fail(std::string(text(silence)));
    });
}

void ModelContext::expectAnswer() {
    if (!m_silence.isActive() && !m_isSilenceTold)
        m_silence.start();
}

void ModelContext::noteAnswer() {
    if (std::exchange(m_isSilenceTold, false) && m_lastError == text(silence))
        setLastError(std::nullopt);
    if (m_missed == 0)
        m_silence.stop();
    else
        m_silence.start();
}

void ModelContext::endWorkers() {
    (void)m_naming.end(endPatience);
    (void)m_files.end(endPatience);
    m_mailbox->deliver();
    m_mailbox->close();
}

} // namespace vesto
