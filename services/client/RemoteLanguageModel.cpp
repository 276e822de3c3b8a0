#include "services/client/RemoteLanguageModel.h"

#include "core/support/UnicodeLanguages.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace vesto {
namespace {

using std::chrono::milliseconds;

/// As makers of models list languages: "fr", "fra", "fr-FR", or none in particular.
bool isMeant(const std::string& listed, const std::string& code) {
    return listed == "multilingual" || listed == "mul" || unicode::languageCodeOf(listed) == code;
}

} // namespace

RemoteLanguageModel::RemoteLanguageModel(Settings settings)
    : m_settings(std::move(settings))
    , m_host(m_settings.program, m_settings.arguments, m_settings.windDown)
    , m_thread([this] { work(); }) {}

RemoteLanguageModel::~RemoteLanguageModel() {
    m_host.close();
    m_thread.join();
}

LanguageModel::Availability RemoteLanguageModel::availability() {
    if (!m_settings.enabled)
        return Availability::appleIntelligenceNotEnabled;
    const auto file = openModelFile(m_settings.model);
    const std::scoped_lock lock(m_jobs.mutex);
    return availabilityNow(file ? std::optional(file->identity) : std::nullopt);
}

LanguageModel::Availability
RemoteLanguageModel::availabilityNow(const std::optional<ModelIdentity>& identity) {
    if (identity != m_identity)
        turnTo(identity);
    if (!identity) {
        m_facts.obstacle = m_settings.model.empty() ? Obstacle::none : Obstacle::noFile;
        return Availability::unavailable;
    }
    m_facts.bytes = identity->bytes;
    if (m_known == Known::nothing || (m_known == Known::unusable && mayBeOtherwise())) {
        m_facts.obstacle = obstacleInSight(identity->bytes);
        m_nextTry = {};
        if (m_facts.obstacle != Obstacle::none) {
            m_known = Known::unusable;
        } else if (m_note) {
            m_known = Known::usable;
        } else {
            m_known = Known::loading;
            m_jobs.post(std::make_shared<Job>(), m_host);
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

/// Whether what stood in the way may be gone by now, without another file.
bool RemoteLanguageModel::mayBeOtherwise() const {
    return std::chrono::steady_clock::now() >= m_nextTry;
}

/// What stands in the way of starting a host; it costs next to nothing to look.
RemoteLanguageModel::Obstacle RemoteLanguageModel::obstacleInSight(std::uint64_t fileBytes) const {
    if (::access(m_settings.program.c_str(), X_OK) != 0)
        return Obstacle::noEngine;
    return m_settings.freeMemory() < memoryForModel(fileBytes) ? Obstacle::memory : Obstacle::none;
}

/// From here on, what is said is said of this file.
void RemoteLanguageModel::turnTo(const std::optional<ModelIdentity>& identity) {
    m_identity = identity;
    m_known = Known::nothing;
    m_facts = Facts{};
    m_note = identity ? m_settings.notes.of(fileName(), *identity) : std::nullopt;
    m_news = 0;
    if (!m_note)
        return;
    m_facts.name = m_note->name;
    m_facts.architecture = m_note->architecture;
    m_facts.parameters = m_note->parameters;
    m_facts.languages = m_note->languages;
    m_facts.titles = m_note->titles;
    m_facts.perTitle = m_note->perTitle;
}

bool RemoteLanguageModel::supportsLanguage(std::string_view language) {
    const std::scoped_lock lock(m_jobs.mutex);
    return supports(m_facts, language);
}

bool RemoteLanguageModel::supports(const Facts& facts, std::string_view language) {
    const std::string code = unicode::languageCodeOf(std::string(language));
    return facts.languages.empty() ||
           std::ranges::any_of(facts.languages, [&](const auto& listed) { return isMeant(listed, code); });
}

void RemoteLanguageModel::prewarm(const std::string& instructions) {
    if (!m_settings.enabled)
        return;
    auto job = std::make_shared<Job>();
    job->kind = Job::Kind::warm;
    job->request.instructions = instructions;
    const std::scoped_lock lock(m_jobs.mutex);
    const bool waits = std::ranges::any_of(m_jobs.waiting(), [&](const auto& other) {
        return other->kind == Job::Kind::warm && other->request.instructions == instructions;
    });
    if (!waits)
        m_jobs.post(std::move(job), m_host);
}

bool RemoteLanguageModel::isGettingReady() const {
    const std::scoped_lock lock(m_jobs.mutex);
    const auto prepares = [](const Job& job) { return job.kind != Job::Kind::ask; };
    const Job* current = m_jobs.current();
    return std::ranges::any_of(m_jobs.waiting(), [&](const auto& job) { return prepares(*job); }) ||
           (current != nullptr && (prepares(*current) || !current->isAsked));
}

std::expected<ProposedName, LanguageModel::Failure> RemoteLanguageModel::respond(const ModelRequest& request,
                                                                                 std::stop_token stop) {
    Written written;
    return respond(request, stop, written);
}

std::expected<ProposedName, LanguageModel::Failure>
RemoteLanguageModel::respond(const ModelRequest& request, const std::stop_token& stop, Written& written) {
    using Code = Failure::Code;
    if (!m_settings.enabled)
        return std::unexpected(Failure{Code::engine, "switched off"});
    if (request.instructions.size() > ipc::limits::instructionBytes ||
        request.prompt.size() > ipc::limits::promptBytes)
        return std::unexpected(Failure{Code::tooLong, "more text than any context holds"});
    auto job = std::make_shared<Job>();
    job->kind = Job::Kind::ask;
    job->request = request;
    std::unique_lock lock(m_jobs.mutex);
    m_jobs.post(job, m_host);
    if (!m_jobs.await(lock, *job, stop, std::nullopt, m_host))
        return std::unexpected(Failure{Code::cancelled, "cancelled before it was its turn"});
    written = job->written;
    return std::move(job->result);
}

LanguageModel::Availability RemoteLanguageModel::settle(milliseconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    static_cast<void>(availability()); // sets off loading
    {
        std::unique_lock lock(m_jobs.mutex);
        m_jobs.awaitRest(lock, end);
    }
    return availability();
}

RemoteLanguageModel::Facts RemoteLanguageModel::facts() {
    const std::scoped_lock lock(m_jobs.mutex);
    return m_facts;
}

} // namespace vesto
