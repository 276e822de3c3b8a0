#include "app/model/FolderCheck.h"
#include "app/model/Identifiers.h"
#include "app/model/Store.h"
#include "cli/EngineVerbs.h"
#include "cli/FolderWords.h"
#include "cli/Messages.h"
#include "cli/Report.h"
#include "core/files/FileURL.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <ostream>
#include <system_error>

namespace vesto::cli {
namespace {

/// A watched folder as the engine or the store tells of it.
struct Listed {
    Json record;
    std::string id;
    std::filesystem::path path;
};

std::optional<Listed> listedIn(const Json& record) {
    const auto id = stringMember(record, "id");
    const auto url = stringMember(record, "url");
    const auto path = url ? pathOfFileURL(*url) : std::nullopt;
    return id && path ? std::optional<Listed>({record, *id, *path}) : std::nullopt;
}

std::vector<Listed> listOf(EngineSession& session) {
    std::vector<Listed> result;
    (void)session.ask(Json{{"verb", "folders"}}, [&](const Json& event) {
        const Json* line = member(event, "line");
        if (auto listed = line == nullptr ? std::nullopt : listedIn(*line))
            result.push_back(*std::move(listed));
        return true;
    });
    return result;
}

/// The id of the folder that a word names: by its path, in whatever way it is written, or by its id.
std::expected<std::string, std::string> idOf(const std::vector<Listed>& folders, const std::string& word,
                                             const std::filesystem::path& path) {
    for (const Listed& folder : folders)
        if (folder.path == path || folder.path / "" == path)
            return folder.id;
    std::error_code ignored;
    for (const Listed& folder : folders)
        if (std::filesystem::equivalent(folder.path, path, ignored))
            return folder.id;
    if (!isIDPrefix(word))
        return std::unexpected(std::string(text("Ce dossier n'est pas surveillé.")));
    std::vector<std::string> ids;
    ids.reserve(folders.size());
    for (const Listed& folder : folders)
        ids.push_back(folder.id);
    return idNamedBy(word, ids);
}

std::string stateWords(const Json& record) {
    std::string words(boolMember(record, "automatic").value_or(false) ? text("automatique")
                                                                      : text("propose"));
    if (!boolMember(record, "enabled").value_or(true))
        words += text(", désactivé");
    else if (const auto mode = stringMember(record, "mode"))
        words += fmt::format(", {}", watchWords(*mode));
    else if (boolMember(record, "paused").value_or(false))
        words += text(", surveillance en pause");
    else if (boolMember(record, "watching") == false)
        words += text(", introuvable pour l'instant");
    else
        words += text(", « vesto watch » n'est pas en cours");
    return words;
}

ExitStatus list(const Options& options, Streams streams) {
    const auto folders = watchedFolders(streams.err);
    if (!folders)
        return ExitStatus::notAllDone;
    for (Json record : *folders) {
        const auto listed = listedIn(record);
        if (!listed)
            continue;
        const auto notes = notesOfDisk(listed->path);
        record["notes"] = Json::array();
        for (const std::string& note : notes)
            record["notes"].push_back(Json{{"message", note}});
        if (options.json) {
            streams.out << writeJson(record) << '\n' << std::flush;
            continue;
        }
        streams.out << shortID(listed->id) << "  " << printable(listed->path.native()) << "\n    "
                    << stateWords(record) << '\n';
        for (const std::string& note : notes)
            streams.out << "    " << printable(note) << '\n';
    }
    if (folders->empty() && !options.json)
        streams.out << text("Aucun dossier. « vesto folders add DOSSIER » en ajoute un.") << '\n';
    return ExitStatus::done;
}

Json orderFor(FolderAction action, const std::string& id) {
    if (action == FolderAction::remove)
        return Json{{"verb", "removeFolder"}, {"id", id}};
    Json order{{"verb", "setFolder"}, {"id", id}};
    if (action == FolderAction::enable || action == FolderAction::disable)
        order["enabled"] = action == FolderAction::enable;
    else
        order["automatic"] = action == FolderAction::automatic;
    return order;
}

std::string_view doneWords(FolderAction action) {
    switch (action) {
    case FolderAction::list:
        break;
    case FolderAction::add:
        return text("surveillé");
    case FolderAction::remove:
        return text("n'est plus surveillé");
    case FolderAction::enable:
        return text("activé");
    case FolderAction::disable:
        return text("désactivé");
    case FolderAction::automatic:
        return text("les noms sûrs y sont donnés sans demander");
    case FolderAction::propose:
        return text("chaque nom y est proposé");
    }
    return {};
}

void tellChanged(const Options& options, const std::filesystem::path& path, const Json& record,
                 Report& report) {
    std::string notes;
    if (const Json* all = member(record, "notes"); all != nullptr && all->is_array())
        for (const Json& note : *all)
            notes += (notes.empty() ? "" : "\n    ") + printable(stringMember(note, "message").value_or(""));
    if (stringMember(record, "outcome") == "rejected")
        report.refused(path, notes.empty() ? text("Ce dossier ne peut pas être surveillé.") : notes, record);
    else
        report.changed(path, doneWords(options.folderAction), notes, record);
}

} // namespace

ExitStatus folders(const Options& options, Streams streams) {
    if (options.folderAction == FolderAction::list)
        return list(options, streams);
    EngineSession session(streams.err);
    if (!session.begin([&] { return partsForOrders(options); }))
        return ExitStatus::notAllDone;
    Report report(options, streams.out);
    const auto known = listOf(session);
    for (std::size_t i = 0; i < options.paths.size() && report.heard(); ++i) {
        const std::filesystem::path& path = options.paths[i];
        Json order;
        if (options.folderAction == FolderAction::add) {
            order = Json{{"verb", "addFolder"}, {"url", fileURL(path)}};
        } else {
            const auto id = idOf(known, options.words[i], path);
            if (!id) {
                report.refused(
                    options.words[i], id.error(),
                    Json{{"path", options.words[i]}, {"outcome", "rejected"}, {"reason", id.error()}});
                continue;
            }
            order = orderFor(options.folderAction, *id);
        }
        const auto result = session.ask(order, [&](const Json& event) {
            if (const Json* line = member(event, "line"))
                tellChanged(options, stringMember(*line, "path").value_or(path.native()), *line, report);
            return report.heard();
        });
        if (!result.reason.empty())
            report.refused(path, result.reason,
                           Json{{"path", path.native()}, {"outcome", "error"}, {"reason", result.reason}});
        else if (!result.done)
            report.leaveUndone();
    }
    return report.status();
}

} // namespace vesto::cli
