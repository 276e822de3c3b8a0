#include "cli/Messages.h"
#include "cli/Naming.h"
#include "cli/Report.h"
#include "cli/Targets.h"
#include "cli/Verbs.h"

#include <nlohmann/json.hpp>

namespace vesto::cli {

ExitStatus name(const Options& options, ReadingSession& session, ModelSession& model, std::ostream& out) {
    const Targets targets = targetsOf(options.paths);
    Report report(options, out);
    report.folders(targets);
    Namer namer(options, session, model);
    for (const Target& target : targets.files) {
        const Naming naming = namer.name(target.path);
        const Proposal* proposal = naming.proposal();
        if (proposal == nullptr)
            report.refused(target.path, naming.reason(), naming.record());
        else
            report.done(target.path, proposedFileName(*proposal), evidenceOf(*proposal), naming.record());
    }
    return report.status();
}

} // namespace vesto::cli
