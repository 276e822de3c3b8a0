#pragma once
#include "core/naming/ContentSummary.h"

#include <expected>
#include <stop_token>
#include <string>

namespace vesto {

/// Why a title generator gave no title.
struct NameGenerationError {
    enum class Code {
        modelUnavailable, // `message` is one of the availability messages
        timeout,          // the deadline passed first
        busy,             // another generation runs
        nothingToPropose,
        cancelled, // the caller asked to stop
        platform,  // the engine failed; `message` is its own text
    };
    Code code = Code::nothingToPropose;
    std::string message;

    bool operator==(const NameGenerationError&) const = default;
};

/// Who can give a file a title from its summary.
class TitleGenerating {
public:
    virtual ~TitleGenerating() = default;

    /// Waits for the answer, a deadline of its own or `stop`. Callable from any thread.
    [[nodiscard]] virtual std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                                                std::stop_token stop) = 0;
};

} // namespace vesto
