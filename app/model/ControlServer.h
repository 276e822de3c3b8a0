#pragma once
#include "app/model/CommandRequest.h"
#include "core/support/Json.h"
#include "services/client/ControlSocket.h"

#include <QObject>
#include <QSocketNotifier>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vesto {

/// Lets programs of this user give orders to the engine of this process over the control socket, many at
/// once. A client that hangs, leaves, reads nothing or talks nonsense costs a bounded amount of memory and
/// its own connection. Main thread; nothing here waits.
class ControlServer : public QObject {
public:
    /// The descriptor is the one that came with the request; mostly none.
    using Begin = std::function<std::shared_ptr<CommandRequest>(const Json&, CommandRequest::Emit, UniqueFd)>;

    static constexpr std::size_t maxClients = 32;

    /// `begin` serves one request.
    ControlServer(ControlListener listener, const Json& greeting, Begin begin);
    ~ControlServer() override;

    /// From now on nobody new is let in and no order is taken; who is being served gets the rest of it.
    void close();

private:
    struct Client {
        explicit Client(UniqueFd socket);

        ControlPeer peer;
        QSocketNotifier readable;
        QSocketNotifier writable; // on while something waits to be sent
        std::shared_ptr<CommandRequest> request;
        bool isServed = false; // a request is under way
    };

    void accept();
    void makeRoom();
    void receive(std::uint64_t id);
    void serve(std::uint64_t id, const Json& order);
    void send(std::uint64_t id, const Json& message);
    void flush(std::uint64_t id);
    void drop(std::uint64_t id);

    std::optional<ControlListener> m_listener; // nothing once closed
    std::string m_greeting;
    Begin m_begin;
    QSocketNotifier m_incoming;
    std::map<std::uint64_t, std::shared_ptr<Client>> m_clients; // by number, so the oldest first
    std::uint64_t m_lastNumber = 0;
};

} // namespace vesto
