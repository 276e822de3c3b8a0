#include "services/client/ModelHost.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <array>
#include <utility>

namespace vesto {
namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds greetingTakes{30}; // of a cold start on a busy machine
constexpr std::chrono::minutes loadingTakes{5};
constexpr std::chrono::minutes idle{6}; // after which a host has long left by itself
constexpr int mostDeaths = 3;           // in a row

ModelObstacle obstacleOf(ModelProcess::StartFailure failure) {
    switch (failure) {
    case ModelProcess::StartFailure::programMissing:
        return ModelObstacle::noEngine;
    case ModelProcess::StartFailure::noJail:
        return ModelObstacle::noJail;
    case ModelProcess::StartFailure::notStarted:
    case ModelProcess::StartFailure::killed:
        break;
    }
    return ModelObstacle::dies;
}

} // namespace

ModelHost::ModelHost(std::filesystem::path program, std::vector<std::string> arguments, milliseconds windDown)
    : m_program(std::move(program))
    , m_arguments(std::move(arguments))
    , m_windDown(windDown)
    , m_bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void ModelHost::ring() const {
    static_cast<void>(::eventfd_write(m_bell.get(), 1));
}

void ModelHost::close() {
    m_isClosing = true;
    ring();
}

std::optional<pid_t> ModelHost::process() const {
    const pid_t pid = m_pid;
    return pid == 0 ? std::nullopt : std::optional(pid);
}

bool ModelHost::sleep() {
    std::array<pollfd, 2> entries{pollfd{m_bell.get(), POLLIN, 0},
                                  pollfd{m_process ? m_process->process().socket() : -1, POLLIN, 0}};
    const int ready =
        ::poll(entries.data(), entries.size(), m_process ? static_cast<int>(milliseconds(idle).count()) : -1);
    if (entries[0].revents != 0) {
        eventfd_t rung = 0;
        static_cast<void>(::eventfd_read(m_bell.get(), &rung));
    }
    return ready != 0 && entries[1].revents == 0;
}

bool ModelHost::isGone() const {
    return m_process && m_process->process().isGone(milliseconds(0));
}

std::expected<ipc::ModelLoaded, ModelObstacle>
ModelHost::load(const ipc::LoadModel& order, const ModelFile& file,
                const std::function<std::uint64_t()>& freeMemory) {
    for (;;) {
        auto loaded = loadOnce(order, file);
        if (loaded)
            return *std::move(loaded);
        if (m_isClosing)
            return std::unexpected(ModelObstacle::none);
        if (!loaded.error().wasKilled)
            return std::unexpected(loaded.error().obstacle);
        if (freeMemory() < memoryForModel(file.identity.bytes))
            return std::unexpected(ModelObstacle::memory); // which may be why it was killed
        if (++m_deaths >= mostDeaths)
            return std::unexpected(loaded.error().obstacle);
    }
}

/// Of the file it says something only where the host itself gave it up.
std::expected<ipc::ModelLoaded, ModelHost::LoadFailure> ModelHost::loadOnce(const ipc::LoadModel& order,
                                                                            const ModelFile& file) {
    end();
    auto process = ModelProcess::start(m_program, m_arguments, patience(greetingTakes, {}));
    if (!process)
        return std::unexpected(
            LoadFailure{.obstacle = obstacleOf(process.error()),
                        .wasKilled = process.error() == ModelProcess::StartFailure::killed});
    m_process.emplace(*std::move(process));
    auto report = give<ipc::ModelLoaded>(order, file.fd.get(), loadingTakes);
    if (report && report->outcome == ipc::ModelOutcome::done) {
        m_pid = m_process->process().pid();
        return *std::move(report);
    }
    const bool wasKilled = !report && m_process->process().end() == ServiceProcess::End::killed;
    end();
    if (!report)
        return std::unexpected(LoadFailure{.obstacle = ModelObstacle::dies, .wasKilled = wasKilled});
    return std::unexpected(LoadFailure{.obstacle = report->outcome == ipc::ModelOutcome::noMemory
                                                       ? ModelObstacle::memory
                                                       : ModelObstacle::refused});
}

void ModelHost::end() {
    m_pid = 0; // nobody is told a number that is another's by now
    m_process.reset();
}

bool ModelHost::bury() {
    const bool left = isGone() && m_process->process().end() == ServiceProcess::End::left;
    end();
    if (!left && !m_isClosing)
        ++m_deaths;
    return left;
}

bool ModelHost::diesAlways() const {
    return m_deaths >= mostDeaths;
}

ModelProcess::Patience ModelHost::patience(milliseconds longest,
                                           const std::function<bool()>& isCancelled) const {
    return {.bell = m_bell.get(),
            .isCancelled = [this, &isCancelled] { return m_isClosing || (isCancelled && isCancelled()); },
            .longest = longest,
            .windDown = m_windDown};
}

} // namespace vesto
