#include "app/model/Identifiers.h"
#include "cli/EngineVerbs.h"
#include "cli/Messages.h"
#include "cli/Naming.h"
#include "cli/ReadingEngine.h"
#include "cli/Report.h"
#include "cli/Targets.h"
#include "core/files/FileName.h"
#include "core/files/FileURL.h"
#include "core/files/RenameError.h"
#include "core/naming/RecordCodec.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <set>
#include <system_error>

namespace vesto::cli {
namespace {

std::string_view adviceOf(std::int64_t errorNumber) {
    return errorNumber <= 0 || errorNumber > 4096
               ? std::string_view{}
               : adviceFor(static_cast<int>(errorNumber)).value_or(std::string_view{});
}

/// What a person is told where a file got no name.
std::string reasonIn(const Json& record) {
    std::string reason = stringMember(record, "reason").value_or("");
    if (stringMember(record, "outcome") == "rejected")
        for (const auto rejection :
             {FileEligibility::Rejection::missing, FileEligibility::Rejection::hidden,
              FileEligibility::Rejection::notRegularFile, FileEligibility::Rejection::temporary,
              FileEligibility::Rejection::unsupported, FileEligibility::Rejection::processed,
              FileEligibility::Rejection::notGeneric, FileEligibility::Rejection::tooOld,
              FileEligibility::Rejection::notLocal, FileEligibility::Rejection::locked})
            if (FileEligibility::rawValue(rejection) == reason)
                return std::string(FileEligibility::message(rejection));
    return reason;
}

} // namespace

void tellNamed(const std::filesystem::path& path, Json record, std::optional<double> minConfidence,
               Report& report) {
    const Json* proposed = member(record, "proposal");
    const auto proposal = proposed == nullptr ? std::nullopt : proposalFromJson(*proposed);
    if (const auto to = stringMember(record, "to"); to && proposal) {
        std::string more = evidenceOf(*proposal);
        if (boolMember(record, "marked") == false)
            more +=
                text(" ; marque impossible sur ce disque ou ce fichier : Vesto la garde dans son historique");
        report.done(path, lastComponentOf(*to), more, record);
    } else if (proposal) {
        const std::string bar =
            minConfidence ? fmt::format(" sous {}", percentage(*minConfidence)) : std::string();
        const std::string reason = fmt::format("laissé tel quel, confiance {}{} (nom proposé : {})",
                                               percentage(proposal->confidence), bar,
                                               printable(stringMember(record, "fileName").value_or("")));
        record["reason"] = reason;
        report.refused(path, reason, record);
    } else {
        report.refused(path, reasonIn(record), record, adviceOf(integerMember(record, "code").value_or(0)));
    }
}

ExitStatus rename(const Options& options, bool offline, Streams streams) {
    ReadingEngine engine(options, streams.err);
    if (!engine.begin(offline))
        return ExitStatus::notAllDone;
    const Targets targets = targetsOf(options.paths);
    Report report(options, streams.out);
    report.folders(targets);
    for (const Target& target : targets.files) {
        if (!report.heard())
            break;
        engine.tellStart(target.path);
        bool isTold = false;
        const auto result = engine.ask(namingOrder(options, "rename", target.path), [&](const Json& event) {
            if (const Json* line = member(event, "line")) {
                isTold = true;
                if (stringMember(*line, "error") == "unreadable")
                    engine.tellWhetherReaderRuns();
                tellNamed(target.path, *line, options.minConfidence, report);
            }
            return report.heard();
        });
        if (!isTold && report.heard()) { // the engine went away: what comes would only fail as well
            const std::string reason =
                result.reason.empty() ? std::string(text("Pas de réponse.")) : result.reason;
            report.refused(target.path, reason,
                           Json{{"path", target.path.native()}, {"outcome", "error"}, {"reason", reason}});
            break;
        }
    }
    return report.status();
}

// ---- undo ----

namespace {

Json rejected(const std::filesystem::path& path, std::string_view reason) {
    Json record;
    record["path"] = path.native();
    record["outcome"] = "rejected";
    record["reason"] = reason;
    return record;
}

/// Undoes renames, all of them by the engine.
class Undoing {
public:
    Undoing(const Options& options, Streams streams)
        : m_session(streams.err)
        , m_report(options, streams.out) {}

    [[nodiscard]] bool begin(const Options& options) {
        return m_session.begin([&] { return partsForOrders(options); });
    }
    [[nodiscard]] Report& report() { return m_report; }

    /// An order that names its rows itself. `subject` stands for them where there are none.
    void byOrder(const Json& order, std::string_view subject) { tellEnd(ask(order), subject); }

    /// False where nothing is known of the file; then nothing was said either.
    [[nodiscard]] bool byPath(const std::filesystem::path& path) {
        const auto result = ask(Json{{"verb", "undo"}, {"url", fileURL(path)}});
        if (!result.isUnknown)
            tellEnd(result, path);
        return !result.isUnknown;
    }

private:
    EngineSession::Result ask(const Json& order) {
        return m_session.ask(order, [&](const Json& event) {
            if (const Json* line = member(event, "line")) {
                const std::string before = stringMember(*line, "path").value_or("");
                if (const auto to = stringMember(*line, "to"))
                    m_report.done(before, lastComponentOf(*to), {}, *line);
                else
                    m_report.refused(before, stringMember(*line, "reason").value_or(""), *line);
            }
            return m_report.heard();
        });
    }

    void tellEnd(const EngineSession::Result& result, const std::filesystem::path& subject) {
        if (!result.reason.empty())
            m_report.refused(subject, result.reason, rejected(subject, result.reason));
        else if (!result.done)
            m_report.leaveUndone();
    }

    EngineSession m_session;
    Report m_report;
};

bool isThere(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(path, ignored));
}

void undoPaths(Undoing& undoing, const std::vector<std::filesystem::path>& paths) {
    const Targets targets = targetsOf(paths);
    undoing.report().folders(targets);
    std::set<std::filesystem::path> withNothing; // folders named, of which no file was renamed
    std::set<std::filesystem::path> withSomething;
    for (const Target& target : targets.files) {
        if (!undoing.report().heard())
            break;
        const bool isKnown = undoing.byPath(target.path);
        if (target.fromFolder) {
            (isKnown ? withSomething : withNothing).insert(folderOf(target.path));
        } else if (!isKnown) {
            const std::string_view reason =
                text("Vesto n'a pas renommé ce fichier, ou son renommage est déjà annulé.");
            undoing.report().refused(target.path, reason, rejected(target.path, reason));
        }
    }
    for (const std::filesystem::path& folder : withNothing)
        if (!withSomething.contains(folder))
            undoing.report().nothingIn(folder, text("Aucun fichier à rétablir dans ce dossier."));
}

} // namespace

ExitStatus undo(const Options& options, Streams streams) {
    Undoing undoing(options, streams);
    if (!undoing.begin(options))
        return ExitStatus::notAllDone;
    if (options.last)
        undoing.byOrder(Json{{"verb", "undo"}, {"last", true}}, text("Historique"));
    if (!options.batchID.empty())
        undoing.byOrder(Json{{"verb", "undoBatch"}, {"id", options.batchID}}, options.batchID);
    std::vector<std::filesystem::path> paths;
    std::vector<std::string> ids;
    for (std::size_t i = 0; i < options.paths.size(); ++i) { // a path that is there wins over an id
        if (isThere(options.paths[i]) || !isIDPrefix(options.words[i]))
            paths.push_back(options.paths[i]);
        else
            ids.push_back(options.words[i]);
    }
    undoPaths(undoing, paths);
    for (const std::string& id : ids)
        if (undoing.report().heard())
            undoing.byOrder(Json{{"verb", "undo"}, {"id", id}}, id);
    return undoing.report().status();
}

} // namespace vesto::cli
