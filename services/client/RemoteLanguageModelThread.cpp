// The thread that alone talks to the host.
#include "services/client/RemoteLanguageModel.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace vesto {
namespace {

using ipc::ModelOutcome;

constexpr std::chrono::minutes warmingTakes{10};
constexpr std::chrono::minutes answeringTakes{5};
constexpr std::chrono::milliseconds noPause{0}; // for what is seen without a host
constexpr std::uint32_t manyNews = 20;          // titles whose time is written down at last
constexpr std::size_t mostPrefixes = 3;         // that are kept: one for each language, of 7 to 17 MB

/// In bytes, as far as this program's files may go; pages that nobody writes to take none. Where it is too
/// little, the state is not kept.
off_t roomForPrefix() {
    constexpr rlim_t ample = rlim_t{512} << 20;
    rlimit limit{};
    const bool isKnown = ::getrlimit(RLIMIT_FSIZE, &limit) == 0;
    return static_cast<off_t>(isKnown ? std::min(ample, limit.rlim_cur) : ample);
}

/// More threads than there are processors here no host has measured: then they are measured again.
ipc::ModelThreads believable(const ipc::ModelThreads& threads) {
    return std::max(threads.reading, threads.writing) <= std::max(std::thread::hardware_concurrency(), 1U)
               ? threads
               : ipc::ModelThreads{};
}

} // namespace

void RemoteLanguageModel::work() {
    m_jobs.work(
        m_host, [this](Job& job) { perform(job); },
        [this] {
            keepNote(manyNews);
            if (!m_host.sleep())
                dropHost();
        });
    dropHost();
}

void RemoteLanguageModel::perform(Job& job) {
    switch (job.kind) {
    case Job::Kind::load:
        static_cast<void>(ensureLoaded());
        break;
    case Job::Kind::warm:
        if (ensureLoaded())
            static_cast<void>(ensureWarm(job.request.instructions, isAwaited()));
        break;
    case Job::Kind::ask:
        job.result = ask(job);
        break;
    }
}

std::expected<ProposedName, LanguageModel::Failure> RemoteLanguageModel::ask(Job& job) {
    using Code = Failure::Code;
    const ipc::AskModel order{.prompt = job.request.prompt,
                              .maxTokens =
                                  std::min(static_cast<std::uint32_t>(std::max(job.request.maxTokens, 0)),
                                           ipc::limits::answerTokens)};
    // A host may leave, being idle, in the moment in which it is asked: that is not its end at our request.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (!ensureLoaded())
            return std::unexpected(Failure{Code::engine, "the model could not be loaded"});
        if (!ensureWarm(job.request.instructions, true))
            return std::unexpected(Failure{Code::engine, "the instructions could not be evaluated"});
        {
            const std::scoped_lock lock(m_jobs.mutex);
            if (job.isAbandoned)
                return std::unexpected(Failure{Code::cancelled, ""});
            job.isAsked = true;
        }
        const auto isCancelled = [&] {
            const std::scoped_lock lock(m_jobs.mutex);
            return job.isCancelled;
        };
        const auto start = std::chrono::steady_clock::now();
        m_hostHasRead = true;
        const auto report = m_host.give<ipc::ModelAnswered>(order, -1, answeringTakes, isCancelled);
        if (!report) {
            if (isCancelled()) { // too busy to stop in time, or the machine is
                dropHost();
                return std::unexpected(Failure{Code::cancelled, "cancelled; the host had to be ended"});
            }
            if (!buryHost())
                return std::unexpected(Failure{Code::engine, "the host of the model ended"});
            const std::scoped_lock lock(m_jobs.mutex);
            if (job.isCancelled)
                return std::unexpected(Failure{Code::cancelled, ""});
            job.isAsked = false;
            continue;
        }
        auto title = titleOf(*report);
        if (title)
            measure(job, *report, std::chrono::steady_clock::now() - start);
        return title;
    }
    return std::unexpected(Failure{Code::engine, "the host of the model left"});
}

void RemoteLanguageModel::measure(Job& job, const ipc::ModelAnswered& report,
                                  std::chrono::duration<double> took) {
    m_host.forgetDeaths();
    const std::scoped_lock lock(m_jobs.mutex);
    job.written = {.tokens = report.tokens, .refusals = report.refusals};
    m_facts.lastTokens = report.tokens;
    m_facts.lastRefusals = report.refusals;
    m_facts.lastFirstToken = report.firstToken;
    if (!m_note)
        return; // somebody has seen another file meanwhile
    m_note->measured(took);
    m_facts.titles = m_note->titles;
    m_facts.perTitle = m_note->perTitle;
    m_news += m_note->titles == 1 ? manyNews : 1;
}

/// Where at least so many things in it are new.
void RemoteLanguageModel::keepNote(std::uint32_t leastNews) {
    ModelNote note;
    {
        const std::scoped_lock lock(m_jobs.mutex);
        if (!m_note || m_news < leastNews)
            return;
        m_news = 0;
        note = *m_note;
    }
    m_settings.notes.keep(fileName(), note);
}

std::expected<ProposedName, LanguageModel::Failure>
RemoteLanguageModel::titleOf(const ipc::ModelAnswered& report) {
    using Code = Failure::Code;
    switch (report.outcome) {
    case ModelOutcome::done:
        if (report.title.empty())
            return std::unexpected(Failure{Code::unusable, "an empty title"});
        return ProposedName{report.title};
    case ModelOutcome::cancelled:
        return std::unexpected(Failure{Code::cancelled, "cancelled"});
    case ModelOutcome::unusable:
        return std::unexpected(
            Failure{Code::unusable, "no title within " + std::to_string(report.tokens) + " tokens"});
    case ModelOutcome::tooLong:
        return std::unexpected(Failure{Code::tooLong, "the context is too small for " +
                                                          std::to_string(report.promptTokens) + " tokens"});
    case ModelOutcome::refused:
    case ModelOutcome::noMemory:
    case ModelOutcome::engine:
    case ModelOutcome::late:
        break;
    }
    return std::unexpected(Failure{Code::engine, "the engine failed"});
}

bool RemoteLanguageModel::ensureLoaded() {
    const auto file = openModelFile(m_settings.model);
    {
        const std::scoped_lock lock(m_jobs.mutex);
        const auto identity = file ? std::optional(file->identity) : std::nullopt;
        if (identity != m_identity)
            turnTo(identity);
    }
    if (!file || m_loaded != file->identity) {
        dropHost();
        m_prefixes.clear();
        m_threads = {};
        m_host.forgetDeaths();
        m_loaded = file ? std::optional(file->identity) : std::nullopt;
    }
    if (!file)
        return conclude(Obstacle::noFile, noPause);
    if (isRunningAsSaid())
        return true;
    dropHost();
    {
        const std::scoped_lock lock(m_jobs.mutex);
        if (m_known == Known::unusable && !mayBeOtherwise())
            return false;
    }
    if (const Obstacle obstacle = obstacleInSight(file->identity.bytes); obstacle != Obstacle::none)
        return conclude(obstacle, noPause);
    return startAndLoad(*file);
}

/// Whether there is a host, and what is known of its model is what it has told. Where the file was not to be
/// seen for a moment, that was forgotten: a new host tells it again.
bool RemoteLanguageModel::isRunningAsSaid() const {
    if (!m_host.isRunning() || m_host.isGone())
        return false;
    const std::scoped_lock lock(m_jobs.mutex);
    return m_identity != m_loaded || m_known == Known::usable;
}

bool RemoteLanguageModel::startAndLoad(const ModelFile& file) {
    bool isFirst = false;
    {
        const std::scoped_lock lock(m_jobs.mutex);
        isFirst = m_known != Known::usable;
        if (isFirst)
            m_known = Known::loading;
    }
    m_hostHasRead = false;
    m_isWritingMeasured = false; // the processors may have been busy when it was
    const auto report =
        m_host.load({.kind = ipc::ModelKind::language, .describe = isFirst}, file, m_settings.freeMemory);
    if (!report)
        return report.error() != Obstacle::none && conclude(report.error(), m_settings.recovery);
    const std::scoped_lock lock(m_jobs.mutex);
    if (m_identity != file.identity)
        return true; // somebody has seen another file meanwhile: nothing is said of that one
    m_known = Known::usable;
    m_facts.obstacle = Obstacle::none;
    m_facts.bytes = file.identity.bytes;
    m_facts.engine = m_host.engine();
    m_facts.parameters = report->parameters;
    m_facts.context = report->context;
    if (isFirst) {
        m_facts.name = report->name;
        m_facts.architecture = report->architecture;
        m_facts.languages = report->languages;
        m_note = ModelNote{.identity = file.identity,
                           .name = m_facts.name,
                           .architecture = m_facts.architecture,
                           .parameters = m_facts.parameters,
                           .languages = m_facts.languages,
                           .titles = m_facts.titles,
                           .perTitle = m_facts.perTitle};
        m_news = manyNews;
    }
    return true;
}

bool RemoteLanguageModel::ensureWarm(const std::string& instructions, bool isInHaste) {
    if (m_warmFor == instructions)
        return true;
    const Prefix* kept = keptFor(instructions);
    const bool isKept = kept != nullptr;
    UniqueFd memory;
    if (!isKept) {
        memory.reset(::memfd_create("vesto-prefix", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        if (!memory || ::ftruncate(memory.get(), roomForPrefix()) != 0)
            return false;
    }
    ipc::ModelThreads threads = m_threads;
    if (!m_isWritingMeasured && !isInHaste)
        threads.writing = 0;
    const ipc::WarmModel order{
        .instructions = instructions, .stateBytes = isKept ? kept->bytes : 0, .threads = threads};
    const auto report =
        m_host.give<ipc::ModelWarmed>(order, isKept ? kept->memory.get() : memory.get(), warmingTakes);
    if (!report) {
        static_cast<void>(buryHost());
        return false;
    }
    if (isKept && !report->kept)
        m_prefixes.pop_back();
    if (report->outcome != ModelOutcome::done) {
        m_warmFor.reset();
        if (report->outcome == ModelOutcome::noMemory) {
            dropHost();
            return conclude(Obstacle::memory, m_settings.recovery);
        }
        return false;
    }
    m_warmFor = instructions;
    m_threads = believable(report->threads);
    m_isWritingMeasured = m_isWritingMeasured || threads.writing == 0;
    if (!isKept)
        keepPrefix(instructions, std::move(memory), report->stateBytes);
    const std::scoped_lock lock(m_jobs.mutex);
    m_facts.lastStartKept = report->kept;
    return true;
}

/// Whether a title is asked for already.
bool RemoteLanguageModel::isAwaited() const {
    const std::scoped_lock lock(m_jobs.mutex);
    return std::ranges::any_of(m_jobs.waiting(), [](const auto& job) { return job->kind == Job::Kind::ask; });
}

/// Stands last then; null where there is none.
const RemoteLanguageModel::Prefix* RemoteLanguageModel::keptFor(const std::string& instructions) {
    const auto found = std::ranges::find_if(m_prefixes, [&](const Prefix& prefix) {
        return prefix.instructions == instructions && prefix.engine == m_host.engine();
    });
    if (found == m_prefixes.end())
        return nullptr;
    std::rotate(found, found + 1, m_prefixes.end());
    return &m_prefixes.back();
}

void RemoteLanguageModel::keepPrefix(const std::string& instructions, UniqueFd memory, std::uint64_t bytes) {
    if (bytes == 0 || bytes > static_cast<std::uint64_t>(roomForPrefix()))
        return;
    constexpr int closed = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    if (::ftruncate(memory.get(), static_cast<off_t>(bytes)) != 0 ||
        ::fcntl(memory.get(), F_ADD_SEALS, closed) != 0)
        return;
    std::erase_if(m_prefixes, [&](const Prefix& prefix) { return prefix.instructions == instructions; });
    if (m_prefixes.size() == mostPrefixes)
        m_prefixes.erase(m_prefixes.begin());
    m_prefixes.push_back({instructions, m_host.engine(), std::move(memory), bytes, m_hostHasRead});
}

/// After a report that did not come. Whether the host had left by itself.
bool RemoteLanguageModel::buryHost() {
    const bool left = m_host.bury();
    dropHost();
    if (m_host.diesAlways())
        static_cast<void>(conclude(Obstacle::dies, m_settings.recovery));
    return left;
}

void RemoteLanguageModel::dropHost() {
    keepNote(1);
    m_warmFor.reset();
    std::erase_if(m_prefixes, [](const Prefix& prefix) { return prefix.isForThisHost; });
    m_host.end();
}

/// Always false: what was to be done cannot be, and is not tried before the pause is over.
bool RemoteLanguageModel::conclude(Obstacle obstacle, std::chrono::milliseconds pause) {
    const bool isNoteWrong = obstacle == Obstacle::refused || obstacle == Obstacle::dies;
    bool wasNoted = false;
    if (obstacle == Obstacle::dies) {
        m_host.forgetDeaths();
        m_prefixes.clear(); // or what the next one is handed is what it dies of
        m_threads = {};
    }
    {
        const std::scoped_lock lock(m_jobs.mutex);
        if (m_identity == m_loaded) {
            m_known = Known::unusable;
            m_facts.obstacle = obstacle;
            m_nextTry = std::chrono::steady_clock::now() + pause;
            wasNoted = isNoteWrong && std::exchange(m_note, std::nullopt).has_value();
        }
    }
    if (wasNoted)
        m_settings.notes.forget(fileName());
    return false;
}

} // namespace vesto
