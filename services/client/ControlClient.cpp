#include "services/client/ControlClient.h"

#include "core/support/Clock.h"
#include "core/support/Text.h"
#include "services/ipc/Packet.h"

#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

namespace vesto {

std::expected<ControlClient, ControlClient::Failure>
ControlClient::connect(const std::filesystem::path& dataFolder, std::chrono::milliseconds patience) {
    const auto note = engineNote(dataFolder);
    if (!note)
        return std::unexpected(Failure::noEngine);
    auto socket = connectTo(note->socket);
    if (!socket) // EAGAIN: so many wait already that it can hardly be alive
        return std::unexpected(socket.error() == EAGAIN ? Failure::noAnswer : Failure::noEngine);
    ControlClient client(ControlPeer(*std::move(socket), ipc::maxControlAnswer));
    const auto greeting = client.next(patience);
    if (!greeting)
        return std::unexpected(greeting.error() == Failure::lost ? Failure::noEngine : greeting.error());
    if (integerMember(*greeting, "protocol") != ipc::controlProtocol)
        return std::unexpected(Failure::otherVersion);
    // The note of a data folder that was copied leads to the engine of the other one.
    if (stringMember(*greeting, "lock") != lockToken(dataFolder))
        return std::unexpected(Failure::noEngine);
    return client;
}

std::expected<Json, ControlClient::Failure>
ControlClient::ask(const Json& request, const std::function<bool(const Json&)>& onEvent,
                   std::chrono::milliseconds patience, int attachment) {
    if (!m_peer.send(request, attachment))
        return std::unexpected(Failure::lost);
    while (m_peer.hasUnsent()) {
        pollfd entry{m_peer.socket(), POLLOUT, 0};
        if ((::poll(&entry, 1, -1) < 0 && errno != EINTR) || !m_peer.flush())
            return std::unexpected(Failure::lost);
    }
    for (;;) {
        auto event = next(patience);
        if (!event || member(*event, "end") != nullptr)
            return event;
        if (!onEvent(*event)) {
            m_peer = ControlPeer(UniqueFd(), ipc::maxControlAnswer);
            return std::unexpected(Failure::lost);
        }
    }
}

std::optional<Json> ControlClient::askLine(const Json& request, std::chrono::milliseconds patience,
                                           int attachment) {
    std::optional<Json> line;
    const auto end = ask(
        request,
        [&](const Json& event) {
            if (const Json* record = member(event, "line"))
                line = *record;
            return true;
        },
        patience, attachment);
    return end ? line : std::nullopt;
}

void ControlClient::hangUp() const {
    ::shutdown(m_peer.socket(), SHUT_RDWR);
}

std::expected<Json, ControlClient::Failure> ControlClient::next(std::chrono::milliseconds patience) {
    const auto end = systemClock().sinceBoot() + patience;
    for (;;) {
        Json message;
        switch (m_peer.receive(message)) {
        case ControlPeer::Received::message:
            return message;
        case ControlPeer::Received::over:
            return std::unexpected(Failure::lost);
        case ControlPeer::Received::nothing:
            break;
        }
        constexpr std::chrono::milliseconds endless = std::chrono::hours(1);
        const auto left =
            patience.count() < 0
                ? endless
                : std::chrono::duration_cast<std::chrono::milliseconds>(end - systemClock().sinceBoot());
        const bool isReadable =
            left.count() > 0 && ipc::waitReadable(m_peer.socket(), std::min(left, endless));
        if (!isReadable && patience.count() >= 0)
            return std::unexpected(Failure::noAnswer);
    }
}

std::string_view messageOf(ControlClient::Failure failure) {
    switch (failure) {
    case ControlClient::Failure::noEngine:
        return text("Aucun « vesto watch » n'est en cours.");
    case ControlClient::Failure::noAnswer:
        return text("Le programme Vesto qui surveille vos dossiers ne répond pas.");
    case ControlClient::Failure::otherVersion:
        return text("Le programme Vesto qui surveille vos dossiers est d'une autre version : relancez-le.");
    case ControlClient::Failure::lost:
        return text("Le programme Vesto qui surveille vos dossiers s'est arrêté avant la fin de sa réponse.");
    }
    return {};
}

} // namespace vesto
