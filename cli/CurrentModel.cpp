#include "cli/CurrentModel.h"

#include "cli/ModelSession.h"

#include <utility>

namespace vesto::cli {

FoundationNameGenerator::Availability CurrentModel::availability() {
    std::optional<std::filesystem::path> file;
    if (const auto used = m_models.isEnabled() ? m_models.used() : std::nullopt)
        file = m_models.pathOf(*used);
    std::shared_ptr<LanguageModel> oldModel; // let go of outside the lock: that ends its process
    std::shared_ptr<FoundationNameGenerator> oldGenerator;
    const std::scoped_lock lock(m_mutex);
    if (file != m_file) {
        m_file = file;
        oldModel = std::exchange(m_model, file ? openModel(*file).model : nullptr);
        oldGenerator = std::exchange(
            m_generator, m_model ? std::make_shared<FoundationNameGenerator>(m_model, m_language) : nullptr);
        if (m_generator)
            m_generator->prewarm();
    }
    return FoundationNameGenerator::availability(m_model.get(), m_language);
}

std::expected<std::string, NameGenerationError> CurrentModel::title(const ContentSummary& summary,
                                                                    std::stop_token stop) {
    std::shared_ptr<FoundationNameGenerator> generator;
    {
        const std::scoped_lock lock(m_mutex);
        generator = m_generator;
    }
    if (!generator)
        return std::unexpected(NameGenerationError{NameGenerationError::Code::modelUnavailable, {}});
    return generator->title(summary, std::move(stop));
}

} // namespace vesto::cli
