#include "cli/EngineVerbs.h"
#include "cli/Messages.h"
#include "cli/Naming.h"
#include "cli/ProgressLine.h"
#include "cli/ReadingEngine.h"
#include "cli/Report.h"
#include "core/files/FileURL.h"
#include "core/naming/RecordCodec.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <ostream>

namespace vesto::cli {
namespace {

/// One file of the batch: what would be its name, or what became of it.
void tellItem(const Options& options, const Json& record, Report& report) {
    const std::filesystem::path path = stringMember(record, "path").value_or("");
    if (options.apply) {
        tellNamed(path, record, options.minConfidence, report);
        return;
    }
    const Json* proposed = member(record, "proposal");
    const auto proposal = proposed == nullptr ? std::nullopt : proposalFromJson(*proposed);
    if (!proposal)
        return;
    std::string more = evidenceOf(*proposal);
    if (boolMember(record, "selected") == false)
        more += text(" ; pas assez sûr : --apply le laisserait");
    report.done(path, stringMember(record, "fileName").value_or(""), more, record);
}

void tellSummary(const Options& options, const Json& record, std::ostream& out) {
    if (options.json)
        out << writeJson(record) << '\n';
    else
        out << printable(stringMember(record, "text").value_or("")) << '\n';
    const std::string counter = stringMember(record, "counter").value_or("");
    if (!options.json && !options.alsoWellNamed && counter == "wellNamed")
        out << "    " << text("--also well-named les analyse aussi") << '\n';
    if (!options.json && !options.alsoNoTitle && counter == "noTitleBefore")
        out << "    " << text("--also no-title les essaie à nouveau") << '\n';
    out << std::flush;
}

} // namespace

ExitStatus batch(const Options& options, bool offline, Streams streams) {
    ReadingEngine engine(options, streams.err);
    if (!engine.begin(offline))
        return ExitStatus::notAllDone;
    Report report(options, streams.out);
    ProgressLine progress(streams.err, errorIsTerminal());
    Json order{{"verb", "batch"}, {"url", fileURL(options.paths.front())}, {"apply", options.apply}};
    if (options.minConfidence)
        order["minConfidence"] = *options.minConfidence;
    order["wellNamed"] = options.alsoWellNamed;
    order["noTitleBefore"] = options.alsoNoTitle;
    bool isRenamed = false;
    const auto result = engine.ask(order, [&](const Json& event) {
        if (const Json* state = member(event, "progress")) {
            progress.show(*state);
        } else if (const Json* line = member(event, "line")) {
            progress.clear();
            isRenamed = isRenamed || member(*line, "to") != nullptr;
            if (stringMember(*line, "outcome") == "summary")
                tellSummary(options, *line, streams.out);
            else
                tellItem(options, *line, report);
        }
        return report.heard();
    });
    progress.clear();
    if (!result.reason.empty())
        report.refused(
            options.paths.front(), result.reason,
            Json{{"path", options.paths.front().native()}, {"outcome", "error"}, {"reason", result.reason}});
    if (isRenamed && !options.json)
        streams.out << text("Pour annuler ce lot : ") << "vesto undo --batch " << shortID(result.batchID)
                    << '\n';
    if (!result.done)
        report.leaveUndone();
    return report.status();
}

} // namespace vesto::cli
