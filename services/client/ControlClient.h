#pragma once
#include "core/support/Json.h"
#include "services/client/ControlSocket.h"

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>

namespace vesto {

/// A program's talk with the engine of a data folder. Blocks; one thread.
class ControlClient {
public:
    enum class Failure {
        noEngine,     // nobody watches this folder's store
        noAnswer,     // somebody is there but does not speak
        otherVersion, // of Vesto
        lost,         // it left in the middle of an answer
    };

    [[nodiscard]] static std::expected<ControlClient, Failure>
    connect(const std::filesystem::path& dataFolder,
            std::chrono::milliseconds patience = std::chrono::seconds(5));

    /// Asks one thing and hears all that comes of it; `onEvent` gives false where nobody listens any more:
    /// the connection is closed, which ends the request. Gives the last event. `patience`: for each event,
    /// endless where it is negative.
    [[nodiscard]] std::expected<Json, Failure>
    ask(const Json& request, const std::function<bool(const Json&)>& onEvent,
        std::chrono::milliseconds patience = std::chrono::milliseconds(-1), int attachment = -1);

    /// Asks what has one result, and gives that: nothing where it was refused, or nobody answered.
    [[nodiscard]] std::optional<Json> askLine(const Json& request, std::chrono::milliseconds patience,
                                              int attachment = -1);

    /// Ends the talk, and an `ask` that waits, as `lost`. Of any thread.
    void hangUp() const;

private:
    explicit ControlClient(ControlPeer peer)
        : m_peer(std::move(peer)) {}

    /// The next message, at most `patience` from now; a negative one is endless.
    [[nodiscard]] std::expected<Json, Failure> next(std::chrono::milliseconds patience);

    ControlPeer m_peer;
};

/// For people, in French.
[[nodiscard]] std::string_view messageOf(ControlClient::Failure failure);

} // namespace vesto
