#pragma once
#include "core/files/ModelFolder.h"
#include "core/naming/FoundationNameGenerator.h"
#include "core/naming/LanguageModel.h"
#include "core/support/Locale.h"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace vesto::cli {

/// Titles by the model that the settings name now: a program that runs for weeks notices another one, or
/// none. Thread-safe.
class CurrentModel final : public TitleGenerating {
public:
    explicit CurrentModel(Locale language, ModelFolder models = ModelFolder{})
        : m_language(std::move(language))
        , m_models(std::move(models)) {}

    /// Reads the settings. A model that is new gets ready in the background.
    [[nodiscard]] FoundationNameGenerator::Availability availability();

    [[nodiscard]] std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                                        std::stop_token stop) override;

private:
    Locale m_language;
    ModelFolder m_models;
    std::mutex m_mutex;
    std::optional<std::filesystem::path> m_file; // of the model below, where there is one in use
    std::shared_ptr<LanguageModel> m_model;
    std::shared_ptr<FoundationNameGenerator> m_generator;
};

} // namespace vesto::cli
