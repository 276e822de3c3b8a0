#include "app/model/ControlServer.h"

#include <nlohmann/json.hpp>

#include <QTimer>
#include <algorithm>
#include <utility>

namespace vesto {

ControlServer::Client::Client(UniqueFd socket)
    : peer(std::move(socket), ipc::maxControlRequest)
    , readable(peer.socket(), QSocketNotifier::Read)
    , writable(peer.socket(), QSocketNotifier::Write) {
    writable.setEnabled(false);
}

ControlServer::ControlServer(ControlListener listener, const Json& greeting, Begin begin)
    : m_listener(std::move(listener))
    , m_greeting(writeJson(greeting))
    , m_begin(std::move(begin))
    , m_incoming(m_listener->socket(), QSocketNotifier::Read) {
    connect(&m_incoming, &QSocketNotifier::activated, this, [this] { accept(); });
}

ControlServer::~ControlServer() {
    while (!m_clients.empty()) {
        const auto client = m_clients.begin()->second;
        m_clients.erase(m_clients.begin());
        if (client->request)
            client->request->cancel();
    }
}

void ControlServer::close() {
    m_incoming.setEnabled(false);
    m_listener.reset();
}

void ControlServer::accept() {
    UniqueFd socket = m_listener ? m_listener->accept() : UniqueFd();
    if (!socket)
        return;
    makeRoom();
    if (m_clients.size() >= maxClients)
        return; // each of them is being served
    const std::uint64_t id = ++m_lastNumber;
    const auto client = std::make_shared<Client>(std::move(socket));
    m_clients.emplace(id, client);
    connect(&client->readable, &QSocketNotifier::activated, this, [this, id] { receive(id); });
    connect(&client->writable, &QSocketNotifier::activated, this, [this, id] { flush(id); });
    send(id, *parseJson(m_greeting));
}

/// Where too many came, the one that has said nothing for the longest time goes.
void ControlServer::makeRoom() {
    if (m_clients.size() < maxClients)
        return;
    const auto idle =
        std::ranges::find_if(m_clients, [](const auto& entry) { return !entry.second->isServed; });
    if (idle != m_clients.end())
        drop(idle->first);
}

void ControlServer::receive(std::uint64_t id) {
    const auto place = m_clients.find(id);
    if (place == m_clients.end())
        return;
    const auto client = place->second;
    Json order;
    switch (client->peer.receive(order)) {
    case ControlPeer::Received::nothing:
        break;
    case ControlPeer::Received::over:
        drop(id);
        break;
    case ControlPeer::Received::message:
        if (client->isServed || !m_listener)
            drop(id); // one at a time
        else
            serve(id, order);
        break;
    }
}

void ControlServer::serve(std::uint64_t id, const Json& order) {
    const auto client = m_clients.at(id);
    client->isServed = true;
    client->request = m_begin(
        order,
        [this, id](const Json& event) {
            const auto place = m_clients.find(id);
            if (place != m_clients.end() && member(event, "end") != nullptr)
                place->second->isServed = false;
            send(id, event);
        },
        client->peer.takeAttachment());
    if (!m_clients.contains(id))
        client->request->cancel(); // it was given up before the request had a name
    else if (!client->isServed)
        client->request.reset();
}

void ControlServer::send(std::uint64_t id, const Json& message) {
    const auto place = m_clients.find(id);
    if (place == m_clients.end())
        return;
    const auto client = place->second;
    if (client->peer.send(message))
        client->writable.setEnabled(client->peer.hasUnsent());
    else
        drop(id);
}

void ControlServer::flush(std::uint64_t id) {
    const auto place = m_clients.find(id);
    if (place == m_clients.end())
        return;
    const auto client = place->second;
    if (client->peer.flush())
        client->writable.setEnabled(client->peer.hasUnsent());
    else
        drop(id);
}

void ControlServer::drop(std::uint64_t id) {
    const auto place = m_clients.find(id);
    if (place == m_clients.end())
        return;
    const auto client = place->second;
    m_clients.erase(place);
    client->readable.setEnabled(false);
    client->writable.setEnabled(false);
    if (client->request)
        client->request->cancel();
    // We may stand in a call of one of its notifiers.
    QTimer::singleShot(0, this, [client] {});
}

} // namespace vesto
