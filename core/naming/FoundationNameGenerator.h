#pragma once
#include "core/naming/DeadlineRunner.h"
#include "core/naming/LanguageModel.h"
#include "core/naming/TitleGenerating.h"
#include "core/support/Clock.h"
#include "core/support/Locale.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

namespace vesto {

/// Admits one generation at a time; a second one is refused, not queued. Thread-safe.
class ActiveGeneration {
public:
    /// The one of this process.
    [[nodiscard]] static ActiveGeneration& shared();

    /// False where a generation runs; otherwise it is the caller's, until `end`.
    [[nodiscard]] bool begin() { return !m_running.exchange(true); }
    void end() { m_running.store(false); }

private:
    std::atomic<bool> m_running{false};
};

/// Titles from the language model of this machine. Thread-safe. Its destructor waits for a call that was left
/// behind at its deadline.
class FoundationNameGenerator final : public TitleGenerating {
public:
    /// How long one call of the model may take.
    static constexpr std::chrono::seconds defaultTimeout{8};
    static constexpr int maxAnswerTokens = 64;

    /// `message` says why the model cannot be used, for people; empty where it can.
    struct Availability {
        std::string message;

        [[nodiscard]] bool isAvailable() const { return message.empty(); }
        bool operator==(const Availability&) const = default;
    };

    /// `language` is the one of the titles; `active` is for tests.
    FoundationNameGenerator(std::shared_ptr<LanguageModel> model, Locale language,
                            std::chrono::nanoseconds timeout = defaultTimeout,
                            const Clock& clock = systemClock(),
                            ActiveGeneration& active = ActiveGeneration::shared());

    /// Without waiting. No model at all is one that is unavailable.
    [[nodiscard]] static Availability availability(LanguageModel* model, const Locale& language);

    /// Lets the model get ready, in the background, for the first title.
    void prewarm();

    /// The title as the model wrote it. `modelUnavailable`, `busy` (also while a call that was left behind
    /// winds down), `timeout`, `cancelled`, or the model's own failure as `platform`.
    [[nodiscard]] std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                                        std::stop_token stop) override;

private:
    std::shared_ptr<LanguageModel> m_model;
    Locale m_language;
    std::chrono::nanoseconds m_timeout;
    ActiveGeneration& m_active;
    std::string m_instructions;
    DeadlineRunner m_runner; // last: its thread uses what stands above
};

} // namespace vesto
