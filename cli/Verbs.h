#pragma once
#include "cli/CommandLine.h"
#include "cli/Options.h"
#include "cli/ReadingSession.h"

#include <iosfwd>

/// One function for each verb. They print to `out` as they go and never throw for what a file does.
namespace vesto::cli {

ExitStatus name(const Options& options, ReadingSession& session, std::ostream& out);
ExitStatus read(const Options& options, ReadingSession& session, std::ostream& out);
ExitStatus rename(const Options& options, ReadingSession& session, std::ostream& out);
ExitStatus undo(const Options& options, std::ostream& out);
ExitStatus generic(const Options& options, std::ostream& out);
ExitStatus checkTemplate(const Options& options, std::ostream& out);

} // namespace vesto::cli
