#include "app/model/ModelDesk.h"

#include "core/support/Text.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vesto {

ModelDesk::ModelDesk()
    : m_mailbox(std::make_shared<Mailbox>(m_reader)) {}

ModelDesk::~ModelDesk() {
    m_end.request_stop();
    // The models wind down within seconds.
    m_writing.end(std::chrono::minutes(1));
    m_hearing.end(std::chrono::minutes(1));
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
    answer(m_writing, request,
           [asked = *std::move(asked), model = std::move(model)](const std::stop_token& stop) {
               lent::Answer answer{.title = std::unexpected(LanguageModel::Failure{})};
               answer.title = model->respond(asked, stop, answer.written);
               return lent::recordOf(answer);
           });
}

void ModelDesk::speech(const Json& order, UniqueFd sound, const std::shared_ptr<CommandRequest>& request) {
    auto asked = lent::recordingIn(order);
    auto heard = asked ? SealedSound::from(std::move(sound), asked->samples) : std::nullopt;
    if (!heard || !m_speech || m_speech->model() != asked->file || m_waiting == maxWaiting) {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    // A function that can be copied holds what cannot.
    const auto once = std::make_shared<SealedSound>(*std::move(heard));
    answer(m_hearing, request,
           [asked = *std::move(asked), once, model = m_speech](const std::stop_token& stop) {
               auto lines = model->transcribe(std::move(*once), asked.locales, asked.timeout, stop);
               return lent::recordOf(lent::Heard{
                   .lines = std::move(lines).value_or(std::vector<std::string>{}), .facts = model->facts()});
           });
}

void ModelDesk::answer(Worker& worker, const std::shared_ptr<CommandRequest>& request, Work work) {
    ++m_waiting;
    const auto stop = std::make_shared<std::stop_source>();
    request->setOnCancel([stop] { stop->request_stop(); });
    worker.post(
        [this, box = m_mailbox, end = m_end.get_token(), stop, request, work = std::move(work)]() mutable {
            const std::stop_callback ends(end, [&stop] { stop->request_stop(); });
            Json line = work(stop->get_token());
            // With the model, which may have its end there.
            box->post([this, line = std::move(line), request, work = std::move(work)] {
                --m_waiting;
                request->line(line);
                request->end(true);
            });
        });
}

} // namespace vesto
