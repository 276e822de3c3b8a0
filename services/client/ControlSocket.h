#pragma once
#include "core/support/Json.h"
#include "core/support/UniqueFd.h"
#include "services/client/EngineLock.h"
#include "services/ipc/ControlFrames.h"

#include <cstddef>
#include <deque>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vesto {

/// The control socket as the engine holds it: in a folder that is closed to everybody else, under a name that
/// was never used before, so that two stores can share a runtime folder. Removed at the end. Nothing here
/// waits.
class ControlListener {
public:
    /// In $XDG_RUNTIME_DIR/vesto where that is this user's alone, else in a folder of its own beside the
    /// store. Removes the socket that an engine left behind which was killed; announces its own.
    [[nodiscard]] static std::expected<ControlListener, int> open(const EngineLock& lock);

    ControlListener(ControlListener&&) noexcept = default;
    ControlListener& operator=(ControlListener&&) = delete;
    ~ControlListener();

    [[nodiscard]] int socket() const { return m_socket.get(); } // readable when somebody comes
    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// The next one who waits, if it belongs to this user; others are sent away.
    [[nodiscard]] UniqueFd accept() const;

private:
    ControlListener(UniqueFd socket, std::filesystem::path path)
        : m_socket(std::move(socket))
        , m_path(std::move(path)) {}

    UniqueFd m_socket;
    std::filesystem::path m_path;
};

/// One end of a connection: whole messages go in and out, nothing waits. Whoever does not read costs memory
/// up to a bound, and is given up there.
class ControlPeer {
public:
    static constexpr std::size_t maxUnsent = std::size_t{8} << 20; // bytes

    ControlPeer(UniqueFd socket, std::size_t maxMessage)
        : m_socket(std::move(socket))
        , m_incoming(maxMessage) {}

    [[nodiscard]] int socket() const { return m_socket.get(); }

    /// Sends it, with a descriptor that stays the caller's, or keeps both until `flush` finds room. False
    /// where the other side is gone or has left too much unread: the connection is over.
    [[nodiscard]] bool send(const Json& message, int attachment = -1);
    [[nodiscard]] bool flush();
    [[nodiscard]] bool hasUnsent() const { return !m_unsent.empty(); }

    enum class Received {
        nothing, // right now
        message,
        over, // the other side is gone, or talks nonsense
    };
    [[nodiscard]] Received receive(Json& message);
    /// The descriptor that came with the last message; none where it had none.
    [[nodiscard]] UniqueFd takeAttachment() { return std::exchange(m_attachment, {}); }

private:
    struct Frame {
        std::string bytes;
        UniqueFd attached;
    };

    UniqueFd m_socket;
    ipc::ControlAssembler m_incoming;
    UniqueFd m_attachment;
    std::deque<Frame> m_unsent;
    std::size_t m_unsentBytes = 0;
};

/// Whether the process at the other end of a socket belongs to this user.
[[nodiscard]] bool isOurUser(int socket);

/// A connection to the engine that the note speaks of. ECONNREFUSED or ENOENT where nobody is there.
[[nodiscard]] std::expected<UniqueFd, int> connectTo(const std::filesystem::path& socket);

} // namespace vesto
