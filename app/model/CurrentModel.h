#pragma once
#include "app/model/LocalModel.h"
#include "core/files/ModelFolder.h"
#include "core/naming/FoundationNameGenerator.h"
#include "core/support/Locale.h"
#include "services/client/LentModel.h"
#include "services/client/RemoteLanguageModel.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace vesto {

/// Titles by the model that the settings name now: a program that runs for weeks notices another one, or
/// none. Thread-safe.
class CurrentModel final : public TitleGenerating {
public:
    explicit CurrentModel(Locale language, ModelFolder models = ModelFolder{})
        : m_language(std::move(language))
        , m_models(std::move(models)) {}

    /// Reads the settings. A model that never was loaded before is loaded in the background, to see what it
    /// is; one that was is left asleep.
    [[nodiscard]] FoundationNameGenerator::Availability availability();

    /// Soon there will be a title to write, in this language or our own: wakes the model, in the background.
    void prepare(const std::optional<Locale>& language = {});

    [[nodiscard]] std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                                        std::stop_token stop) override;

    /// What writes titles in this language, and is getting ready to; null where the model cannot.
    [[nodiscard]] std::shared_ptr<TitleGenerating> generatorIn(const Locale& language);

    /// For another program; null where it means another file, or has other instructions.
    [[nodiscard]] std::shared_ptr<RemoteLanguageModel> lend(const lent::Wanted& wanted);

    /// Of the model in use, as far as it is known; its file's name where it says none itself.
    [[nodiscard]] LocalModel::Facts facts();

private:
    struct Serving {
        std::filesystem::path file;
        bool isEnabled = false;
        std::shared_ptr<RemoteLanguageModel> model;
        std::shared_ptr<FoundationNameGenerator> generator;
    };
    /// By the settings as they are now; empty where there is no model.
    [[nodiscard]] Serving serving();
    [[nodiscard]] std::shared_ptr<FoundationNameGenerator> generatorFor(const Serving& now,
                                                                        const Locale& language);
    [[nodiscard]] std::shared_ptr<FoundationNameGenerator> foreignGenerator(const Serving& now,
                                                                            const Locale& language);

    Locale m_language;
    ModelFolder m_models;
    std::mutex m_mutex;
    Serving m_serving;
    Serving m_foreign; // in another language, for who asked for one last
    std::optional<Locale> m_foreignLanguage;
};

} // namespace vesto
