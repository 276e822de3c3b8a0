#pragma once
#include "cli/CommandLine.h"
#include "cli/ModelSession.h"
#include "cli/Options.h"
#include "cli/ReadingSession.h"

#include <iosfwd>

/// One function for each verb. They print to `out` as they go and never throw for what a file does.
namespace vesto::cli {

ExitStatus name(const Options& options, ReadingSession& session, ModelSession& model, std::ostream& out);
ExitStatus read(const Options& options, ReadingSession& session, std::ostream& out);
ExitStatus generic(const Options& options, std::ostream& out);
ExitStatus checkTemplate(const Options& options, std::ostream& out);

/// Every action but `test`.
ExitStatus manageModels(const Options& options, bool offline, std::ostream& out, std::ostream& err);
/// A title by the model for each file, how long it took, and the title without it.
ExitStatus testModel(const Options& options, ReadingSession& session, std::ostream& out, std::ostream& err);

} // namespace vesto::cli
