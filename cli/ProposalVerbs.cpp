#include "app/model/ModelRecords.h"
#include "app/model/Store.h"
#include "cli/EngineVerbs.h"
#include "cli/Messages.h"
#include "cli/Report.h"
#include "cli/StoreSession.h"
#include "core/files/FileName.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/support/Text.h"
#include "core/support/Time.h"
#include "core/support/UnicodeDates.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <ostream>

namespace vesto::cli {
namespace {

void tellPending(const Options& options, const Json& record, std::ostream& out) {
    if (options.json) {
        out << writeJson(record) << '\n' << std::flush;
        return;
    }
    const std::string path = printable(stringMember(record, "path").value_or(""));
    if (stringMember(record, "outcome") == "unreadable") {
        out << std::string(8, '-') << "  " << path << " : " << text("illisible") << '\n';
        return;
    }
    const std::string id = stringMember(record, "id").value_or("");
    out << shortID(id) << "  " << path << " → " << printable(stringMember(record, "fileName").value_or(""))
        << "\n    " << proposalWords(record) << '\n'
        << std::flush;
}

/// The lines of an engine that runs, else the store's.
bool pendingRecords(std::ostream& err, const std::function<bool(const Json&)>& tell) {
    EngineSession session(err);
    if (session.beginRemote())
        return session
            .ask(Json{{"verb", "pending"}},
                 [&](const Json& event) {
                     const Json* line = member(event, "line");
                     return line == nullptr || tell(*line);
                 })
            .done;
    return withStore(err, [&](const Store& store) -> Store::Result<void> {
        const auto all = store.pending();
        if (!all)
            return std::unexpected(all.error());
        for (const PendingProposal& pending : *all)
            if (!tell(recordOf(pending)))
                break;
        return {};
    });
}

std::string_view statusWords(std::string_view status) {
    if (status == "done")
        return {};
    if (status == "undone")
        return text("annulé");
    if (status == "failed")
        return text("interrompu, pas fait");
    return text("en cours, ou interrompu : sera vérifié au prochain démarrage");
}

void tellRow(const Options& options, const RenameRecord& row, std::ostream& out) {
    const Json record = recordOf(row);
    if (options.json) {
        out << writeJson(record) << '\n';
        return;
    }
    const std::string_view status = statusWords(stringMember(record, "status").value_or(""));
    out << shortID(row.id) << "  " << unicode::formatDate(row.date, "dd/MM/yyyy HH:mm", Locale{"fr"}) << "  "
        << printable(row.originalName) << " → " << printable(row.newName);
    if (!status.empty())
        out << " (" << status << ")";
    out << "\n    " << printable(row.folderPath);
    if (row.automatic)
        out << text(", automatique");
    if (row.batchID)
        out << text(", lot ") << shortID(*row.batchID);
    out << '\n';
}

/// One order about each proposal that is named.
ExitStatus decide(const Options& options, Streams streams, std::string_view verb) {
    EngineSession session(streams.err);
    if (!session.begin([&] { return partsForOrders(options); }))
        return ExitStatus::notAllDone;
    Report report(options, streams.out);
    for (const std::string& id : options.names) {
        if (!report.heard())
            break;
        Json order{{"verb", verb}, {"id", id}};
        if (options.title)
            order["title"] = *options.title;
        const auto result = session.ask(order, [&](const Json& event) {
            const Json* line = member(event, "line");
            if (line == nullptr)
                return true;
            const std::string path = stringMember(*line, "path").value_or("");
            if (const auto to = stringMember(*line, "to"))
                report.done(path, lastComponentOf(*to), {}, *line);
            else if (stringMember(*line, "outcome") == "ignored")
                report.changed(path, text("gardera son nom"), {}, *line);
            else
                report.refused(path, stringMember(*line, "reason").value_or(""), *line);
            return report.heard();
        });
        if (!result.reason.empty())
            report.refused(id, result.reason,
                           Json{{"id", id}, {"outcome", "rejected"}, {"reason", result.reason}});
        else if (!result.done)
            report.leaveUndone();
    }
    return report.status();
}

} // namespace

std::string_view shortID(std::string_view id) {
    return id.substr(0, 8);
}

std::string proposalWords(const Json& record) {
    const auto source = sourceOfRawValue(stringMember(record, "source").value_or(""));
    return fmt::format("{}, {} {}", sourceWords(source.value_or(ConfidenceScorer::Source::fallback)),
                       text("confiance"), percentage(numberMember(record, "confidence").value_or(0)));
}

ExitStatus pending(const Options& options, Streams streams) {
    bool isAny = false;
    const bool isRead = pendingRecords(streams.err, [&](const Json& record) {
        isAny = true;
        tellPending(options, record, streams.out);
        return streams.out.good();
    });
    if (!isRead)
        return ExitStatus::notAllDone;
    if (!isAny && !options.json)
        streams.out << text("Aucune proposition en attente.") << '\n';
    return ExitStatus::done;
}

ExitStatus accept(const Options& options, Streams streams) {
    return decide(options, streams, "accept");
}

ExitStatus ignore(const Options& options, Streams streams) {
    return decide(options, streams, "ignore");
}

ExitStatus history(const Options& options, Streams streams) {
    bool isAny = false;
    const bool isRead = withStore(streams.err, [&](const Store& store) -> Store::Result<void> {
        constexpr std::size_t page = 200;
        std::optional<Store::Place> place;
        for (std::size_t left = options.limit; left > 0 && streams.out.good();) {
            const auto rows = store.history(options.search, std::min(left, page), place);
            if (!rows)
                return std::unexpected(rows.error());
            for (const RenameRecord& row : *rows)
                tellRow(options, row, streams.out);
            isAny = isAny || !rows->empty();
            if (rows->size() < std::min(left, page))
                break;
            left -= rows->size();
            place = Store::Place::of(rows->back());
        }
        return {};
    });
    if (!isRead)
        return ExitStatus::notAllDone;
    if (!isAny && !options.json)
        streams.out << (options.search.empty() ? text("Aucun renommage.")
                                               : text("Aucun renommage dont un nom contient ce texte."))
                    << '\n';
    return isAny || options.search.empty() ? ExitStatus::done : ExitStatus::notAllDone;
}

} // namespace vesto::cli
