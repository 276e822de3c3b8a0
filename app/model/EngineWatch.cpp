#include "app/model/EngineWatch.h"

#include "app/model/ModelRecords.h"
#include "core/support/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace vesto {

EngineWatch::EngineWatch(AppModel& model, std::function<bool(const Json&)> onEvent,
                         std::chrono::milliseconds patience)
    : m_model(model)
    , m_onEvent(std::move(onEvent))
    , m_signals([this] { stop(); }) {
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, [this] { endPatience(); });
    follow();
}

void EngineWatch::follow() {
    connect(&m_model, &AppModel::proposed, this,
            [this](const PendingProposal& pending) { tell("proposed", recordOf(pending)); });
    connect(&m_model, &AppModel::renamed, this,
            [this](const RenameRecord& record) { tell("renamed", recordOf(record)); });
    connect(&m_model, &AppModel::undone, this,
            [this](const RenameRecord& record) { tell("undone", recordOf(record)); });
    connect(&m_model, &AppModel::lastErrorChanged, this, [this] {
        if (m_model.lastError())
            tell("error", Json{{"message", *m_model.lastError()}});
    });
    connect(&m_model, &AppModel::processingNameChanged, this, [this] {
        if (m_model.processingName())
            tell("processing", Json{{"name", *m_model.processingName()}});
    });
    connect(&m_model, &AppModel::foldersChanged, this, [this] {
        tellFolders();
        tellStarted();
    });
    connect(&m_model, &AppModel::pausedChanged, this,
            [this] { tell("paused", Json{{"paused", m_model.paused()}}); });
}

bool EngineWatch::run(const std::vector<std::filesystem::path>& folders) {
    m_patience.start();
    m_model.start(AppModel::Watching::asSet, [this] { tellStarted(); });
    for (const std::filesystem::path& folder : folders) {
        const auto known = std::ranges::find(m_model.folders(), folder.native(), &WatchedFolder::path);
        if (known == m_model.folders().end())
            add(folder);
        else
            m_model.setEnabled(known->id, true);
    }
    if (m_isHeard)
        m_loop.exec();
    return m_isHeard;
}

void EngineWatch::add(const std::filesystem::path& folder) {
    if (!m_joining.insert(folder).second)
        return;
    m_model.addFolder(
        folder, [this, folder](const std::optional<WatchedFolder>&, const std::vector<FolderNote>& notes) {
            m_joining.erase(folder);
            for (const FolderNote& note : notes)
                if (note.kind != FolderNote::Kind::alreadyWatched) {
                    Json record = recordOf(note);
                    record["path"] = folder.native();
                    tell("note", record);
                }
            tellStarted();
        });
}

/// The folders that are to be watched and neither are nor have told why not.
std::vector<std::filesystem::path> EngineWatch::awaited() const {
    std::vector<std::filesystem::path> folders(m_joining.begin(), m_joining.end());
    if (!m_model.paused())
        for (const WatchedFolder& folder : m_model.folders())
            if (folder.enabled && !m_model.isWatching(folder.id) && !m_model.folderTrouble(folder.id))
                folders.emplace_back(folder.path);
    return folders;
}

/// Not before: a file that comes into a folder that is still to join would count as older than the folder.
void EngineWatch::tellStarted() {
    if (m_patience.isActive() && m_model.isReady() && awaited().empty())
        sayStarted();
}

void EngineWatch::endPatience() {
    if (m_isStopping)
        return;
    for (const std::filesystem::path& folder : awaited())
        tell("note", Json{{"path", folder.native()},
                          {"message", text("n'est pas encore surveillé : un dossier ne répond pas.")}});
    sayStarted();
}

void EngineWatch::sayStarted() {
    m_patience.stop();
    const auto enabled =
        static_cast<std::size_t>(std::ranges::count_if(m_model.folders(), &WatchedFolder::enabled));
    tell("started", Json{{"folders", enabled + m_joining.size()},
                         {"disabled", m_model.folders().size() - enabled},
                         {"paused", m_model.paused()}});
}

void EngineWatch::stop() {
    if (std::exchange(m_isStopping, true)) {
        m_loop.quit();
        return;
    }
    m_patience.stop();
    tell("stopping", Json::object());
    m_model.finish([this] { m_loop.quit(); });
}

void EngineWatch::tell(std::string_view event, const Json& record) {
    if (!m_isHeard)
        return;
    Json whole;
    whole["event"] = event;
    whole.update(record);
    m_isHeard = m_onEvent(whole);
    if (!m_isHeard && !m_isStopping)
        stop();
}

void EngineWatch::tellFolders() {
    std::set<std::string, std::less<>> watching;
    for (const WatchedFolder& folder : m_model.folders())
        if (m_model.isWatching(folder.id))
            watching.insert(folder.id);
    for (const WatchedFolder& folder : m_model.folders()) {
        const bool isWatched = watching.contains(folder.id);
        if (isWatched == m_watching.contains(folder.id))
            continue;
        Json record = recordOf(folder);
        if (const auto mode = m_model.watchMode(folder.id))
            record["mode"] = rawValue(*mode);
        tell(isWatched ? "watching" : "unwatched", record);
    }
    m_watching = std::move(watching);
}

} // namespace vesto
