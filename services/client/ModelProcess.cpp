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

constexpr std::chrono::seconds greetingTimeout{30}; // of a cold start on a busy machine
constexpr milliseconds sendTimeout{2000};

} // namespace

std::filesystem::path modelProgram() {
    return serviceProgram("vesto-model");
}

std::expected<ModelProcess, ModelProcess::StartFailure>
ModelProcess::start(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    // Read when the engine's library is loaded: a crash of it starts no debugger and prints nothing.
    auto process = ServiceProcess::start(program, arguments, {"GGML_NO_BACKTRACE=1"});
    if (!process)
        return std::unexpected(process.error() == ServiceProcess::Failure::programMissing
                                   ? StartFailure::programMissing
                                   : StartFailure::notStarted);
    auto failure = ipc::PacketFailure::none;
    if (!ipc::waitReadable(process->socket(), greetingTimeout))
        return std::unexpected(StartFailure::notStarted);
    const auto packet = ipc::receivePacket(process->socket(), ipc::ModelGreeting::maxBytes, 0, failure);
    auto greeting = packet ? ipc::decodeModelGreeting(packet->bytes) : std::nullopt;
    if (!greeting)
        return std::unexpected(StartFailure::notStarted);
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
        const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
        // Once it was told to stop, the bell rings for nobody.
        std::array<pollfd, 2> entries{pollfd{m_process.socket(), POLLIN, 0},
                                      pollfd{cancelled ? -1 : patience.bell, POLLIN, 0}};
        const int ready = ::poll(entries.data(), entries.size(),
                                 static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000)));
        if (ready == 0)
            return std::nullopt;
        if (entries[1].revents != 0) {
            std::uint64_t rung = 0;
            [[maybe_unused]] const ssize_t ignored = ::read(patience.bell, &rung, sizeof rung);
        }
        if (ready < 0 || entries[0].revents == 0)
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
