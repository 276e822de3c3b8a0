#include "services/ipc/Packet.h"

#include "core/support/Assert.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace vesto::ipc {
namespace {

// What one packet of a sender who lies can bring along; the kernel closes what does not fit.
constexpr std::size_t mostDescriptors = 16;

using Control = std::array<char, CMSG_SPACE(sizeof(int) * mostDescriptors)>;
using Moment = std::chrono::steady_clock::time_point;

bool waitFor(int fd, short events, std::chrono::milliseconds timeout) {
    const Moment end = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd entry{fd, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        if (ready > 0)
            return true;
        if (ready == 0 || errno != EINTR)
            return false;
    }
}

std::vector<UniqueFd> descriptorsOf(msghdr& header) {
    std::vector<UniqueFd> result;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(part) + i * sizeof(int), sizeof(int));
            result.emplace_back(fd);
        }
    }
    return result;
}

} // namespace

bool waitReadable(int fd, std::chrono::milliseconds timeout) {
    return waitFor(fd, POLLIN, timeout);
}

int sendPacketNow(int socket, std::string_view bytes, std::span<const int> descriptors) {
    VESTO_ASSERT(descriptors.size() <= mostDescriptors);
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    alignas(cmsghdr) Control control{};
    if (!descriptors.empty()) {
        header.msg_control = control.data();
        header.msg_controllen = CMSG_SPACE(sizeof(int) * descriptors.size());
        cmsghdr* rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int) * descriptors.size());
        std::memcpy(CMSG_DATA(rights), descriptors.data(), sizeof(int) * descriptors.size());
    }
    for (;;) {
        const ssize_t sent = ::sendmsg(socket, &header, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0)
            return static_cast<std::size_t>(sent) == bytes.size() ? 0 : EMSGSIZE;
        if (errno != EINTR)
            return errno;
    }
}

bool sendPacket(int socket, std::string_view bytes, std::span<const int> descriptors,
                std::chrono::milliseconds timeout) {
    for (;;) {
        const int error = sendPacketNow(socket, bytes, descriptors);
        if (error == 0)
            return true;
        if (error != EAGAIN || !waitFor(socket, POLLOUT, timeout))
            return false;
    }
}

std::optional<Packet> receivePacket(int socket, std::size_t maxBytes, std::size_t maxDescriptors,
                                    PacketFailure& failure) {
    Packet packet;
    packet.bytes.resize(maxBytes);
    iovec part{packet.bytes.data(), packet.bytes.size()};
    alignas(cmsghdr) Control control{};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    ssize_t size = 0;
    do
        size = ::recvmsg(socket, &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    while (size < 0 && errno == EINTR);
    if (size < 0) {
        failure = errno == EAGAIN ? PacketFailure::none : PacketFailure::closed;
        return std::nullopt;
    }
    packet.descriptors = descriptorsOf(header);
    if (size == 0) { // the end of the socket; a packet without bytes is nobody's
        failure = PacketFailure::closed;
        return std::nullopt;
    }
    if ((header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0 || packet.descriptors.size() > maxDescriptors) {
        failure = PacketFailure::malformed;
        return std::nullopt;
    }
    packet.bytes.resize(static_cast<std::size_t>(size));
    return packet;
}

} // namespace vesto::ipc
