#pragma once
#include <expected>
#include <stop_token>
#include <string>
#include <string_view>

namespace vesto {

/// What a model is asked for one file.
struct ModelRequest {
    std::string instructions;
    std::string prompt;
    int maxTokens = 64; // of the answer

    bool operator==(const ModelRequest&) const = default;
};

/// The structured answer of a model.
struct ProposedName {
    /// What the model is told of the title.
    static constexpr std::string_view guide =
        "Titre descriptif de 3 à 6 mots, sans extension, sans date, sans ponctuation finale";

    std::string title; // as the model wrote it

    bool operator==(const ProposedName&) const = default;
};

/// The language model of this machine, wherever it runs. Callable from any thread.
class LanguageModel {
public:
    /// Whether it can be used, and why not.
    enum class Availability {
        available,
        deviceNotEligible,           // not enough free memory
        appleIntelligenceNotEnabled, // switched off in the settings
        modelNotReady,               // it is being loaded for the first time
        unavailable,                 // no model, or none that the engine can use
    };

    /// Why there is no answer.
    struct Failure {
        enum class Code {
            cancelled,
            unusable, // what was written is no title: cut at the last token, empty, not the object asked for
            tooLong,  // instructions and prompt do not fit the model's context
            busy,     // others wait for it already
            engine,   // the engine or its process failed
        };
        Code code = Code::engine;
        std::string message; // for the log, never of the document

        bool operator==(const Failure&) const = default;
    };

    virtual ~LanguageModel() = default;

    /// Says what is known without waiting; asking may set off loading.
    [[nodiscard]] virtual Availability availability() = 0;

    /// Whether its titles can be in `language` (as "fr"); true where the model does not say what it knows.
    [[nodiscard]] virtual bool supportsLanguage(std::string_view language) = 0;

    /// Gets ready for requests with these instructions, in the background.
    virtual void prewarm(const std::string& instructions) = 0;

    /// One title from a session of its own: nothing of an earlier answer stays. Greedy: the same request
    /// gives the same title. Waits for the answer; soon after a stop request the work has really ended, and
    /// only then does this return.
    [[nodiscard]] virtual std::expected<ProposedName, Failure> respond(const ModelRequest& request,
                                                                       std::stop_token stop) = 0;
};

} // namespace vesto
