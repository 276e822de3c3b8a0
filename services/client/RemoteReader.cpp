#include "services/client/RemoteReader.h"

#include "core/extraction/Summarizer.h"
#include "core/files/FileName.h"
#include "core/support/Alarm.h"
#include "core/support/Clock.h"
#include "services/ipc/Packet.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stop_token>
#include <utility>

namespace vesto {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int mostDeaths = 2;         // of the service with one file
constexpr int mostIdleDepartures = 3; // of the service just when one file was handed over
constexpr milliseconds sendTimeout{2000};
constexpr milliseconds deathTakes{20}; // between the end of a dying service's pipes and of its socket

ipc::Question questionOf(const ReadRequest& request, ipc::Question::About about,
                         std::vector<std::string> languages) {
    return {.about = about,
            .route = request.route,
            .type = request.type.identifier,
            .fileName = std::string(lastComponentOf(request.path)),
            .bestDate = request.bestDate,
            .recognitionLanguages = std::move(languages)};
}

SummarizerError errorOf(const std::optional<ipc::Answer>& answer, const ReadRequest& request) {
    const auto* failure = answer ? std::get_if<ipc::Failure>(&*answer) : nullptr;
    return failure != nullptr && *failure == ipc::Failure::locked ? SummarizerError::locked(request.path)
                                                                  : SummarizerError::unreadable(request.path);
}

/// Waits for what comes out of a pipe as long as somebody wants it.
class Patience {
public:
    Patience(const std::stop_token& stop, steady_clock::time_point end)
        : m_stop(stop)
        , m_end(end)
        , m_stopped(stop, [this] { m_alarm.ring(); }) {}

    bool untilReadable(int pipe) {
        while (!m_stop.stop_requested()) {
            const auto left = m_end - steady_clock::now();
            // What has arrived is taken even by somebody who comes late: after a stop in the shell, say.
            if (m_alarm.wait(systemClock().sinceBoot() + left, pipe).readable)
                return true;
            if (left <= steady_clock::duration::zero())
                return false;
        }
        return false;
    }

private:
    const std::stop_token& m_stop;
    steady_clock::time_point m_end;
    Alarm m_alarm;
    std::stop_callback<std::function<void()>> m_stopped; // last: it rings the alarm
};

/// All that comes out of `pipe` until its other end is closed, as far as it is an answer.
std::optional<ipc::Answer> answerFrom(int pipe, const ReadRequest& request, steady_clock::time_point end) {
    ipc::AnswerDecoder decoder(request.onStage);
    std::vector<char> buffer(std::size_t{1} << 16);
    Patience patience(request.stop, end);
    for (;;) {
        if (!patience.untilReadable(pipe))
            return std::nullopt;
        const ssize_t size = ::read(pipe, buffer.data(), buffer.size());
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return std::nullopt;
        if (size == 0)
            return decoder.finish();
        if (!decoder.take({buffer.data(), static_cast<std::size_t>(size)}))
            return std::nullopt;
    }
}

} // namespace

RemoteReader::RemoteReader(Settings settings)
    : m_settings(std::move(settings))
    , m_places(static_cast<std::ptrdiff_t>(ipc::readingsAtOnce())) {}

RemoteReader::~RemoteReader() {
    if (!m_undertaker.joinable())
        return;
    m_undertaker.request_stop();
    m_changed.ring();
    m_undertaker.join();
}

std::expected<ipc::Jail, ReaderStartFailure> RemoteReader::start() {
    auto service = running();
    if (!service)
        return std::unexpected(service.error());
    return (*service)->jail();
}

std::optional<pid_t> RemoteReader::process() const {
    const std::scoped_lock lock(m_mutex);
    return m_running ? std::optional(m_running->pid()) : std::nullopt;
}

std::expected<RemoteReader::Running, ReaderStartFailure> RemoteReader::running() {
    const std::scoped_lock lock(m_mutex);
    if (m_running && !m_running->isGone(milliseconds(0)))
        return m_running;
    m_running.reset();
    auto started = ReaderProcess::start(m_settings.program, m_settings.arguments);
    if (!started)
        return started;
    m_running = *started;
    if (!m_undertaker.joinable())
        m_undertaker = std::jthread([this](const std::stop_token& stop) { letGoOfTheDead(stop); });
    m_changed.ring();
    return started;
}

/// A service that has left stays in the system's table of processes until its last owner is gone.
void RemoteReader::letGoOfTheDead(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        Running service;
        {
            const std::scoped_lock lock(m_mutex);
            service = m_running;
        }
        // Answers have pipes of their own: what shows here is its end, or nonsense.
        if (!m_changed.wait(std::nullopt, service ? service->socket() : -1).readable)
            continue;
        const std::scoped_lock lock(m_mutex);
        if (m_running == service)
            m_running.reset();
    }
}

std::optional<ipc::Answer> RemoteReader::askOnce(const ReaderProcess& service, const ReadRequest& request,
                                                 std::string_view question) const {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::nullopt;
    const UniqueFd ours(ends[0]);
    UniqueFd theirs(ends[1]);
    const std::array handed{request.fd, theirs.get()};
    const auto end = steady_clock::now() + m_settings.patience(request.route);
    if (!ipc::sendPacket(service.socket(), question, handed, sendTimeout))
        return std::nullopt;
    theirs.reset(); // else the end of the answer would never be seen
    return answerFrom(ours.get(), request, end);
}

std::optional<ipc::Answer> RemoteReader::ask(const ReadRequest& request, const ipc::Question& question) {
    const std::string bytes = ipc::encode(question);
    m_places.acquire();
    struct Place {
        std::counting_semaphore<>& places;
        ~Place() { places.release(); }
    } const place{m_places};
    int deaths = 0;
    int departures = 0;
    while (deaths < mostDeaths && departures < mostIdleDepartures) {
        const auto service = running();
        if (!service)
            return std::nullopt;
        auto answer = askOnce(**service, request, bytes);
        if (answer || request.stop.stop_requested() || !(*service)->isGone(deathTakes))
            return answer;
        ++((*service)->leftIdle() ? departures : deaths);
    }
    return std::nullopt;
}

std::expected<Reading, SummarizerError> RemoteReader::read(const ReadRequest& request,
                                                           const SummarizerSettings& settings) {
    auto answer =
        ask(request, questionOf(request, ipc::Question::About::summary, settings.image.recognitionLanguages));
    auto* reading = answer ? std::get_if<Reading>(&*answer) : nullptr;
    if (reading == nullptr)
        return std::unexpected(errorOf(answer, request));
    return std::move(*reading);
}

std::expected<Preview, SummarizerError> RemoteReader::preview(const ReadRequest& request) {
    auto answer = ask(request, questionOf(request, ipc::Question::About::preview, {}));
    auto* preview = answer ? std::get_if<Preview>(&*answer) : nullptr;
    if (preview == nullptr)
        return std::unexpected(errorOf(answer, request));
    return std::move(*preview);
}

} // namespace vesto
