#include "services/model/Host.h"

#include "services/ipc/ModelMessages.h"
#include "services/ipc/Packet.h"
#include "services/model/Engine.h"
#include "services/model/Library.h"
#include "services/model/Transcriber.h"
#include "services/sandbox/Jail.h"

#include <fcntl.h>
#include <malloc.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <string_view>
#include <utility>

namespace vesto::model {
namespace {

using Moment = std::chrono::steady_clock::time_point;

constexpr int niceness = 5;                       // still some of a busy machine: an answer has a deadline
constexpr std::chrono::milliseconds listening{3}; // between two looks at the socket while there is work
constexpr std::chrono::seconds sendTimeout{10};
constexpr std::size_t mostWaiting = 16; // orders
constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30;

struct Order {
    ipc::ModelOrder order;
    std::vector<UniqueFd> descriptors;
    bool cancelled = false; // before its turn came
};

bool isReadOnlyFile(int fd, std::uint64_t& size) {
    struct stat status{};
    if ((::fcntl(fd, F_GETFL) & O_ACCMODE) != O_RDONLY || ::fstat(fd, &status) != 0 ||
        !S_ISREG(status.st_mode))
        return false;
    size = static_cast<std::uint64_t>(status.st_size);
    return true;
}

/// The model in memory twice (mapped, and rearranged for the processor), contexts, stacks of threads.
sandbox::Resources resourcesFor(std::uint64_t modelBytes) {
#ifdef VESTO_SANITIZED
    static_cast<void>(modelBytes);
    return {};
#else
    return {.addressSpace = std::min(modelBytes, 1024 * gigabyte) * 5 / 2 + 4 * gigabyte};
#endif
}

class Host {
public:
    Host(int socket, const HostSettings& settings)
        : m_socket(socket)
        , m_settings(settings)
        , m_jail({}, sandbox::Inmate::model)
        , m_engine([this] { return isToStop(); })
        , m_transcriber([this] { return isToStop(); }) {}

    int run() {
        const ipc::Jail jail = jailHere();
        if (!ipc::sendPacket(m_socket, ipc::encode(ipc::ModelGreeting{jail, engineVersion()}), {},
                             sendTimeout) ||
            jail == ipc::Jail::none || jail == ipc::Jail::refused)
            return 1;
        while (auto order = next())
            if (!obey(*std::move(order)))
                return 1;
        return m_broken ? 1 : 0;
    }

private:
    /// Whether the jail would close behind this process; a child tries.
    [[nodiscard]] ipc::Jail jailHere() const {
        if (!m_jail.filtersCalls())
            return ipc::Jail::none;
        const pid_t self = ::getpid();
        const pid_t pid = ::fork();
        if (pid == 0)
            ::_exit(m_jail.enter(resourcesFor(gigabyte), {}, self) ? 0 : 1);
        int status = -1;
        while (pid > 0 && ::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        if (pid < 0 || status != 0)
            return ipc::Jail::refused;
        return m_jail.restrictsPaths() ? ipc::Jail::full : ipc::Jail::reduced;
    }

    /// Puts what has arrived behind what waits already. False where the other side is gone or talks nonsense.
    bool listen() {
        for (;;) {
            auto failure = ipc::PacketFailure::none;
            auto packet = ipc::receivePacket(m_socket, ipc::limits::orderBytes, 1, failure);
            if (!packet) {
                m_broken = m_broken || failure == ipc::PacketFailure::malformed;
                return failure == ipc::PacketFailure::none;
            }
            auto order = ipc::decodeModelOrder(packet->bytes);
            if (!order || m_waiting.size() == mostWaiting) {
                m_broken = true;
                return false;
            }
            if (std::holds_alternative<ipc::CancelWork>(*order))
                (m_waiting.empty() ? m_cancelled : m_waiting.back().cancelled) = true;
            else
                m_waiting.push_back({*std::move(order), std::move(packet->descriptors)});
        }
    }

    /// Nothing where the host is to leave: idle, or alone.
    std::optional<Order> next() {
        while (m_waiting.empty())
            if (!ipc::waitReadable(m_socket, m_settings.idle) || !listen())
                return std::nullopt;
        Order order = std::move(m_waiting.front());
        m_waiting.pop_front();
        return order;
    }

    /// The engine asks after every piece of work.
    bool isToStop() {
        const Moment now = std::chrono::steady_clock::now();
        if (now >= m_nextLook) {
            m_nextLook = now + listening;
            if (!listen())
                ::_exit(m_broken ? 1 : 0); // nobody waits for this any more
        }
        return m_cancelled;
    }

    /// False where the order is not one to be given now.
    bool obey(Order order) {
        // A cancellation that crossed the last report is none of this order's.
        m_cancelled = order.cancelled;
        UniqueFd descriptor;
        if (!order.descriptors.empty())
            descriptor = std::move(order.descriptors.front());
        std::optional<ipc::ModelReport> report;
        if (const auto* load = std::get_if<ipc::LoadModel>(&order.order)) {
            if (m_isShutIn || !shutIn(descriptor))
                return false;
            report = loaded(*load, descriptor.get());
        } else if (!m_isShutIn) {
            return false;
        } else if (const auto* warm = std::get_if<ipc::WarmModel>(&order.order)) {
            if (m_transcriber.isLoaded())
                report = m_transcriber.measure();
            else
                report = m_engine.warm(*warm, std::move(descriptor));
        } else if (const auto* ask = std::get_if<ipc::AskModel>(&order.order)) {
            report = m_engine.answer(*ask);
        } else if (const auto* sound = std::get_if<ipc::TranscribeSound>(&order.order)) {
            report = m_transcriber.transcribe(*sound, descriptor);
        }
        return report && ipc::sendPacket(m_socket, ipc::encode(*report), {}, sendTimeout);
    }

    ipc::ModelLoaded loaded(const ipc::LoadModel& order, int file) {
        switch (order.kind) {
        case ipc::ModelKind::language:
            return m_engine.load(file, order.describe);
        case ipc::ModelKind::speech:
            break;
        }
        return m_transcriber.load(file);
    }

    /// Before the first byte of the model is looked at.
    bool shutIn(const UniqueFd& file) {
        std::uint64_t size = 0;
        if (!file || !isReadOnlyFile(file.get(), size))
            return false;
        std::array kept{m_socket, file.get()};
        std::ranges::sort(kept);
        m_isShutIn = m_jail.enter(resourcesFor(size), kept, m_settings.parent);
        return m_isShutIn;
    }

    int m_socket;
    HostSettings m_settings;
    sandbox::Jail m_jail;
    Engine m_engine;           // one of these two has a model
    Transcriber m_transcriber; //
    std::deque<Order> m_waiting;
    Moment m_nextLook;
    bool m_isShutIn = false;
    bool m_cancelled = false;
    bool m_broken = false;
};

} // namespace

bool prepareHost() {
    int type = 0;
    socklen_t size = sizeof type;
    if (::getsockopt(socketNumber, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_SEQPACKET) {
        constexpr std::string_view hint = "vesto-model : ce service est lancé par vesto.\n";
        [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, hint.data(), hint.size());
        return false;
    }
    ::signal(SIGPIPE, SIG_IGN);
    // No file is looked for in the folder that the application stands in; no folder is kept from being
    // unmounted.
    if (::chdir("/") != 0)
        return false;
    ::setpriority(PRIO_PROCESS, 0, niceness);
    ::mallopt(M_ARENA_MAX, 2);
    const rlimit none{0, 0};
    return ::setrlimit(RLIMIT_CORE, &none) == 0;
}

int serve(int socket, const HostSettings& settings) {
    return Host(socket, settings).run();
}

} // namespace vesto::model
