#include "services/client/RemoteTranscriber.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace vesto {
namespace {

using ipc::ModelOutcome;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::chrono::minutes loadingTakes{5};
constexpr std::chrono::seconds measuringTakes{30}; // far more than it may
constexpr std::chrono::minutes idle{6};            // after which a host has long left by itself
constexpr milliseconds answerTakes{500}; // from the end of its time until the host has said what it has
constexpr int mostDeaths = 3;            // of hosts without a recording heard to its end in between
constexpr int loudestSilence = 32;       // of 32,768; a thousandth

/// Models make words even of nothing.
bool isSilent(std::span<const std::int16_t> samples) {
    return std::ranges::all_of(samples, [](int sample) { return std::abs(sample) <= loudestSilence; });
}

/// "fr" of "fr_FR", each once.
std::vector<std::string> languagesOf(const std::vector<std::string>& locales) {
    std::vector<std::string> languages;
    for (const std::string& locale : locales) {
        const std::string language = locale.substr(0, locale.find_first_of("-_"));
        if (std::ranges::find(languages, language) == languages.end() &&
            languages.size() < ipc::limits::spokenLanguages)
            languages.push_back(language);
    }
    return languages;
}

/// Memory with these samples that nobody can change any more; none where the system refuses.
UniqueFd sealedMemory(std::span<const std::int16_t> samples) {
    UniqueFd memory(::memfd_create("vesto-sound", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const auto bytes = std::as_bytes(samples);
    for (std::size_t done = 0; memory && done < bytes.size();) {
        const ssize_t size = ::write(memory.get(), bytes.data() + done, bytes.size() - done);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return {};
        done += static_cast<std::size_t>(size);
    }
    constexpr int closed = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    if (memory && ::fcntl(memory.get(), F_ADD_SEALS, closed) != 0)
        return {};
    return memory;
}

milliseconds until(steady_clock::time_point end) {
    return std::max(std::chrono::duration_cast<milliseconds>(end - steady_clock::now()), milliseconds(0));
}

} // namespace

RemoteTranscriber::RemoteTranscriber(Settings settings)
    : m_settings(std::move(settings))
    , m_bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_thread([this] { work(); }) {}

RemoteTranscriber::~RemoteTranscriber() {
    m_closing = true;
    ring();
    m_thread.join();
}

std::optional<std::vector<std::string>> RemoteTranscriber::transcribe(std::span<const std::int16_t> samples,
                                                                      const std::vector<std::string>& locales,
                                                                      Seconds timeout, std::stop_token stop) {
    constexpr Seconds longest = milliseconds(ipc::limits::transcribingMilliseconds);
    const auto end = steady_clock::now() +
                     std::chrono::duration_cast<milliseconds>(std::clamp(timeout, Seconds(0), longest));
    samples = samples.first(std::min<std::size_t>(samples.size(), ipc::limits::heardSamples));
    auto job = std::make_shared<Job>();
    job->order = {.samples = static_cast<std::uint32_t>(samples.size()),
                  .languages = languagesOf(locales),
                  .threads = 0};
    job->end = end;
    const bool isToBeHeard = !isSilent(samples);
    if (isToBeHeard)
        job->sound = sealedMemory(samples);
    std::unique_lock lock(m_mutex);
    if (!job->sound) {
        m_facts.end = isToBeHeard ? End::failed : End::silence;
        return std::nullopt;
    }
    m_jobs.push_back(job);
    ring();
    const auto isDone = [&] { return job->isDone; };
    // The host ends in time of itself; it is told to only where it has something else to do.
    m_changed.wait_until(lock, stop, end + answerTakes, isDone);
    if (!job->isDone && !job->isAsked) {
        job->isAbandoned = true; // a model that is being loaded serves the next
        m_facts.end = stop.stop_requested() ? End::none : End::late;
        return std::nullopt;
    }
    if (!job->isDone) {
        job->isCancelled = true;
        ring();
        m_changed.wait(lock, isDone);
    }
    if (job->lines.empty() || stop.stop_requested())
        return std::nullopt;
    return std::move(job->lines);
}

RemoteTranscriber::Facts RemoteTranscriber::facts() const {
    const std::scoped_lock lock(m_mutex);
    return m_facts;
}

std::optional<pid_t> RemoteTranscriber::process() const {
    const std::scoped_lock lock(m_mutex);
    return m_pid;
}

void RemoteTranscriber::ring() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(m_bell.get(), &one, sizeof one);
}

// ---- The own thread ----

void RemoteTranscriber::work() {
    std::unique_lock lock(m_mutex);
    while (!m_closing) {
        if (m_jobs.empty()) {
            lock.unlock();
            waitForBell();
            lock.lock();
            continue;
        }
        const auto job = std::move(m_jobs.front());
        m_jobs.pop_front();
        if (job->isAbandoned)
            continue;
        lock.unlock();
        perform(*job);
        lock.lock();
        job->isDone = true;
        m_changed.notify_all();
    }
    for (const auto& job : m_jobs)
        job->isDone = true;
    m_changed.notify_all();
    lock.unlock();
    dropHost();
}

void RemoteTranscriber::waitForBell() {
    std::array<pollfd, 2> entries{pollfd{m_bell.get(), POLLIN, 0},
                                  pollfd{m_host ? m_host->process().socket() : -1, POLLIN, 0}};
    const int ready =
        ::poll(entries.data(), entries.size(), m_host ? static_cast<int>(milliseconds(idle).count()) : -1);
    if (entries[0].revents != 0) {
        eventfd_t rung = 0;
        static_cast<void>(::eventfd_read(m_bell.get(), &rung));
    }
    // It is gone, speaks unasked, or should have left.
    if (ready == 0 || entries[1].revents != 0)
        dropHost();
}

void RemoteTranscriber::perform(Job& job) {
    const auto start = steady_clock::now();
    auto report = hear(job);
    const std::scoped_lock lock(m_mutex);
    if (job.isAbandoned)
        return;
    m_facts.took = steady_clock::now() - start;
    m_facts.end = End::failed;
    if (!report)
        return;
    switch (report->outcome) {
    case ModelOutcome::done:
        m_facts.end = report->lines.empty() ? End::silence : End::heard;
        m_facts.language = std::move(report->language);
        job.lines = std::move(report->lines);
        m_deaths = 0;
        break;
    case ModelOutcome::late:
        m_facts.end = End::late;
        break;
    case ModelOutcome::cancelled:
        m_facts.end = steady_clock::now() >= job.end ? End::late : End::none;
        break;
    case ModelOutcome::unusable:
    case ModelOutcome::tooLong:
    case ModelOutcome::refused:
    case ModelOutcome::noMemory:
    case ModelOutcome::engine:
        break;
    }
}

/// Nothing where the host said nothing that can be used.
std::optional<ipc::SoundTranscribed> RemoteTranscriber::hear(Job& job) {
    // A host may leave, being idle, in the moment in which it is asked: that is not its end at our request.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!ensureLoaded())
            return std::nullopt;
        if (!ensureMeasured(job)) {
            if (!hasLeft())
                return std::nullopt;
            continue;
        }
        {
            const std::scoped_lock lock(m_mutex);
            if (job.isAbandoned)
                return std::nullopt;
            job.isAsked = true;
        }
        job.order.threads = m_threads;
        job.order.longest = until(job.end);
        auto report = m_host->give<ipc::SoundTranscribed>(
            job.order, job.sound.get(), patience(job.order.longest + m_settings.windDown, [&] {
                const std::scoped_lock lock(m_mutex);
                return m_closing || job.isCancelled;
            }));
        if (report)
            return report;
        if (!hasLeft())
            return std::nullopt;
    }
    return std::nullopt;
}

/// After a report that did not come: whether the host had left of itself. If not, that counts.
bool RemoteTranscriber::hasLeft() {
    const bool left = m_host->process().isGone(milliseconds(0)) && m_host->process().leftIdle();
    dropHost();
    if (!left && !m_closing && ++m_deaths >= mostDeaths)
        static_cast<void>(conclude(ModelObstacle::dies));
    return left;
}

/// How many threads are fastest; once a file. False where no report came.
bool RemoteTranscriber::ensureMeasured(Job& job) {
    if (m_threads > 0)
        return true;
    const auto report = m_host->give<ipc::ModelWarmed>(ipc::WarmModel{}, -1, patience(measuringTakes, [&] {
                                                           const std::scoped_lock lock(m_mutex);
                                                           return m_closing || job.isAbandoned;
                                                       }));
    if (report && report->outcome == ModelOutcome::done)
        m_threads = report->threads.reading;
    return report.has_value();
}

bool RemoteTranscriber::ensureLoaded() {
    const auto file = openModelFile(m_settings.model);
    const auto identity = file ? std::optional(file->identity) : std::nullopt;
    if (identity != m_loaded) {
        dropHost();
        m_loaded = identity;
        m_isUnusable = false;
        m_threads = m_settings.threads;
        m_deaths = 0;
        const std::scoped_lock lock(m_mutex);
        m_facts = Facts{};
    }
    if (!file)
        return conclude(ModelObstacle::noFile);
    if (m_host && m_host->process().isGone(milliseconds(0)))
        dropHost();
    if (m_host)
        return true;
    if (m_isUnusable)
        return false;
    if (m_settings.freeMemory() < memoryForModel(file->identity.bytes))
        return conclude(ModelObstacle::memory);
    return startAndLoad(*file);
}

bool RemoteTranscriber::startAndLoad(const ModelFile& file) {
    auto host = ModelProcess::start(m_settings.program, m_settings.arguments);
    if (!host) {
        switch (host.error()) {
        case ModelProcess::StartFailure::programMissing:
            return conclude(ModelObstacle::noEngine);
        case ModelProcess::StartFailure::noJail:
            return conclude(ModelObstacle::noJail);
        case ModelProcess::StartFailure::notStarted:
            return conclude(ModelObstacle::dies);
        }
    }
    m_host.emplace(*std::move(host));
    const auto report = m_host->give<ipc::ModelLoaded>(
        ipc::LoadModel{.kind = ipc::ModelKind::speech, .describe = true}, file.fd.get(),
        patience(loadingTakes, [&] { return m_closing.load(); }));
    if (!report || report->outcome != ModelOutcome::done) {
        dropHost();
        return !m_closing &&
               conclude(report && report->outcome == ModelOutcome::noMemory ? ModelObstacle::memory
                                                                            : ModelObstacle::refused);
    }
    const std::scoped_lock lock(m_mutex);
    m_pid = m_host->process().pid();
    m_facts.obstacle = ModelObstacle::none;
    m_facts.name = report->name;
    return true;
}

void RemoteTranscriber::dropHost() {
    m_host.reset();
    const std::scoped_lock lock(m_mutex);
    m_pid.reset();
}

/// Always false: what was to be done cannot be. Until the file is another one, but for what may be otherwise
/// a moment later.
bool RemoteTranscriber::conclude(ModelObstacle obstacle) {
    m_isUnusable = obstacle != ModelObstacle::memory && obstacle != ModelObstacle::noFile;
    const std::scoped_lock lock(m_mutex);
    m_facts.obstacle = obstacle;
    return false;
}

ModelProcess::Patience RemoteTranscriber::patience(milliseconds longest,
                                                   std::function<bool()> isCancelled) const {
    return {.bell = m_bell.get(),
            .isCancelled = std::move(isCancelled),
            .longest = longest,
            .windDown = m_settings.windDown};
}

} // namespace vesto
