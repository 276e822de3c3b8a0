#include "core/naming/FoundationNameGenerator.h"

#include "core/naming/ModelInstructions.h"
#include "core/support/Text.h"

#include <utility>

namespace vesto {
namespace {

using Code = NameGenerationError::Code;

/// Why a model cannot be used; nothing where it can.
std::string_view reasonOf(LanguageModel::Availability availability) {
    switch (availability) {
    case LanguageModel::Availability::available:
        return {};
    case LanguageModel::Availability::deviceNotEligible:
        return "Ce Mac ne prend pas en charge Apple Intelligence.";
    case LanguageModel::Availability::appleIntelligenceNotEnabled:
        return "Apple Intelligence est désactivée dans Réglages Système.";
    case LanguageModel::Availability::modelNotReady:
        return "Le modèle est en cours de téléchargement.";
    case LanguageModel::Availability::unavailable:
        break;
    }
    return "Modèle indisponible.";
}

NameGenerationError errorOf(LanguageModel::Failure failure) {
    switch (failure.code) {
    case LanguageModel::Failure::Code::cancelled:
        return {Code::cancelled, std::move(failure.message)};
    case LanguageModel::Failure::Code::busy:
        return {Code::busy, std::move(failure.message)};
    case LanguageModel::Failure::Code::unusable:
    case LanguageModel::Failure::Code::tooLong:
    case LanguageModel::Failure::Code::engine:
        break;
    }
    return {Code::platform, std::move(failure.message)};
}

} // namespace

ActiveGeneration& ActiveGeneration::shared() {
    static ActiveGeneration active;
    return active;
}

FoundationNameGenerator::FoundationNameGenerator(std::shared_ptr<LanguageModel> model, Locale language,
                                                 std::chrono::nanoseconds timeout, const Clock& clock,
                                                 ActiveGeneration& active)
    : m_model(std::move(model))
    , m_language(std::move(language))
    , m_timeout(timeout)
    , m_active(active)
    , m_instructions(modelInstructions(m_language))
    , m_runner(clock) {}

FoundationNameGenerator::Availability FoundationNameGenerator::availability(LanguageModel* model,
                                                                            const Locale& language) {
    if (model == nullptr)
        return {std::string(text(reasonOf(LanguageModel::Availability::unavailable)))};
    if (const std::string_view reason = reasonOf(model->availability()); !reason.empty())
        return {std::string(text(reason))};
    if (!model->supportsLanguage(language.languageCode()))
        return {std::string(text("Langue non prise en charge par le modèle on-device."))};
    return {};
}

void FoundationNameGenerator::prewarm() {
    if (m_model)
        m_model->prewarm(m_instructions);
}

std::expected<std::string, NameGenerationError> FoundationNameGenerator::title(const ContentSummary& summary,
                                                                               std::stop_token stop) {
    if (Availability found = availability(m_model.get(), m_language); !found.isAvailable())
        return std::unexpected(NameGenerationError{Code::modelUnavailable, std::move(found.message)});
    if (stop.stop_requested())
        return std::unexpected(NameGenerationError{Code::cancelled, {}});
    if (!m_active.begin())
        return std::unexpected(NameGenerationError{Code::busy, {}});
    // Over when the call of the model has really ended, or its operation is dropped without having run.
    std::shared_ptr<ActiveGeneration> claim(&m_active, [](ActiveGeneration* active) { active->end(); });
    ModelRequest request{m_instructions, summary.modelPrompt(m_language), maxAnswerTokens};
    return m_runner.withDeadline(
        m_timeout, stop,
        [model = m_model, request = std::move(request),
         claim = std::move(claim)](std::stop_token cancel) mutable -> DeadlineRunner::Result {
            auto answer = model->respond(request, std::move(cancel));
            claim.reset(); // before the result is out: who has it may ask again at once
            if (!answer)
                return std::unexpected(errorOf(std::move(answer).error()));
            return std::move(answer->title);
        });
}

} // namespace vesto
