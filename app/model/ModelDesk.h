#pragma once
#include "app/model/CommandRequest.h"
#include "app/model/Mailbox.h"
#include "app/model/Worker.h"
#include "core/support/Json.h"
#include "services/client/LentModel.h"
#include "services/client/RemoteLanguageModel.h"

#include <QObject>
#include <cstddef>
#include <functional>
#include <memory>
#include <stop_token>

namespace vesto {

/// Lets other programs of this user have titles from the language model that this one has loaded, one after
/// the other; among our own titles each waits for its turn. Main thread.
class ModelDesk {
public:
    /// The model that serves here now; null where it is not the one that is meant.
    using Lend = std::function<std::shared_ptr<RemoteLanguageModel>(const lent::Wanted&)>;

    static constexpr std::size_t maxWaiting = 4; // programs; who comes then is told `busy`

    ModelDesk();
    /// Stops what is being written, and waits for that.
    ~ModelDesk();
    ModelDesk(const ModelDesk&) = delete;

    /// Until then nothing is lent.
    void lend(Lend lend) { m_lend = std::move(lend); }

    /// What is known of the model; with instructions it begins to get ready for them.
    void state(const Json& order, const std::shared_ptr<CommandRequest>& request) const;
    void title(const Json& order, const std::shared_ptr<CommandRequest>& request);

private:
    [[nodiscard]] std::shared_ptr<RemoteLanguageModel> modelFor(const lent::Wanted& wanted) const;

    Lend m_lend;
    QObject m_reader;
    std::shared_ptr<Mailbox> m_mailbox;
    std::stop_source m_end;
    std::size_t m_waiting = 0;
    Worker m_worker;
};

} // namespace vesto
