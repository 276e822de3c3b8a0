#include "app/model/Commands.h"

#include "app/model/Identifiers.h"
#include "app/model/ModelRecords.h"
#include "core/files/FileURL.h"
#include "core/support/Text.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>

namespace vesto {
namespace {

/// The path that an order names; nothing, and the request is over, where it names none.
std::optional<std::filesystem::path> pathIn(const Json& order, const Commands::Request& request) {
    const auto url = stringMember(order, "url");
    auto path = url ? pathOfFileURL(*url) : std::nullopt;
    if (!path)
        request->end(false, text("Ordre incompréhensible."));
    return path;
}

/// The whole id that an order's "id" names; nothing, and the request is over, where there is none.
std::optional<std::string> idIn(const Json& order, const std::vector<std::string>& ids,
                                const Commands::Request& request) {
    const auto id = idNamedBy(stringMember(order, "id").value_or(""), ids);
    if (id)
        return *id;
    request->end(false, id.error());
    return std::nullopt;
}

std::vector<std::string> folderIDs(const AppModel& model) {
    std::vector<std::string> ids;
    for (const WatchedFolder& folder : model.folders())
        ids.push_back(folder.id);
    return ids;
}

std::vector<std::string> pendingIDs(const AppModel& model) {
    std::vector<std::string> ids;
    for (const PendingProposal& pending : model.pending())
        ids.push_back(pending.proposal.id);
    return ids;
}

/// Ends a request whose order is done if it was stored. Where it was not, the model has just said why.
void endStored(bool isStored, const AppModel& model, const Commands::Request& request) {
    request->end(isStored, isStored ? std::string() : model.lastError().value_or(""));
}

} // namespace

Commands::Request Commands::begin(const Json& order, CommandRequest::Emit emit, UniqueFd attachment) {
    auto request = std::make_shared<CommandRequest>(std::move(emit));
    const std::string verb = stringMember(order, "verb").value_or("");
    if (m_model.isReady() || verb == "leave" || verb == "show") {
        dispatch(verb, order, std::move(attachment), request);
        return request;
    }
    // What waits, and what is still unfinished, is not known yet.
    QObject::connect(
        &m_model, &AppModel::becameReady, &m_life,
        [this, verb, order, request, kept = std::make_shared<UniqueFd>(std::move(attachment))] {
            if (!request->isOver())
                dispatch(verb, order, std::move(*kept), request);
        },
        Qt::SingleShotConnection);
    return request;
}

void Commands::dispatch(const std::string& verb, const Json& order, UniqueFd attachment,
                        const Request& request) {
    if (verb == "status")
        status(request);
    else if (verb == "folders")
        folders(request);
    else if (verb == "addFolder")
        addFolder(order, request);
    else if (verb == "removeFolder" || verb == "setFolder")
        changeFolder(verb, order, request);
    else if (verb == "pending")
        pending(request);
    else if (verb == "accept")
        accept(order, request);
    else if (verb == "ignore")
        ignore(order, request);
    else if (verb == "rename")
        rename(order, request);
    else if (verb == "undo")
        undo(order, request);
    else if (verb == "undoBatch")
        undoBatch(order, request);
    else if (verb == "batch")
        batch(order, request);
    else if (verb == "prepareModel")
        prepareModel(order, request);
    else if (verb == lent::stateVerb)
        m_desk.state(order, request);
    else if (verb == lent::titleVerb)
        m_desk.title(order, request);
    else if (verb == lent::speechVerb)
        m_desk.speech(order, std::move(attachment), request);
    else if (const auto paused = boolMember(order, "paused"); verb == "setPaused" && paused) {
        endStored(m_model.setPaused(*paused), m_model, request);
    } else if (verb == "leave") {
        request->end(true);
        if (m_leave)
            m_leave();
    } else if (verb == "show" && m_show) {
        if (!boolMember(order, "hidden").value_or(false))
            m_show();
        request->end(true);
    } else
        request->end(false, text("Ordre incompréhensible."));
}

void Commands::status(const Request& request) {
    Json record;
    record["pid"] = ::getpid();
    record["paused"] = m_model.paused();
    record["watching"] = std::ranges::count_if(
        m_model.folders(), [this](const WatchedFolder& folder) { return m_model.isWatching(folder.id); });
    record["folders"] = m_model.folders().size();
    record["pending"] = m_model.pending().size();
    record["jobs"] = m_model.jobCount();
    if (m_model.processingName())
        record["processing"] = *m_model.processingName();
    if (m_model.lastError())
        record["lastError"] = *m_model.lastError();
    m_model.refreshModelStatus();
    record["model"] = m_model.modelStatus().message;
    request->line(record);
    request->end(true);
}

// ---- Folders ----

void Commands::folders(const Request& request) {
    for (const WatchedFolder& folder : m_model.folders()) {
        Json record = recordOf(folder);
        record["watching"] = m_model.isWatching(folder.id);
        if (const auto mode = m_model.watchMode(folder.id))
            record["mode"] = rawValue(*mode);
        record["paused"] = m_model.paused();
        request->line(record);
    }
    request->end(true);
}

void Commands::addFolder(const Json& order, const Request& request) {
    const auto path = pathIn(order, request);
    if (!path)
        return;
    m_model.addFolder(*path,
                      [&model = m_model, request, path = *path](const std::optional<WatchedFolder>& folder,
                                                                const std::vector<FolderNote>& notes) {
                          if (!folder && std::ranges::none_of(notes, &FolderNote::isError)) {
                              endStored(false, model, request);
                              return;
                          }
                          Json record;
                          if (folder)
                              record = recordOf(*folder);
                          else
                              record["path"] = path.native();
                          record["outcome"] = folder ? "added" : "rejected";
                          record["notes"] = Json::array();
                          for (const FolderNote& note : notes)
                              record["notes"].push_back(recordOf(note));
                          request->line(record);
                          request->end(folder.has_value());
                      });
}

void Commands::changeFolder(const std::string& verb, const Json& order, const Request& request) {
    const auto id = idIn(order, folderIDs(m_model), request);
    if (!id)
        return;
    const auto find = [this, &id] { return std::ranges::find(m_model.folders(), *id, &WatchedFolder::id); };
    Json record = recordOf(*find());
    const auto enabled = boolMember(order, "enabled");
    const auto automatic = boolMember(order, "automatic");
    bool isStored = true;
    if (verb == "removeFolder") {
        isStored = m_model.removeFolder(*id);
        record["outcome"] = "removed";
    } else if (enabled || automatic) {
        if (enabled)
            isStored = m_model.setEnabled(*id, *enabled);
        if (isStored && automatic)
            isStored = m_model.setAutomatic(*id, *automatic);
        record = recordOf(*find());
        record["outcome"] = "changed";
    } else {
        request->end(false, text("Ordre incompréhensible."));
        return;
    }
    if (isStored)
        request->line(record);
    endStored(isStored, m_model, request);
}

// ---- What waits ----

void Commands::pending(const Request& request) {
    for (const PendingProposal& pending : m_model.pending())
        request->line(recordOf(pending));
    for (const UnreadableFile& file : m_model.unreadable())
        request->line(recordOf(file));
    request->end(true);
}

void Commands::accept(const Json& order, const Request& request) {
    const auto id = idIn(order, pendingIDs(m_model), request);
    if (!id)
        return;
    const auto pending = std::ranges::find(m_model.pending(), *id, &PendingProposal::id);
    const auto done = [request,
                       before = recordOf(*pending)](const std::expected<RenameRecord, std::string>& renamed) {
        Json record = before;
        record["outcome"] = renamed ? "renamed" : "error";
        if (renamed) {
            record["from"] = record["path"];
            record["to"] = (std::filesystem::path(renamed->folderPath) / renamed->newName).native();
            record["record"] = renamed->id;
        } else {
            record["reason"] = renamed.error();
        }
        request->line(record);
        request->end(renamed.has_value());
    };
    if (const auto title = stringMember(order, "title"))
        m_model.accept(*id, *title, done);
    else
        m_model.accept(*id, done);
}

void Commands::ignore(const Json& order, const Request& request) {
    const auto id = idIn(order, pendingIDs(m_model), request);
    if (!id)
        return;
    const auto pending = std::ranges::find(m_model.pending(), *id, &PendingProposal::id);
    Json record = recordOf(*pending);
    record["outcome"] = "ignored";
    (void)m_model.reject(*id);
    request->line(record);
    request->end(true);
}

} // namespace vesto
