#include "services/client/RemoteTranscriber.h"

#include <algorithm>
#include <utility>

namespace vesto {
namespace {

using ipc::ModelOutcome;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds noPause{0};                 // for what is seen without a host
constexpr std::chrono::seconds measuringTakes{30}; // far more than it may
constexpr milliseconds answerTakes{500}; // from the end of its time until the host has said what it has

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

milliseconds until(steady_clock::time_point end) {
    return std::max(std::chrono::duration_cast<milliseconds>(end - steady_clock::now()), milliseconds(0));
}

} // namespace

RemoteTranscriber::RemoteTranscriber(Settings settings)
    : m_settings(std::move(settings))
    , m_host(m_settings.program, m_settings.arguments, m_settings.windDown)
    , m_thread([this] { work(); }) {}

RemoteTranscriber::~RemoteTranscriber() {
    m_host.close();
    m_thread.join();
}

std::optional<std::vector<std::string>> RemoteTranscriber::transcribe(std::span<const std::int16_t> samples,
                                                                      const std::vector<std::string>& locales,
                                                                      Seconds timeout, std::stop_token stop) {
    const bool isToBeHeard = !isSilent(samples);
    auto sound = isToBeHeard ? SealedSound::of(samples) : std::nullopt;
    if (sound)
        return transcribe(*std::move(sound), locales, timeout, stop);
    const std::scoped_lock lock(m_jobs.mutex);
    m_facts.end = isToBeHeard ? End::failed : End::silence;
    return std::nullopt;
}

std::optional<std::vector<std::string>> RemoteTranscriber::transcribe(SealedSound sound,
                                                                      const std::vector<std::string>& locales,
                                                                      Seconds timeout,
                                                                      const std::stop_token& stop) {
    constexpr Seconds longest = milliseconds(ipc::limits::transcribingMilliseconds);
    const auto end = steady_clock::now() +
                     std::chrono::duration_cast<milliseconds>(std::clamp(timeout, Seconds(0), longest));
    const std::uint32_t samples = sound.samples();
    auto job = std::make_shared<Job>(std::move(sound), end);
    job->order = {.samples = samples, .languages = languagesOf(locales), .threads = 0};
    std::unique_lock lock(m_jobs.mutex);
    m_jobs.post(job, m_host);
    // The host ends in time of itself; it is told to only where it has something else to do.
    if (!m_jobs.await(lock, *job, stop, end + answerTakes, m_host)) {
        m_facts.end = stop.stop_requested() ? End::none : End::late;
        return std::nullopt;
    }
    if (job->lines.empty() || stop.stop_requested())
        return std::nullopt;
    return std::move(job->lines);
}

RemoteTranscriber::Facts RemoteTranscriber::facts() const {
    const std::scoped_lock lock(m_jobs.mutex);
    return m_facts;
}

// ---- The own thread ----

void RemoteTranscriber::work() {
    m_jobs.work(
        m_host, [this](Job& job) { perform(job); },
        [this] {
            if (!m_host.sleep())
                m_host.end();
        });
    m_host.end();
}

void RemoteTranscriber::perform(Job& job) {
    const auto start = steady_clock::now();
    auto report = hear(job);
    const std::scoped_lock lock(m_jobs.mutex);
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
        m_host.forgetDeaths();
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
        const bool isMeasured = ensureMeasured(job);
        bool isAbandoned = false;
        {
            const std::scoped_lock lock(m_jobs.mutex);
            isAbandoned = job.isAbandoned;
            job.isAsked = isMeasured && !isAbandoned;
        }
        if (isAbandoned) {
            if (!isMeasured) // too busy to stop in time, or the machine is
                m_host.end();
            return std::nullopt;
        }
        if (!isMeasured) {
            if (!buryHost())
                return std::nullopt;
            continue;
        }
        const auto isCancelled = [&] {
            const std::scoped_lock lock(m_jobs.mutex);
            return job.isCancelled;
        };
        job.order.threads = m_threads;
        job.order.longest = until(job.end);
        auto report = m_host.give<ipc::SoundTranscribed>(
            job.order, job.sound.descriptor(), job.order.longest + m_settings.windDown, isCancelled);
        if (report)
            return report;
        if (isCancelled()) { // too busy to stop in time, or the machine is
            m_host.end();
            return std::nullopt;
        }
        if (!buryHost())
            return std::nullopt;
        const std::scoped_lock lock(m_jobs.mutex);
        if (job.isCancelled)
            return std::nullopt;
        job.isAsked = false;
    }
    return std::nullopt;
}

/// After a report that did not come. Whether the host had left by itself.
bool RemoteTranscriber::buryHost() {
    const bool left = m_host.bury();
    if (m_host.diesAlways())
        static_cast<void>(conclude(ModelObstacle::dies, m_settings.recovery));
    return left;
}

/// How many threads are fastest; once a file. False where no report came.
bool RemoteTranscriber::ensureMeasured(Job& job) {
    if (m_threads > 0)
        return true;
    const auto report = m_host.give<ipc::ModelWarmed>(ipc::WarmModel{}, -1, measuringTakes, [&] {
        const std::scoped_lock lock(m_jobs.mutex);
        return job.isAbandoned;
    });
    if (report && report->outcome == ModelOutcome::done)
        m_threads = std::min(report->threads.reading, std::max(std::thread::hardware_concurrency(), 1U));
    return report.has_value();
}

bool RemoteTranscriber::ensureLoaded() {
    const auto file = openModelFile(m_settings.model);
    const auto identity = file ? std::optional(file->identity) : std::nullopt;
    if (identity != m_loaded) {
        m_host.end();
        m_loaded = identity;
        m_nextTry = {};
        m_threads = m_settings.threads;
        m_host.forgetDeaths();
        const std::scoped_lock lock(m_jobs.mutex);
        m_facts = Facts{};
    }
    if (!file)
        return conclude(ModelObstacle::noFile, noPause);
    if (m_host.isRunning() && !m_host.isGone())
        return true;
    if (steady_clock::now() < m_nextTry)
        return false;
    if (m_settings.freeMemory() < memoryForModel(file->identity.bytes))
        return conclude(ModelObstacle::memory, noPause);
    return startAndLoad(*file);
}

bool RemoteTranscriber::startAndLoad(const ModelFile& file) {
    const auto report =
        m_host.load({.kind = ipc::ModelKind::speech, .describe = true}, file, m_settings.freeMemory);
    if (!report)
        return report.error() != ModelObstacle::none && conclude(report.error(), m_settings.recovery);
    const std::scoped_lock lock(m_jobs.mutex);
    m_facts.obstacle = ModelObstacle::none;
    m_facts.name = report->name;
    return true;
}

/// Always false: what was to be done cannot be, and is not tried before the pause is over or the file is
/// another one.
bool RemoteTranscriber::conclude(ModelObstacle obstacle, milliseconds pause) {
    m_nextTry = steady_clock::now() + pause;
    if (obstacle == ModelObstacle::dies) {
        m_host.forgetDeaths();
        m_threads = m_settings.threads;
    }
    const std::scoped_lock lock(m_jobs.mutex);
    m_facts.obstacle = obstacle;
    return false;
}

} // namespace vesto
