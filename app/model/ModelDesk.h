#pragma once
#include "app/model/CommandRequest.h"
#include "app/model/Mailbox.h"
#include "app/model/Worker.h"
#include "core/support/Json.h"
#include "core/support/UniqueFd.h"
#include "services/client/LentModel.h"
#include "services/client/RemoteLanguageModel.h"
#include "services/client/RemoteTranscriber.h"

#include <QObject>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>

namespace vesto {

/// Lets other programs of this user use the models that this one has loaded: titles one after the other, and
/// beside them recordings; among our own each waits for its turn. Main thread.
class ModelDesk {
public:
    /// The model that serves here now; null where it is not the one that is meant.
    using Lend = std::function<std::shared_ptr<RemoteLanguageModel>(const lent::Wanted&)>;

    static constexpr std::size_t maxWaiting = 4; // programs; who comes then is told `busy`

    ModelDesk();
    /// Stops what is being written or heard, and waits for that.
    ~ModelDesk();
    ModelDesk(const ModelDesk&) = delete;

    /// Until then nothing is lent.
    void lend(Lend lend) { m_lend = std::move(lend); }
    void lendSpeech(std::shared_ptr<RemoteTranscriber> speech) { m_speech = std::move(speech); }

    /// What is known of the model; with instructions it begins to get ready for them.
    void state(const Json& order, const std::shared_ptr<CommandRequest>& request) const;
    void title(const Json& order, const std::shared_ptr<CommandRequest>& request);
    /// `sound` came with the order.
    void speech(const Json& order, UniqueFd sound, const std::shared_ptr<CommandRequest>& request);

private:
    /// Gives the one line that answers; of the worker's thread.
    using Work = std::function<Json(std::stop_token)>;
    void answer(Worker& worker, const std::shared_ptr<CommandRequest>& request, Work work);
    [[nodiscard]] std::shared_ptr<RemoteLanguageModel> modelFor(const lent::Wanted& wanted) const;

    Lend m_lend;
    std::shared_ptr<RemoteTranscriber> m_speech;
    QObject m_reader;
    std::shared_ptr<Mailbox> m_mailbox;
    std::stop_source m_end;
    std::size_t m_waiting = 0;
    Worker m_writing;
    Worker m_hearing;
};

} // namespace vesto
