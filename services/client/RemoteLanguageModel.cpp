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

LanguageModel::Failure failure(LanguageModel::Failure::Code code, std::string message) {
    return {code, std::move(message)};
}

/// "fr" of "fr-FR", "fr_FR", "fr".
std::string_view baseOf(std::string_view language) {
    return language.substr(0, language.find_first_of("-_"));
}

} // namespace

RemoteLanguageModel::RemoteLanguageModel(Settings settings)
    : m_settings(std::move(settings))
    , m_bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_thread([this] { work(); }) {}

RemoteLanguageModel::~RemoteLanguageModel() {
    m_closing = true;
    ring();
    m_thread.join();
}

LanguageModel::Availability RemoteLanguageModel::availability() {
    if (!m_settings.enabled)
        return Availability::appleIntelligenceNotEnabled;
    const auto file = openModelFile(m_settings.model);
    const std::scoped_lock lock(m_mutex);
    return availabilityNow(file ? std::optional(file->identity) : std::nullopt);
}

LanguageModel::Availability
RemoteLanguageModel::availabilityNow(const std::optional<ModelIdentity>& identity) {
    if (identity != m_identity) {
        m_identity = identity;
        m_known = Known::nothing;
        m_facts = Facts{};
    }
    if (!identity) {
        m_facts.obstacle = Obstacle::noFile;
        return Availability::unavailable;
    }
    m_facts.bytes = identity->bytes;
    const bool mayLoad =
        m_known == Known::nothing || (m_known == Known::unusable && m_facts.obstacle == Obstacle::memory);
    if (mayLoad) {
        if (::access(m_settings.program.c_str(), X_OK) != 0) {
            m_known = Known::unusable;
            m_facts.obstacle = Obstacle::noEngine;
        } else if (m_settings.freeMemory() < memoryForModel(identity->bytes)) {
            m_known = Known::unusable;
            m_facts.obstacle = Obstacle::memory;
        } else {
            m_known = Known::loading;
            m_facts.obstacle = Obstacle::none;
            if (!std::exchange(m_loadIsPosted, true))
                post(std::make_shared<Job>());
        }
    }
    switch (m_known) {
    case Known::nothing:
    case Known::loading:
        return Availability::modelNotReady;
    case Known::usable:
        return Availability::available;
    case Known::unusable:
        break;
    }
    return m_facts.obstacle == Obstacle::memory ? Availability::deviceNotEligible : Availability::unavailable;
}

bool RemoteLanguageModel::supportsLanguage(std::string_view language) {
    const std::scoped_lock lock(m_mutex);
    return m_facts.languages.empty() || std::ranges::any_of(m_facts.languages, [&](const std::string& known) {
               return baseOf(known) == baseOf(language);
           });
}

void RemoteLanguageModel::prewarm(const std::string& instructions) {
    if (!m_settings.enabled)
        return;
    auto job = std::make_shared<Job>();
    job->kind = Job::Kind::warm;
    job->request.instructions = instructions;
    const std::scoped_lock lock(m_mutex);
    post(std::move(job));
}

std::expected<ProposedName, LanguageModel::Failure> RemoteLanguageModel::respond(const ModelRequest& request,
                                                                                 std::stop_token stop) {
    using Code = Failure::Code;
    if (!m_settings.enabled)
        return std::unexpected(failure(Code::engine, "switched off"));
    if (request.instructions.size() > ipc::limits::instructionBytes ||
        request.prompt.size() > ipc::limits::promptBytes)
        return std::unexpected(failure(Code::tooLong, "more text than any context holds"));
    auto job = std::make_shared<Job>();
    job->kind = Job::Kind::ask;
    job->request = request;
    std::unique_lock lock(m_mutex);
    post(job);
    const auto isDone = [&] { return job->result.has_value(); };
    m_changed.wait(lock, stop, isDone);
    if (!job->result && !job->isAsked) {
        job->isAbandoned = true; // what it waits for goes on, and serves the next
        return std::unexpected(failure(Code::cancelled, "cancelled before it was its turn"));
    }
    if (!job->result) {
        job->isCancelled = true;
        ring();
        m_changed.wait(lock, isDone);
    }
    return *std::move(job->result);
}

LanguageModel::Availability RemoteLanguageModel::settle(milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    static_cast<void>(availability()); // sets off loading
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, end, [&] { return m_jobs.empty() && !m_busy; });
    }
    return availability();
}

RemoteLanguageModel::Facts RemoteLanguageModel::facts() {
    const std::scoped_lock lock(m_mutex);
    return m_facts;
}

std::optional<pid_t> RemoteLanguageModel::process() const {
    const std::scoped_lock lock(m_mutex);
    return m_pid;
}

void RemoteLanguageModel::post(std::shared_ptr<Job> job) {
    m_jobs.push_back(std::move(job));
    ring();
}

void RemoteLanguageModel::ring() const {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(m_bell.get(), &one, sizeof one);
}

// ---- The own thread ----

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
        m_busy = true;
        lock.unlock();
        perform(*job);
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
    for (const auto& job : m_jobs)
        job->result = std::unexpected(failure(Failure::Code::cancelled, "the application ends"));
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
            return std::unexpected(failure(Code::engine, "the model could not be loaded"));
        if (!ensureWarm(job.request.instructions))
            return std::unexpected(failure(Code::engine, "the instructions could not be evaluated"));
        {
            const std::scoped_lock lock(m_mutex);
            if (job.isAbandoned)
                return std::unexpected(failure(Code::cancelled, ""));
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
                return std::unexpected(failure(Code::cancelled, "cancelled; the host had to be ended"));
            return std::unexpected(failure(Code::engine, "the host of the model ended"));
        }
        auto title = titleOf(*report);
        if (title) {
            m_deaths = 0;
            const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
            const std::scoped_lock lock(m_mutex);
            m_facts.perTitle = (m_facts.perTitle * m_facts.titles + took) / (m_facts.titles + 1.0);
            ++m_facts.titles;
            m_facts.lastTokens = report->tokens;
            m_facts.lastRefusals = report->refusals;
            m_facts.lastFirstToken = report->firstToken;
        }
        return title;
    }
    return std::unexpected(failure(Code::engine, "the host of the model left"));
}

std::expected<ProposedName, LanguageModel::Failure>
RemoteLanguageModel::titleOf(const ipc::ModelAnswered& report) {
    using Code = Failure::Code;
    switch (report.outcome) {
    case ModelOutcome::done:
        if (report.title.empty())
            return std::unexpected(failure(Code::unusable, "an empty title"));
        return ProposedName{report.title};
    case ModelOutcome::cancelled:
        return std::unexpected(failure(Code::cancelled, "cancelled"));
    case ModelOutcome::unusable:
        return std::unexpected(
            failure(Code::unusable, "no title within " + std::to_string(report.tokens) + " tokens"));
    case ModelOutcome::tooLong:
        return std::unexpected(failure(Code::tooLong, "the context is too small for " +
                                                          std::to_string(report.promptTokens) + " tokens"));
    case ModelOutcome::refused:
    case ModelOutcome::noMemory:
    case ModelOutcome::engine:
    case ModelOutcome::late:
        break;
    }
    return std::unexpected(failure(Code::engine, "the engine failed"));
}

bool RemoteLanguageModel::ensureLoaded() {
    const auto file = openModelFile(m_settings.model);
    {
        const std::scoped_lock lock(m_mutex);
        const auto identity = file ? std::optional(file->identity) : std::nullopt;
        if (identity != m_identity) {
            m_identity = identity;
            m_known = Known::nothing;
            m_facts = Facts{};
        }
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
    m_host.reset();
    m_warmFor.reset();
    const std::scoped_lock lock(m_mutex);
    m_pid.reset();
}

/// Always false: what was to be done cannot be.
bool RemoteLanguageModel::conclude(Obstacle obstacle) {
    const std::scoped_lock lock(m_mutex);
    if (m_identity == m_loaded) {
        m_known = Known::unusable;
        m_facts.obstacle = obstacle;
    }
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
