#include "cli/ReadingEngine.h"

#include "cli/EngineVerbs.h"
#include "core/files/FileURL.h"
#include "core/support/Text.h"

#include <nlohmann/json.hpp>

#include <mutex>
#include <utility>

namespace vesto::cli {
namespace {

/// Waits for the model at the first title that is asked of it, and not before.
class PatientGenerator final : public TitleGenerating {
public:
    explicit PatientGenerator(std::shared_ptr<ModelSession> session)
        : m_session(std::move(session)) {}

    std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                          std::stop_token stop) override {
        std::shared_ptr<TitleGenerating> generator;
        {
            const std::scoped_lock lock(m_mutex);
            generator = m_session->generator();
        }
        if (!generator)
            return std::unexpected(NameGenerationError{NameGenerationError::Code::modelUnavailable, {}});
        return generator->title(summary, std::move(stop));
    }

private:
    std::mutex m_mutex;
    std::shared_ptr<ModelSession> m_session;
};

} // namespace

Engine::Parts partsForOrders(const Options& options) {
    return {.summarizer = Summarizer({"fr-FR", "en-US"}, std::make_shared<RemoteReader>()),
            .locale = options.locale};
}

bool ReadingEngine::begin(bool offline) {
    return m_session.begin([&]() -> std::optional<Engine::Parts> {
        if (!m_reading.begin(offline))
            return std::nullopt;
        m_model = std::make_shared<ModelSession>(m_options, openUsedModel(ModelFolder{}), m_err);
        return Engine::Parts{.summarizer = m_reading.summarizer(),
                             .generator = std::make_shared<PatientGenerator>(m_model),
                             .locale = m_options.locale};
    });
}

/// The engine's model gets ready to write in the language of the order: it may sleep, or know another one
/// only.
void ReadingEngine::awaitEnginesModel(const Json& order) {
    Json prepare{{"verb", "prepareModel"}};
    if (const auto locale = stringMember(order, "locale"))
        prepare["locale"] = *locale;
    Options options = m_options;
    static_cast<void>(m_session.ask(prepare, [&](const Json& event) {
        const Json* line = member(event, "line");
        if (const auto locale = line == nullptr ? std::nullopt : stringMember(*line, "locale"))
            options.locale = Locale{*locale};
        return true;
    }));
    m_model = std::make_shared<ModelSession>(options, openEnginesModel(ModelFolder{}), m_err);
    static_cast<void>(m_model->generator());
}

EngineSession::Result ReadingEngine::ask(const Json& order, const Engine::OnEvent& onEvent) {
    if (m_session.isRemote() && !m_model)
        awaitEnginesModel(order);
    return m_session.ask(order, onEvent);
}

void ReadingEngine::tellStart(const std::filesystem::path& path) {
    if (!m_session.isRemote())
        m_reading.tellStart(path);
}

void ReadingEngine::tellWhetherReaderRuns() {
    if (!m_session.isRemote())
        m_reading.tellWhetherReaderRuns();
}

Json namingOrder(const Options& options, std::string_view verb, const std::filesystem::path& path) {
    Json order;
    order["verb"] = verb;
    order["url"] = fileURL(path);
    order["template"] = options.nameTemplate.pattern;
    order["locale"] = options.locale.identifier();
    order["genericOnly"] = options.genericOnly;
    order["again"] = options.again;
    if (options.minConfidence)
        order["minConfidence"] = *options.minConfidence;
    return order;
}

} // namespace vesto::cli
