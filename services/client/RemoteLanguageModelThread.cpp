// The thread that alone talks to the host.
#include "services/client/RemoteLanguageModel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace vesto {
namespace {

using ipc::ModelOutcome;
using std::chrono::milliseconds;

constexpr std::chrono::minutes loadingTakes{5};
constexpr std::chrono::minutes warmingTakes{10};
constexpr std::chrono::minutes answeringTakes{5};
constexpr std::chrono::minutes idle{6};           // after which a host has long left by itself
constexpr int mostDeaths = 3;                     // of hosts without a title in between
constexpr off_t roomForPrefix = off_t{512} << 20; // bytes; pages that nobody writes to take none
constexpr std::uint32_t manyNews = 20;            // titles whose time is written down at last

} // namespace

void RemoteLanguageModel::work() {
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
        m_current = job;
        lock.unlock();
        perform(*job);
        lock.lock();
        m_current.reset();
        m_changed.notify_all();
        lock.unlock();
        keepNote(manyNews);
        lock.lock();
    }
    for (const auto& job : m_jobs)
        job->result = std::unexpected(Failure{Failure::Code::cancelled, "the application ends"});
    m_changed.notify_all();
    lock.unlock();
    dropHost();
}

void RemoteLanguageModel::waitForBell() {
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

void RemoteLanguageModel::perform(Job& job) {
    switch (job.kind) {
    case Job::Kind::load: {
        static_cast<void>(ensureLoaded());
        const std::scoped_lock lock(m_mutex);
        m_loadIsPosted = false;
        break;
    }
    case Job::Kind::warm:
        if (ensureLoaded())
            static_cast<void>(ensureWarm(job.request.instructions));
        break;
    case Job::Kind::ask: {
        auto result = ask(job);
        const std::scoped_lock lock(m_mutex);
        job.result = std::move(result);
        break;
    }
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
        if (!ensureWarm(job.request.instructions))
            return std::unexpected(Failure{Code::engine, "the instructions could not be evaluated"});
        {
            const std::scoped_lock lock(m_mutex);
            if (job.isAbandoned)
                return std::unexpected(Failure{Code::cancelled, ""});
            job.isAsked = true;
        }
        const auto start = std::chrono::steady_clock::now();
        m_hostHasRead = true;
        const auto report = m_host->give<ipc::ModelAnswered>(order, -1, patience(answeringTakes, [&] {
                                                                 const std::scoped_lock lock(m_mutex);
                                                                 return m_closing || job.isCancelled;
                                                             }));
        if (!report) {
            const bool left = m_host->process().isGone(milliseconds(0)) && m_host->process().leftIdle();
            if (left && attempt == 0) {
                dropHost();
                continue;
            }
            hostDied();
            const std::scoped_lock lock(m_mutex);
            if (job.isCancelled)
                return std::unexpected(Failure{Code::cancelled, "cancelled; the host had to be ended"});
            return std::unexpected(Failure{Code::engine, "the host of the model ended"});
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
    m_deaths = 0;
    const std::scoped_lock lock(m_mutex);
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
        const std::scoped_lock lock(m_mutex);
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
        const std::scoped_lock lock(m_mutex);
        const auto identity = file ? std::optional(file->identity) : std::nullopt;
        if (identity != m_identity)
            turnTo(identity);
    }
    if (!file || m_loaded != file->identity) {
        dropHost();
        m_prefix.reset();
        m_threads = {};
        m_deaths = 0;
        m_loaded = file ? std::optional(file->identity) : std::nullopt;
    }
    if (!file)
        return conclude(Obstacle::noFile);
    if (m_host && m_host->process().isGone(milliseconds(0)))
        dropHost();
    if (m_host)
        return true;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_known == Known::unusable && m_facts.obstacle != Obstacle::memory)
            return false;
    }
    if (m_settings.freeMemory() < memoryForModel(file->identity.bytes))
        return conclude(Obstacle::memory);
    return startAndLoad(*file);
}

bool RemoteLanguageModel::startAndLoad(const ModelFile& file) {
    bool isFirst = false;
    {
        const std::scoped_lock lock(m_mutex);
        isFirst = m_known != Known::usable;
        if (isFirst)
            m_known = Known::loading;
    }
    auto host = ModelProcess::start(m_settings.program, m_settings.arguments);
    if (!host) {
        switch (host.error()) {
        case ModelProcess::StartFailure::programMissing:
            return conclude(Obstacle::noEngine);
        case ModelProcess::StartFailure::noJail:
            return conclude(Obstacle::noJail);
        case ModelProcess::StartFailure::notStarted:
            return conclude(Obstacle::dies);
        }
    }
    m_host.emplace(*std::move(host));
    m_hostHasRead = false;
    const auto report =
        m_host->give<ipc::ModelLoaded>(ipc::LoadModel{.describe = isFirst}, file.fd.get(),
                                       patience(loadingTakes, [&] { return m_closing.load(); }));
    if (!report || report->outcome != ModelOutcome::done) {
        dropHost();
        if (m_closing)
            return false;
        return conclude(report && report->outcome == ModelOutcome::noMemory ? Obstacle::memory
                                                                            : Obstacle::refused);
    }
    const std::scoped_lock lock(m_mutex);
    m_pid = m_host->process().pid();
    if (m_identity != file.identity)
        return true; // somebody has seen another file meanwhile: nothing is said of that one
    m_known = Known::usable;
    m_facts.obstacle = Obstacle::none;
    m_facts.bytes = file.identity.bytes;
    m_facts.engine = m_host->engine();
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

bool RemoteLanguageModel::ensureWarm(const std::string& instructions) {
    if (m_warmFor == instructions)
        return true;
    const bool isKept =
        m_prefix && m_prefix->instructions == instructions && m_prefix->engine == m_host->engine();
    UniqueFd memory;
    if (!isKept) {
        memory.reset(::memfd_create("vesto-prefix", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        if (!memory || ::ftruncate(memory.get(), roomForPrefix) != 0)
            return false;
    }
    const ipc::WarmModel order{
        .instructions = instructions, .stateBytes = isKept ? m_prefix->bytes : 0, .threads = m_threads};
    const auto report =
        m_host->give<ipc::ModelWarmed>(order, isKept ? m_prefix->memory.get() : memory.get(),
                                       patience(warmingTakes, [&] { return m_closing.load(); }));
    if (!report) {
        hostDied();
        return false;
    }
    if (isKept && !report->kept)
        m_prefix.reset();
    if (report->outcome != ModelOutcome::done) {
        m_warmFor.reset();
        return false;
    }
    m_warmFor = instructions;
    m_threads = report->threads;
    if (!isKept)
        keepPrefix(instructions, std::move(memory), report->stateBytes);
    const std::scoped_lock lock(m_mutex);
    m_facts.lastStartKept = report->kept;
    return true;
}

void RemoteLanguageModel::keepPrefix(const std::string& instructions, UniqueFd memory, std::uint64_t bytes) {
    m_prefix.reset();
    // What a host made after it had read a document could carry something of it to the next.
    if (m_hostHasRead || bytes == 0 || bytes > static_cast<std::uint64_t>(roomForPrefix))
        return;
    constexpr int closed = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    if (::ftruncate(memory.get(), static_cast<off_t>(bytes)) != 0 ||
        ::fcntl(memory.get(), F_ADD_SEALS, closed) != 0)
        return;
    m_prefix = Prefix{instructions, m_host->engine(), std::move(memory), bytes};
}

void RemoteLanguageModel::hostDied() {
    dropHost();
    if (!m_closing && ++m_deaths >= mostDeaths)
        static_cast<void>(conclude(Obstacle::dies));
}

void RemoteLanguageModel::dropHost() {
    keepNote(1);
    m_host.reset();
    m_warmFor.reset();
    const std::scoped_lock lock(m_mutex);
    m_pid.reset();
}

/// Always false: what was to be done cannot be.
bool RemoteLanguageModel::conclude(Obstacle obstacle) {
    const bool isForGood = obstacle == Obstacle::refused || obstacle == Obstacle::dies;
    bool wasNoted = false;
    {
        const std::scoped_lock lock(m_mutex);
        if (m_identity == m_loaded) {
            m_known = Known::unusable;
            m_facts.obstacle = obstacle;
            wasNoted = isForGood && std::exchange(m_note, std::nullopt).has_value();
        }
    }
    if (wasNoted)
        m_settings.notes.forget(fileName());
    return false;
}

ModelProcess::Patience RemoteLanguageModel::patience(milliseconds longest,
                                                     std::function<bool()> isCancelled) const {
    return {.bell = m_bell.get(),
            .isCancelled = std::move(isCancelled),
            .longest = longest,
            .windDown = m_settings.windDown};
}

} // namespace vesto
