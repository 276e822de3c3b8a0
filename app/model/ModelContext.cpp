#include "app/model/ModelContext.h"

namespace vesto {

void ModelContext::setLastError(std::optional<std::string> message) {
    if (!message && !m_lastError)
        return;
    m_lastError = std::move(message);
    Q_EMIT m_face.lastErrorChanged();
}

NamingPipeline ModelContext::pipeline(const std::optional<NameTemplate>& nameTemplate,
                                      const std::optional<Locale>& locale) const {
    const bool modelIsUsable = !m_given.modelAvailability || m_given.modelAvailability().isAvailable();
    return {m_given.summarizer,
            modelIsUsable ? m_given.generator : nullptr,
            nameTemplate.value_or(NameTemplate{m_given.settings.nameTemplate()}),
            locale.value_or(m_given.locale),
            NamingPolicy{},
            m_given.clock};
}

void ModelContext::endWorkers() {
    m_naming.end();
    m_files.end();
    m_mailbox->deliver();
    m_mailbox->close();
}

} // namespace vesto
