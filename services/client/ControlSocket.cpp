#include "services/client/ControlSocket.h"

#include "core/files/FileName.h"
#include "core/support/Uuid.h"
#include "services/ipc/Packet.h"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>

namespace vesto {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view namePrefix = "control-";
constexpr int waitingClients = 16; // that the kernel keeps before they are accepted

/// A folder that is there and lets nobody but this user in; links do not count.
bool isPrivateFolder(const fs::path& folder) {
    struct stat status{};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & 077) == 0;
}

/// Makes `folder` unless it is there already. Whether it is private.
bool makePrivate(const fs::path& folder) {
    return (::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) && isPrivateFolder(folder);
}

std::optional<fs::path> socketFolder(const fs::path& dataFolder) {
    const char* named = std::getenv("XDG_RUNTIME_DIR");
    const fs::path runtime = named == nullptr ? "" : named;
    if (runtime.is_absolute() && isPrivateFolder(runtime) && makePrivate(runtime / "vesto"))
        return runtime / "vesto";
    if (makePrivate(dataFolder / "run"))
        return dataFolder / "run";
    return std::nullopt;
}

struct Address {
    UniqueFd folder; // which the address goes through: a path may be too long for one
    sockaddr_un bytes{};
};

std::expected<Address, int> addressOf(const fs::path& path) {
    Address address;
    address.folder.reset(::open(folderOf(path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!address.folder)
        return std::unexpected(errno);
    const std::string text =
        "/proc/self/fd/" + std::to_string(address.folder.get()) + "/" + std::string(lastComponentOf(path));
    if (text.size() >= sizeof address.bytes.sun_path)
        return std::unexpected(ENAMETOOLONG);
    address.bytes.sun_family = AF_UNIX;
    std::memcpy(address.bytes.sun_path, text.c_str(), text.size() + 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

/// What an engine that was killed left: a socket of this user's, by its name one of ours.
void removeLeftover(const fs::path& path) {
    struct stat status{};
    if (lastComponentOf(path).starts_with(namePrefix) && ::lstat(path.c_str(), &status) == 0 &&
        S_ISSOCK(status.st_mode) && status.st_uid == ::geteuid())
        ::unlink(path.c_str());
}

} // namespace

bool isOurUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

std::expected<UniqueFd, int> connectTo(const fs::path& socket) {
    auto address = addressOf(socket);
    if (!address)
        return std::unexpected(address.error());
    UniqueFd fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd || ::connect(fd.get(), generic(address->bytes), sizeof address->bytes) != 0)
        return std::unexpected(errno);
    if (!isOurUser(fd.get()))
        return std::unexpected(EPERM);
    return fd;
}

std::expected<ControlListener, int> ControlListener::open(const EngineLock& lock) {
    if (lock.leftover())
        removeLeftover(lock.leftover()->socket);
    const auto folder = socketFolder(lock.folder());
    if (!folder)
        return std::unexpected(EACCES);
    const fs::path path = *folder / (std::string(namePrefix) + randomUuid());
    auto address = addressOf(path);
    if (!address)
        return std::unexpected(address.error());
    UniqueFd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket || ::bind(socket.get(), generic(address->bytes), sizeof address->bytes) != 0)
        return std::unexpected(errno);
    ControlListener listener(std::move(socket), path);
    if (::listen(listener.socket(), waitingClients) != 0)
        return std::unexpected(errno);
    if (const auto announced = lock.announce(path); !announced)
        return std::unexpected(announced.error());
    return listener;
}

ControlListener::~ControlListener() {
    if (m_socket)
        ::unlink(m_path.c_str());
}

UniqueFd ControlListener::accept() const {
    UniqueFd client(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (client && !isOurUser(client.get()))
        client.reset();
    return client;
}

bool ControlPeer::send(const Json& message, int attachment) {
    UniqueFd attached(attachment < 0 ? -1 : ::fcntl(attachment, F_DUPFD_CLOEXEC, 0));
    if (attachment >= 0 && !attached)
        return false;
    const std::size_t first = m_unsent.size();
    for (std::string& frame : ipc::controlFrames(writeJson(message))) {
        m_unsentBytes += frame.size();
        m_unsent.push_back({std::move(frame), UniqueFd()});
    }
    m_unsent[first].attached = std::move(attached);
    return flush() && m_unsentBytes <= maxUnsent;
}

bool ControlPeer::flush() {
    while (!m_unsent.empty()) {
        const Frame& frame = m_unsent.front();
        const int attached = frame.attached.get();
        const int error = ipc::sendPacketNow(
            socket(), frame.bytes, std::span(&attached, static_cast<std::size_t>(attached >= 0 ? 1 : 0)));
        if (error != 0)
            return error == EAGAIN;
        m_unsentBytes -= frame.bytes.size();
        m_unsent.pop_front();
    }
    return true;
}

ControlPeer::Received ControlPeer::receive(Json& message) {
    for (;;) {
        ipc::PacketFailure failure = ipc::PacketFailure::none;
        auto packet = ipc::receivePacket(socket(), ipc::controlFrameBytes, 1, failure);
        if (!packet)
            return failure == ipc::PacketFailure::none ? Received::nothing : Received::over;
        if (!packet->descriptors.empty())
            m_attachment = std::move(packet->descriptors.front());
        switch (m_incoming.take(packet->bytes)) {
        case ipc::ControlAssembler::Taken::piece:
            break;
        case ipc::ControlAssembler::Taken::broken:
            return Received::over;
        case ipc::ControlAssembler::Taken::whole:
            auto parsed = ipc::parseControlMessage(m_incoming.message());
            if (!parsed)
                return Received::over;
            message = *std::move(parsed);
            return Received::message;
        }
    }
}

} // namespace vesto
