#pragma once
#include "cli/CommandLine.h"
#include "cli/EngineSession.h"
#include "cli/Options.h"

#include <iosfwd>
#include <string>
#include <string_view>

/// The verbs that speak to the engine or look at what it keeps. They print to `out` as they go.
namespace vesto::cli {

struct Streams {
    std::ostream& out;
    std::ostream& err;
};

/// `offline`: this process is kept from the network.
ExitStatus rename(const Options& options, bool offline, Streams streams);
ExitStatus undo(const Options& options, Streams streams);
ExitStatus watch(const Options& options, bool offline, Streams streams);
ExitStatus folders(const Options& options, Streams streams);
ExitStatus pending(const Options& options, Streams streams);
ExitStatus accept(const Options& options, Streams streams);
ExitStatus ignore(const Options& options, Streams streams);
ExitStatus history(const Options& options, Streams streams);
ExitStatus batch(const Options& options, bool offline, Streams streams);
ExitStatus settings(const Options& options, Streams streams);
ExitStatus doctor(const Options& options, bool offline, Streams streams);

/// What an engine of this process works with where no file will be read.
[[nodiscard]] Engine::Parts partsForOrders(const Options& options);

/// The beginning of an id that is easy to type and hardly ever shared.
[[nodiscard]] std::string_view shortID(std::string_view id);

/// "premières lignes du texte lu, confiance 55 %", of a record of a proposal or a rename.
[[nodiscard]] std::string proposalWords(const Json& record);

} // namespace vesto::cli
