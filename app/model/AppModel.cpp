#include "app/model/AppModel.h"

#include "app/model/Applier.h"
#include "app/model/BatchDesk.h"
#include "app/model/FileTasks.h"
#include "app/model/FolderSet.h"
#include "app/model/JobLoop.h"
#include "app/model/ModelContext.h"
#include "app/model/ProposalList.h"
#include "app/model/RenamedFiles.h"
#include "core/support/Text.h"

#include <QTimer>
#include <cstring>
#include <set>
#include <utility>

namespace vesto {

class AppModel::Parts {
public:
    Parts(AppModel& face, Dependencies dependencies)
        : context(face, std::move(dependencies))
        , applier(context)
        , renamedFiles(context, applier)
        , proposals(context, applier,
                    [this](const std::filesystem::path& path, const std::string& folderID) {
                        if (folders.isWatching(folderID)) // elsewhere it is found when watching begins
                            jobs.enqueue(JobLoop::Watched{path, folderID});
                    })
        , batches(context, applier,
                  [this](const std::filesystem::path& path, const std::string& batchID, bool retry) {
                      jobs.enqueue(JobLoop::Existing{path, batchID, retry});
                  })
        , folders(context, {.found =
                                [this](std::filesystem::path path, const std::string& folderID) {
                                    jobs.enqueue(JobLoop::Watched{std::move(path), folderID});
                                },
                            .lost = [this](const std::string&) { proposals.review(); },
                            .back =
                                [this](const std::string&) {
                                    applier.recover();
                                    proposals.review();
                                },
                            .replaced = [this](const std::string& folderID) { forgetFiles(folderID); }})
        , jobs(context, folders, proposals, applier, batches) {
        review.setInterval(context.given().rescanInterval);
        QObject::connect(&review, &QTimer::timeout, &face, [this] {
            proposals.review();
            jobs.reviewUnreadable();
        });
        for (const auto changed : {&AppModel::pendingChanged, &AppModel::unreadableChanged})
            QObject::connect(&face, changed, &face, [this] { scheduleReview(); });
        QObject::connect(&face, &AppModel::idle, &face, [this] { answerFinish(); });
        QObject::connect(&face, &AppModel::undone, &face,
                         [this](const RenameRecord& record) { batches.noteUndone(record); });
        context.setWhenIdle([this] { answerFinish(); });
    }

    [[nodiscard]] bool watches() const { return isWatching && !isPaused && !whenFinished; }

    void forgetFiles(const std::string& folderID) {
        proposals.dropFolder(folderID);
        jobs.forgetUnreadable(folderID);
    }

    void scheduleReview() {
        const bool needed = !whenFinished && (!proposals.all().empty() || !jobs.unreadable().empty());
        if (needed && !review.isActive())
            review.start();
        else if (!needed)
            review.stop();
    }

    void answerFinish(bool inAnyCase = false) {
        if (whenFinished && (inAnyCase || (context.isIdle() && jobs.count() == 0)))
            if (auto done = std::exchange(*whenFinished, {}))
                context.later(std::move(done));
    }

    ModelContext context;
    Applier applier;
    RenamedFiles renamedFiles;
    ProposalList proposals;
    BatchDesk batches;
    FolderSet folders;
    JobLoop jobs;
    QTimer review; // runs while something waits that may change or leave
    FoundationNameGenerator::Availability modelStatus;
    bool isWatching = false;
    bool isPaused = false;
    bool isReady = false;
    std::optional<Done> whenFinished; // emptied once it was called
};

AppModel::AppModel(Dependencies dependencies, QObject* parent)
    : QObject(parent)
    , m_parts(std::make_unique<Parts>(*this, std::move(dependencies))) {}

AppModel::~AppModel() {
    blockSignals(true);
    m_parts->jobs.cancel();
    m_parts->batches.close();
    m_parts->folders.stopAll();
    m_parts->context.endWorkers();
}

void AppModel::start(Watching watching, Done ready) {
    auto& context = m_parts->context;
    m_parts->isWatching = watching == Watching::asSet;
    m_parts->isPaused = context.given().settings.paused();
    context.given().notifier.setUp([this, box = context.mailbox()](NotificationResponse response) {
        box->post([this, response = std::move(response)] { respond(response); });
    });
    m_parts->folders.load();
    std::set<std::string, std::less<>> folderIDs;
    for (const WatchedFolder& folder : folders())
        folderIDs.insert(folder.id);
    m_parts->applier.recover();
    m_parts->proposals.restore(folderIDs);
    // Errands are run in their order: when this one is back, those are.
    context.onFiles([] { return 0; },
                    [this, ready = std::move(ready)](int) {
                        m_parts->isReady = true;
                        if (ready)
                            ready();
                        Q_EMIT becameReady();
                    });
    if (m_parts->watches())
        m_parts->folders.startAll();
    refreshModelStatus();
    // Sooner than the first file, which would have its title too late otherwise.
    if (m_parts->watches() && m_parts->modelStatus.isAvailable())
        context.prepareModel();
}

void AppModel::finish(Done done) {
    m_parts->whenFinished = done ? std::move(done) : [] {};
    m_parts->review.stop();
    m_parts->folders.stopAll();
    m_parts->batches.close();
    m_parts->jobs.finish();
    m_parts->answerFinish();
    const auto& given = m_parts->context.given();
    QTimer::singleShot(given.finishPatience + given.silenceLimit, this,
                       [this] { m_parts->answerFinish(/*inAnyCase=*/true); });
}

// ---- The state ----

const std::deque<PendingProposal>& AppModel::pending() const {
    return m_parts->proposals.all();
}

const std::optional<std::string>& AppModel::processingName() const {
    return m_parts->jobs.processingName();
}

std::size_t AppModel::jobCount() const {
    return m_parts->jobs.count();
}

const Batch* AppModel::batch() const {
    return m_parts->batches.current();
}

const FoundationNameGenerator::Availability& AppModel::modelStatus() const {
    return m_parts->modelStatus;
}

const std::optional<std::string>& AppModel::lastError() const {
    return m_parts->context.lastError();
}

bool AppModel::paused() const {
    return m_parts->isPaused;
}

bool AppModel::isReady() const {
    return m_parts->isReady;
}

const std::vector<WatchedFolder>& AppModel::folders() const {
    return m_parts->folders.all();
}

bool AppModel::isWatching(std::string_view folderID) const {
    return m_parts->folders.isWatching(folderID);
}

std::optional<FolderWatcher::Mode> AppModel::watchMode(std::string_view folderID) const {
    return m_parts->folders.mode(folderID);
}

std::optional<FolderTrouble> AppModel::folderTrouble(std::string_view folderID) const {
    return m_parts->folders.trouble(folderID);
}

const std::vector<UnreadableFile>& AppModel::unreadable() const {
    return m_parts->jobs.unreadable();
}

const Store& AppModel::store() const {
    return m_parts->context.given().store;
}

// ---- Folders ----

void AppModel::addFolder(const std::filesystem::path& path, FolderDone done) {
    m_parts->folders.add(path, [this] { return m_parts->watches(); }, std::move(done));
}

// An id may be the folder's own, which changes or goes with it.

bool AppModel::removeFolder(std::string_view folderID) {
    const std::string id(folderID);
    const bool isRemoved = m_parts->folders.remove(id);
    if (isRemoved)
        m_parts->forgetFiles(id);
    return isRemoved;
}

bool AppModel::setEnabled(std::string_view folderID, bool enabled) {
    return m_parts->folders.setEnabled(std::string(folderID), enabled, m_parts->watches());
}

bool AppModel::setAutomatic(std::string_view folderID, bool automatic) {
    return m_parts->folders.setAutomatic(std::string(folderID), automatic);
}

bool AppModel::setPaused(bool paused) {
    const auto saved = m_parts->context.given().settings.setPaused(paused);
    tellSettings(saved);
    if (std::exchange(m_parts->isPaused, paused) == paused)
        return saved.has_value();
    if (paused)
        m_parts->folders.stopAll();
    else if (m_parts->watches())
        m_parts->folders.startAll();
    Q_EMIT pausedChanged();
    return saved.has_value();
}

// ---- Proposals and history ----

void AppModel::accept(std::string_view proposalID, RecordDone done) {
    m_parts->proposals.accept(std::string(proposalID), std::nullopt, std::move(done));
}

void AppModel::accept(std::string_view proposalID, std::string_view title, RecordDone done) {
    m_parts->proposals.accept(std::string(proposalID), std::string(title), std::move(done));
}

bool AppModel::reject(std::string_view proposalID) {
    return m_parts->proposals.reject(std::string(proposalID));
}

void AppModel::rejectAll(const std::vector<std::string>& proposalIDs) {
    m_parts->proposals.rejectAll(proposalIDs);
}

void AppModel::undo(std::string_view recordID, RecordDone done) {
    m_parts->applier.undo(recordID, std::move(done));
}

RenamedFiles& AppModel::renamedFiles() {
    return m_parts->renamedFiles;
}

void AppModel::respond(const NotificationResponse& response) {
    if (response.action == "accept")
        accept(response.identifier);
    else if (response.action == "edit")
        accept(response.identifier, response.text);
    else if (response.action == "ignore")
        (void)reject(response.identifier);
    else if (response.action == "undo")
        undo(response.identifier);
}

void AppModel::name(NamingOrder order, std::function<void(const NamingAnswer&)> done) {
    m_parts->jobs.enqueue(JobLoop::Asked{std::move(order), std::move(done)});
}

// ---- The files that a folder held already ----

std::string AppModel::startBatch(const std::filesystem::path& folder) {
    return m_parts->batches.start(folder);
}

void AppModel::analyseAlso(AlsoAnalyse which) {
    m_parts->batches.analyseAlso(which);
}

void AppModel::setItemTitle(std::string_view proposalID, std::string_view title) {
    m_parts->batches.setTitle(proposalID, title);
}

void AppModel::setItemsSelected(const std::vector<std::string>& proposalIDs, bool selected) {
    m_parts->batches.setSelected(proposalIDs, selected);
}

void AppModel::renameSelected(const Done& done) {
    m_parts->batches.renameSelected(done);
}

void AppModel::undoBatch(std::string_view batchID, const Done& done) {
    m_parts->batches.undo(batchID, done);
}

void AppModel::closeBatch() {
    m_parts->batches.close();
}

// ---- What a window wants to know of a folder ----

std::optional<std::string> AppModel::baseNameFor(std::string_view title, const Proposal& proposal) const {
    return m_parts->context.pipeline().baseNameForUserTitle(title, proposal);
}

void AppModel::lookUpNames(std::vector<WantedName> wanted,
                           std::function<void(const std::vector<std::string>&)> done) {
    auto& context = m_parts->context;
    context.onFiles(
        [wanted = std::move(wanted), &disk = context.given().disk] {
            std::vector<std::string> names;
            names.reserve(wanted.size());
            for (const WantedName& each : wanted)
                names.push_back(
                    FileTasks::freeName(each.file, each.baseName, each.policy, each.namesakes, disk));
            return names;
        },
        std::move(done));
}

void AppModel::checkDisk(std::filesystem::path folder,
                         std::function<void(const std::vector<FolderNote>&)> done) {
    auto& context = m_parts->context;
    context.onFiles(
        [folder = std::move(folder), &disk = context.given().disk] { return checkDiskOf(folder, disk); },
        std::move(done));
}

void AppModel::lookUpFiles(std::vector<std::filesystem::path> files,
                           std::function<void(const std::vector<bool>&)> done) {
    auto& context = m_parts->context;
    context.onFiles(
        [files = std::move(files), &disk = context.given().disk] {
            std::vector<bool> there;
            there.reserve(files.size());
            for (const std::filesystem::path& file : files)
                there.push_back(disk.status(file).has_value());
            return there;
        },
        std::move(done));
}

// ---- The rest ----

Locale AppModel::prepareModel(const std::optional<Locale>& language) {
    m_parts->context.prepareModel(language);
    return language.value_or(m_parts->context.given().locale);
}

void AppModel::refreshModelStatus() {
    const auto& given = m_parts->context.given();
    auto now = given.modelAvailability ? given.modelAvailability() : FoundationNameGenerator::Availability{};
    if (std::exchange(m_parts->modelStatus, std::move(now)) != m_parts->modelStatus)
        Q_EMIT modelStatusChanged();
}

void AppModel::showError(std::string message) {
    m_parts->context.fail(std::move(message));
}

void AppModel::tellSettings(const std::expected<void, int>& saved) {
    if (saved)
        Q_EMIT settingsChanged();
    else
        showError(std::string(text("Réglage non enregistré : ")) + std::strerror(saved.error()));
}

void AppModel::clearLastError() {
    m_parts->context.setLastError(std::nullopt);
}

} // namespace vesto
