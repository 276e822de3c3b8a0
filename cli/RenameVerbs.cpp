#include "cli/Messages.h"
#include "cli/Naming.h"
#include "cli/Report.h"
#include "cli/Targets.h"
#include "cli/Verbs.h"
#include "core/files/FileName.h"
#include "core/files/ProcessedMarker.h"
#include "core/files/Renamer.h"
#include "core/files/UndoService.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <set>

namespace vesto::cli {
namespace {

constexpr std::int64_t maxAttempts = 99; // names tried before giving up

std::string_view adviceOf(const RenameError& error) {
    return error.code() == 0 ? std::string_view{} : adviceFor(error.code()).value_or(std::string_view{});
}

Json failureRecord(Json record, const RenameError& error) {
    record.erase("proposal");
    record.erase("fileName");
    record["outcome"] = "error";
    record["reason"] = error.message();
    record["error"] = error.name();
    return record;
}

void apply(const Proposal& proposal, Json record, Report& report) {
    const Renamer renamer(proposal.policy, maxAttempts);
    const auto renamed = renamer.rename(proposal.url, proposal.baseName, proposal.identity, /*mark=*/true);
    if (!renamed) {
        report.refused(proposal.url, renamed.error().message(),
                       failureRecord(std::move(record), renamed.error()), adviceOf(renamed.error()));
        return;
    }
    record["from"] = renamed->from.native();
    record["to"] = renamed->to.native();
    record["marked"] = renamed->marked;
    std::string more = evidenceOf(proposal);
    if (!renamed->marked)
        more +=
            text(" ; marque impossible sur ce disque ou ce fichier : « vesto undo » ne pourra pas l'annuler");
    report.done(renamed->from, lastComponentOf(renamed->to), more, record);
}

/// Whether a file of a folder is one that undoing is about; one that was named is always tried.
bool wasRenamed(const std::optional<ProcessedMarker::Marker>& marker) {
    return marker && marker->state == ProcessedMarker::State::renamed;
}

} // namespace

ExitStatus rename(const Options& options, ReadingSession& session, ModelSession& model, std::ostream& out) {
    const Targets targets = targetsOf(options.paths);
    Report report(options, out);
    report.folders(targets);
    Namer namer(options, session, model);
    for (const Target& target : targets.files) {
        if (!report.heard())
            break;
        const Naming naming = namer.name(target.path);
        Json record = naming.record();
        const Proposal* proposal = naming.proposal();
        if (proposal == nullptr) {
            report.refused(target.path, naming.reason(), record);
        } else if (options.minConfidence && proposal->confidence < *options.minConfidence) {
            const std::string reason = fmt::format(
                "laissé tel quel, confiance {} sous {} (nom proposé : {})", percentage(proposal->confidence),
                percentage(*options.minConfidence), printable(proposedFileName(*proposal)));
            record["reason"] = reason;
            report.refused(target.path, reason, record);
        } else {
            apply(*proposal, std::move(record), report);
        }
    }
    return report.status();
}

ExitStatus undo(const Options& options, std::ostream& out) {
    const Targets targets = targetsOf(options.paths);
    Report report(options, out);
    report.folders(targets);
    std::set<std::filesystem::path> withNothing; // folders named, of which no file was renamed
    std::set<std::filesystem::path> withSomething;
    for (const Target& target : targets.files) {
        if (!report.heard())
            break;
        // Before the marker, so that the marker is never another file's.
        const auto identity = FileIdentity::of(target.path);
        const auto marker = ProcessedMarker::read(target.path);
        if (target.fromFolder)
            (wasRenamed(marker) ? withSomething : withNothing).insert(folderOf(target.path));
        if (target.fromFolder && !wasRenamed(marker))
            continue;
        Json record;
        record["path"] = target.path.native();
        if (!wasRenamed(marker)) {
            const std::string_view reason =
                text("Vesto n'a pas renommé ce fichier, ou son renommage est déjà annulé.");
            record["outcome"] = "rejected";
            record["reason"] = reason;
            report.refused(target.path, reason, record);
            continue;
        }
        const auto restored = UndoService{}.undo(target.path, marker->originalName, identity);
        if (!restored) {
            report.refused(target.path, restored.error().message(), failureRecord(record, restored.error()),
                           adviceOf(restored.error()));
            continue;
        }
        record["outcome"] = "undone";
        record["from"] = target.path.native();
        record["to"] = restored->native();
        report.done(target.path, lastComponentOf(*restored), {}, record);
    }
    for (const std::filesystem::path& folder : withNothing)
        if (!withSomething.contains(folder))
            report.nothingIn(folder, text("Aucun fichier à rétablir dans ce dossier."));
    return report.status();
}

} // namespace vesto::cli
