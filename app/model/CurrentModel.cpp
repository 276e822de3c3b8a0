#include "app/model/CurrentModel.h"

#include "core/naming/ModelInstructions.h"

#include <utility>

namespace vesto {

CurrentModel::Serving CurrentModel::serving() {
    const bool isEnabled = m_models.isEnabled();
    std::filesystem::path file;
    if (const auto used = m_models.used())
        file = m_models.pathOf(*used);
    Serving old, foreign; // let go of outside the lock: that ends its process
    const std::scoped_lock lock(m_mutex);
    if (file != m_serving.file || isEnabled != m_serving.isEnabled) {
        foreign = std::exchange(m_foreign, Serving{});
        old = std::exchange(
            m_serving, Serving{.file = file, .isEnabled = isEnabled, .model = nullptr, .generator = nullptr});
        if (!file.empty()) {
            m_serving.model = std::make_shared<RemoteLanguageModel>(RemoteLanguageModel::Settings{
                .model = file, .enabled = isEnabled, .notes = ModelNotes(m_models.notesPath())});
            m_serving.generator = std::make_shared<FoundationNameGenerator>(m_serving.model, m_language);
        }
    }
    return m_serving;
}

FoundationNameGenerator::Availability CurrentModel::availability() {
    return FoundationNameGenerator::availability(serving().model.get(), m_language);
}

void CurrentModel::prepare(const std::optional<Locale>& language) {
    const Serving now = serving();
    if (!now.generator)
        return;
    // Of one that was never loaded nobody knows its languages yet.
    const bool isUnknown = now.model->availability() == LanguageModel::Availability::modelNotReady;
    if (!language || isUnknown ||
        FoundationNameGenerator::availability(now.model.get(), *language).isAvailable())
        generatorFor(now, language.value_or(m_language))->prewarm();
}

std::expected<std::string, NameGenerationError> CurrentModel::title(const ContentSummary& summary,
                                                                    std::stop_token stop) {
    std::shared_ptr<FoundationNameGenerator> generator;
    {
        const std::scoped_lock lock(m_mutex);
        generator = m_serving.generator;
    }
    if (!generator)
        return std::unexpected(NameGenerationError{NameGenerationError::Code::modelUnavailable, {}});
    return generator->title(summary, std::move(stop));
}

std::shared_ptr<TitleGenerating> CurrentModel::generatorIn(const Locale& language) {
    const Serving now = serving();
    if (!FoundationNameGenerator::availability(now.model.get(), language).isAvailable())
        return nullptr;
    auto generator = generatorFor(now, language);
    generator->prewarm();
    return generator;
}

std::shared_ptr<FoundationNameGenerator> CurrentModel::generatorFor(const Serving& now,
                                                                    const Locale& language) {
    const bool isOurs = modelInstructions(language) == modelInstructions(m_language);
    return isOurs ? now.generator : foreignGenerator(now, language);
}

std::shared_ptr<FoundationNameGenerator> CurrentModel::foreignGenerator(const Serving& now,
                                                                        const Locale& language) {
    Serving old; // let go of outside the lock: that waits for a title that is late
    const std::scoped_lock lock(m_mutex);
    if (m_foreign.model != now.model || m_foreignLanguage != language) {
        m_foreignLanguage = language;
        old = std::exchange(
            m_foreign, Serving{.file = now.file,
                               .isEnabled = now.isEnabled,
                               .model = now.model,
                               .generator = std::make_shared<FoundationNameGenerator>(now.model, language)});
    }
    return m_foreign.generator;
}

std::shared_ptr<RemoteLanguageModel> CurrentModel::lend(const lent::Wanted& wanted) {
    const Serving now = serving();
    const bool isMeant = wanted.file == now.file &&
                         (!wanted.instructions || *wanted.instructions == modelInstructions(m_language));
    return isMeant ? now.model : nullptr;
}

LocalModel::Facts CurrentModel::facts() {
    const Serving now = serving();
    LocalModel::Facts facts = now.model ? factsOf(now.model->facts()) : LocalModel::Facts{};
    if (facts.name.empty())
        facts.name = now.file.filename().native();
    return facts;
}

} // namespace vesto
