#include "cli/Messages.h"
#include "cli/Report.h"
#include "cli/Targets.h"
#include "cli/Verbs.h"
#include "core/extraction/Summarizer.h"
#include "core/naming/RecordCodec.h"
#include "core/support/Json.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace vesto::cli {

ExitStatus read(const Options& options, ReadingSession& session, std::ostream& out) {
    const Targets targets = targetsOf(options.paths);
    Report report(options, out);
    report.folders(targets);
    const Summarizer summarizer = session.summarizer();
    for (const Target& target : targets.files) {
        session.tellStart(target.path);
        const auto summary = summarizer.summarize(target.path);
        if (!summary) {
            session.tellWhetherReaderRuns();
            Json record;
            record["path"] = target.path.native();
            record["error"] = summary.error().name();
            report.refused(target.path, messageOf(summary.error()), record);
        } else if (options.prompt) {
            out << summary->modelPrompt(options.locale) << '\n' << std::flush;
        } else {
            out << writeJson(toJson(*summary)) << '\n' << std::flush;
        }
    }
    return report.status();
}

} // namespace vesto::cli
