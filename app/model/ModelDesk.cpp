#include "app/model/ModelDesk.h"

#include "core/support/Text.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <utility>

namespace vesto {

ModelDesk::ModelDesk()
    : m_mailbox(std::make_shared<Mailbox>(m_reader)) {}

ModelDesk::~ModelDesk() {
    m_end.request_stop();
    m_worker.end(std::chrono::minutes(1)); // the model winds down within seconds
    m_mailbox->close();
}

std::shared_ptr<RemoteLanguageModel> ModelDesk::modelFor(const lent::Wanted& wanted) const {
    return m_lend ? m_lend(wanted) : nullptr;
}

void ModelDesk::state(const Json& order, const std::shared_ptr<CommandRequest>& request) const {
    const auto wanted = lent::wantedIn(order);
    const auto model = wanted ? modelFor(*wanted) : nullptr;
    if (!model) {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    lent::State state{.availability = model->availability()};
    const bool mayServe = state.availability == LanguageModel::Availability::available ||
                          state.availability == LanguageModel::Availability::modelNotReady;
    if (wanted->instructions && mayServe)
        model->prewarm(*wanted->instructions);
    state.isGettingReady = model->isGettingReady();
    state.facts = model->facts();
    request->line(lent::recordOf(state));
    request->end(true);
}

void ModelDesk::title(const Json& order, const std::shared_ptr<CommandRequest>& request) {
    auto asked = lent::requestIn(order);
    const auto wanted = asked ? lent::wantedIn(order) : std::nullopt;
    auto model = wanted ? modelFor(*wanted) : nullptr;
    if (!model) {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    if (m_waiting == maxWaiting) {
        request->line(lent::recordOf(lent::Answer{
            .title = std::unexpected(LanguageModel::Failure{LanguageModel::Failure::Code::busy, {}})}));
        request->end(true);
        return;
    }
    ++m_waiting;
    const auto stop = std::make_shared<std::stop_source>();
    request->setOnCancel([stop] { stop->request_stop(); });
    m_worker.post([this, box = m_mailbox, end = m_end.get_token(), stop, request, asked = *std::move(asked),
                   model = std::move(model)]() mutable {
        const std::stop_callback ends(end, [&stop] { stop->request_stop(); });
        lent::Answer answer{.title = std::unexpected(LanguageModel::Failure{})};
        answer.title = model->respond(asked, stop->get_token(), answer.written);
        box->post([this, answer = std::move(answer), request, model = std::move(model)] {
            --m_waiting;
            request->line(lent::recordOf(answer));
            request->end(true);
        });
    });
}

} // namespace vesto
