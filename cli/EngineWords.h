#pragma once
#include "cli/EngineVerbs.h"
#include "cli/Options.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace vesto::cli {

/// The words of the verbs that speak to the engine, as CLI11 fills them in.
struct EngineWords {
    std::vector<std::string> also;
    std::string limit;
};

/// Declares those verbs. `paths` and `names` take their words; all must outlive the parsing.
void declareEngineVerbs(CLI::App& app, EngineWords& words, std::vector<std::string>& paths,
                        std::vector<std::string>& names, Options& options);

/// Checks what they were given and fills in the options; what is wrong, in French.
[[nodiscard]] std::optional<std::string> takeEngineWords(const EngineWords& words, Options& options);

/// How many words a verb takes.
struct WordCount {
    std::size_t least = 1;
    std::size_t most = static_cast<std::size_t>(-1);
};
/// Nothing for a verb that is none of these.
[[nodiscard]] std::optional<WordCount> engineWordCount(std::string_view verb, const Options& options);

/// Nothing for a verb that is none of these. `offline`: this process is kept from the network.
[[nodiscard]] std::optional<ExitStatus> performEngineVerb(std::string_view verb, const Options& options,
                                                          bool offline, Streams streams);

} // namespace vesto::cli
