#include "services/client/SharedLanguageModel.h"

#include "core/support/Clock.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <thread>

namespace vesto {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds stateTakes{2000}; // of an engine that is alive
constexpr milliseconds step{50};         // between two looks at a model that gets ready

} // namespace

LanguageModel::Availability SharedLanguageModel::availability() {
    if (const auto model = m_own.ifTurnedTo())
        return model->availability();
    if (const auto told = state(std::nullopt))
        return told->availability;
    return m_own.turnTo()->availability();
}

bool SharedLanguageModel::supportsLanguage(std::string_view language) {
    if (const auto model = m_own.ifTurnedTo())
        return model->supportsLanguage(language);
    const std::scoped_lock lock(m_mutex);
    return RemoteLanguageModel::supports(m_state.facts, language);
}

void SharedLanguageModel::prewarm(const std::string& instructions) {
    auto model = m_own.ifTurnedTo();
    if (!model && !state(instructions))
        model = m_own.turnTo();
    if (model)
        model->prewarm(instructions);
}

std::expected<ProposedName, LanguageModel::Failure> SharedLanguageModel::respond(const ModelRequest& request,
                                                                                 std::stop_token stop) {
    if (const auto model = m_own.ifTurnedTo())
        return model->respond(request, std::move(stop));
    auto answer = ask(request, stop);
    if (stop.stop_requested())
        return std::unexpected(Failure{Failure::Code::cancelled, "cancelled"});
    if (!answer)
        return m_own.turnTo()->respond(request, std::move(stop));
    const std::scoped_lock lock(m_mutex);
    m_written = answer->written;
    return std::move(answer->title);
}

void SharedLanguageModel::settle(milliseconds timeout) {
    const Clock& clock = systemClock();
    const auto end = clock.sinceBoot() + timeout;
    const auto left = [&] { return std::chrono::ceil<milliseconds>(end - clock.sinceBoot()); };
    while (!m_own.ifTurnedTo()) {
        const auto told = state(std::nullopt);
        if (!told)
            static_cast<void>(m_own.turnTo());
        else if (!told->isGettingReady || left() <= milliseconds(0))
            return;
        else
            std::this_thread::sleep_for(std::min(step, left()));
    }
    static_cast<void>(m_own.turnTo()->settle(std::max(left(), milliseconds(0))));
}

RemoteLanguageModel::Facts SharedLanguageModel::facts() {
    if (const auto model = m_own.ifTurnedTo())
        return model->facts();
    const std::scoped_lock lock(m_mutex);
    auto facts = m_state.facts;
    facts.lastTokens = m_written.tokens;
    facts.lastRefusals = m_written.refusals;
    return facts;
}

std::optional<lent::State> SharedLanguageModel::state(std::optional<std::string> instructions) {
    auto engine = ControlClient::connect(m_dataFolder, stateTakes);
    const auto line = engine
                          ? engine->askLine(lent::stateOrder({m_file, std::move(instructions)}), stateTakes)
                          : std::nullopt;
    auto told = line ? lent::stateIn(*line) : std::nullopt;
    if (told) {
        const std::scoped_lock lock(m_mutex);
        m_state = *told;
    }
    return told;
}

std::optional<lent::Answer> SharedLanguageModel::ask(const ModelRequest& request,
                                                     const std::stop_token& stop) {
    auto engine = ControlClient::connect(m_dataFolder, stateTakes);
    if (!engine)
        return std::nullopt;
    // Which ends the request there, and the wait here.
    const std::stop_callback hangUp(stop, [&engine] { engine->hangUp(); });
    const auto line = engine->askLine(lent::titleOrder(m_file, request), milliseconds(-1));
    return line ? lent::answerIn(*line) : std::nullopt;
}

} // namespace vesto
