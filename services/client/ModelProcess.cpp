#include "services/client/ModelProcess.h"

#include "services/ipc/Packet.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <span>

namespace vesto {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds sendTimeout{2000};

enum class Heard { word, bell, nothing };

/// Waits for a word of the process or for the bell, which is silent again then. The bell alone where there is
/// nothing to say for sure.
Heard listen(int socket, int bell, steady_clock::time_point end) {
    const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    std::array<pollfd, 2> entries{pollfd{socket, POLLIN, 0}, pollfd{bell, POLLIN, 0}};
    const int ready = ::poll(entries.data(), entries.size(),
                             static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000)));
    if (ready == 0)
        return Heard::nothing;
    if (entries[1].revents != 0) {
        std::uint64_t rung = 0;
        [[maybe_unused]] const ssize_t ignored = ::read(bell, &rung, sizeof rung);
    }
    return ready > 0 && entries[0].revents != 0 ? Heard::word : Heard::bell;
}

/// Whether a word comes in time and before it is not waited for any more.
bool awaitWord(int socket, const ModelProcess::Patience& patience) {
    const auto end = steady_clock::now() + patience.longest;
    while (!patience.isCancelled()) {
        const Heard heard = listen(socket, patience.bell, end);
        if (heard != Heard::bell)
            return heard == Heard::word;
    }
    return false;
}

} // namespace

std::filesystem::path modelProgram() {
    return serviceProgram("vesto-model");
}

std::expected<ModelProcess, ModelProcess::StartFailure>
ModelProcess::start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                    const Patience& patience) {
    // Read when the engine's library is loaded: a crash of it starts no debugger and prints nothing.
    auto process = ServiceProcess::start(program, arguments, {"GGML_NO_BACKTRACE=1"});
    if (!process)
        return std::unexpected(process.error() == ServiceProcess::Failure::programMissing
                                   ? StartFailure::programMissing
                                   : StartFailure::notStarted);
    auto failure = ipc::PacketFailure::none;
    if (!awaitWord(process->socket(), patience))
        return std::unexpected(StartFailure::notStarted);
    const auto packet = ipc::receivePacket(process->socket(), ipc::ModelGreeting::maxBytes, 0, failure);
    auto greeting = packet ? ipc::decodeModelGreeting(packet->bytes) : std::nullopt;
    if (!greeting)
        return std::unexpected(process->end() == ServiceProcess::End::killed ? StartFailure::killed
                                                                             : StartFailure::notStarted);
    if (greeting->jail == ipc::Jail::none || greeting->jail == ipc::Jail::refused)
        return std::unexpected(StartFailure::noJail);
    return ModelProcess(*std::move(process), std::move(greeting->engine));
}

std::optional<ipc::ModelReport> ModelProcess::reportOf(const ipc::ModelOrder& order, int descriptor,
                                                       const Patience& patience) const {
    const std::array handed{descriptor};
    const std::span<const int> descriptors = descriptor < 0 ? std::span<const int>() : std::span(handed);
    if (!ipc::sendPacket(m_process.socket(), ipc::encode(order), descriptors, sendTimeout))
        return std::nullopt;
    auto end = steady_clock::now() + patience.longest;
    bool cancelled = false;
    for (;;) {
        if (!cancelled && patience.isCancelled()) {
            cancelled = true;
            end = steady_clock::now() + patience.windDown;
            if (!ipc::sendPacket(m_process.socket(), ipc::encode(ipc::ModelOrder(ipc::CancelWork{})), {},
                                 sendTimeout))
                return std::nullopt;
        }
        // Once it was told to stop, the bell rings for nobody.
        const Heard heard = listen(m_process.socket(), cancelled ? -1 : patience.bell, end);
        if (heard == Heard::nothing)
            return std::nullopt;
        if (heard == Heard::bell)
            continue;
        auto failure = ipc::PacketFailure::none;
        const auto packet = ipc::receivePacket(m_process.socket(), ipc::limits::reportBytes, 0, failure);
        if (packet)
            return ipc::decodeModelReport(packet->bytes);
        if (failure != ipc::PacketFailure::none)
            return std::nullopt;
    }
}

} // namespace vesto
