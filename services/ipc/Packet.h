#pragma once
#include "core/support/UniqueFd.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Packets over a socket of type SOCK_SEQPACKET, with descriptors.
namespace vesto::ipc {

struct Packet {
    std::string bytes;
    std::vector<UniqueFd> descriptors; // close on exec
};

enum class PacketFailure {
    none,      // nothing there right now
    malformed, // too long, or with more descriptors than expected; they are closed
    closed,    // the other side is gone, or the socket is broken
};

/// Sends all or nothing, without waiting. 0, or the error: EAGAIN where there is no room.
[[nodiscard]] int sendPacketNow(int socket, std::string_view bytes, std::span<const int> descriptors);

/// Sends all or nothing; waits at most `timeout` for room. False where the other side is gone or does not
/// read.
[[nodiscard]] bool sendPacket(int socket, std::string_view bytes, std::span<const int> descriptors,
                              std::chrono::milliseconds timeout);

/// Takes one packet without waiting. Descriptors are never lost: what is not handed out is closed.
[[nodiscard]] std::optional<Packet> receivePacket(int socket, std::size_t maxBytes,
                                                  std::size_t maxDescriptors, PacketFailure& failure);

/// Whether `fd` can be read from, or its other end is gone, within `timeout`.
[[nodiscard]] bool waitReadable(int fd, std::chrono::milliseconds timeout);

} // namespace vesto::ipc
