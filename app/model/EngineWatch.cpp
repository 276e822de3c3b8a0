#include "app/model/EngineWatch.h"

#include "app/model/ModelRecords.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace vesto {

EngineWatch::EngineWatch(AppModel& model, std::function<bool(const Json&)> onEvent)
    : m_model(model)
    , m_onEvent(std::move(onEvent))
    , m_signals([this] { stop(); }) {
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
    connect(&m_model, &AppModel::foldersChanged, this, [this] { tellFolders(); });
    connect(&m_model, &AppModel::pausedChanged, this,
            [this] { tell("paused", Json{{"paused", m_model.paused()}}); });
}

bool EngineWatch::run(const std::vector<std::filesystem::path>& folders) {
    tellFolders();
    std::vector<std::filesystem::path> added;
    for (const std::filesystem::path& folder : folders)
        if (std::ranges::find(m_model.folders(), folder.native(), &WatchedFolder::path) ==
            m_model.folders().end())
            added.push_back(folder);
    for (const std::filesystem::path& folder : added)
        m_model.addFolder(folder, [this, folder](const std::optional<WatchedFolder>&,
                                                 const std::vector<FolderNote>& notes) {
            for (const FolderNote& note : notes)
                if (note.kind != FolderNote::Kind::alreadyWatched) {
                    Json record = recordOf(note);
                    record["path"] = folder.native();
                    tell("note", record);
                }
        });
    tell("started", Json{{"folders", m_model.folders().size() + added.size()}, {"paused", m_model.paused()}});
    if (m_isHeard)
        m_loop.exec();
    return m_isHeard;
}

void EngineWatch::stop() {
    if (std::exchange(m_isStopping, true)) {
        m_loop.quit();
        return;
    }
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
