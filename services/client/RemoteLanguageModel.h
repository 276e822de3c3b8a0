#pragma once
#include "core/naming/LanguageModel.h"
#include "core/support/UniqueFd.h"
#include "services/client/ModelFile.h"
#include "services/client/ModelHost.h"
#include "services/client/ModelJobs.h"
#include "services/client/ModelNotes.h"
#include "services/client/ModelObstacle.h"
#include "services/client/ModelProcess.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vesto {

/// A model file in a jailed process of its own, which is started when it is needed, leaves after five idle
/// minutes and is started again; the state behind the instructions is kept here meanwhile. A host that dies
/// costs the title it was at. Owns one thread, which alone talks to the host. Thread-safe.
class RemoteLanguageModel : public LanguageModel {
public:
    struct Settings {
        std::filesystem::path model; // a GGUF file; empty: there is none
        bool enabled = true;         // by the user
        std::filesystem::path program = modelProgram();
        std::vector<std::string> arguments{};                        // of the program; for tests
        std::function<std::uint64_t()> freeMemory = availableMemory; // in bytes
        std::chrono::milliseconds windDown =
            std::chrono::seconds(2); // before a host that does not stop is ended
        std::chrono::milliseconds recovery =
            std::chrono::minutes(5); // before one that could not be loaded is tried again
        ModelNotes notes{};          // what earlier runs found out
    };

    using Obstacle = ModelObstacle; // more closely than `availability` says it

    /// What is known of the model, for people to see.
    struct Facts {
        Obstacle obstacle = Obstacle::none;
        std::string name;         // as the file says
        std::string architecture; // as the engine calls it
        std::string engine;       // name and version
        std::uint64_t bytes = 0;  // of the file
        std::uint64_t parameters = 0;
        std::uint32_t context = 0;                 // in tokens
        std::vector<std::string> languages;        // as the file lists them; empty: it does not say
        std::uint32_t titles = 0;                  // measured, by earlier runs too
        std::chrono::duration<double> perTitle{0}; // mean of the last ones; 0 without any
        std::uint32_t lastTokens = 0;              // written for the last one,
        std::uint32_t lastRefusals = 0;            // and how often the likeliest was not allowed
        std::chrono::duration<double> lastFirstToken{0};
        bool lastStartKept = false; // the running host took the state behind the instructions from here
    };

    /// What one title took to write.
    struct Written {
        std::uint32_t tokens = 0;
        std::uint32_t refusals = 0; // how often the likeliest was not allowed
    };

    explicit RemoteLanguageModel(Settings settings);
    ~RemoteLanguageModel() override;

    /// Starts no host for a file that earlier runs noted as good: that one sleeps.
    [[nodiscard]] Availability availability() override;
    [[nodiscard]] bool supportsLanguage(std::string_view language) override;
    void prewarm(const std::string& instructions) override;
    [[nodiscard]] std::expected<ProposedName, Failure> respond(const ModelRequest& request,
                                                               std::stop_token stop) override;
    [[nodiscard]] std::expected<ProposedName, Failure> respond(const ModelRequest& request,
                                                               const std::stop_token& stop, Written& written);

    /// Waits until nothing is being loaded or got ready, at most for `timeout`; then what `availability`
    /// says.
    Availability settle(std::chrono::milliseconds timeout);

    /// Whether it is being loaded or its instructions are being evaluated, or soon will be.
    [[nodiscard]] bool isGettingReady() const;

    [[nodiscard]] Facts facts();

    /// Whether a model of which this is known can write titles in `language`.
    [[nodiscard]] static bool supports(const Facts& facts, std::string_view language);

    /// The process that hosts the model now; nothing while there is none.
    [[nodiscard]] std::optional<pid_t> process() const { return m_host.process(); }

private:
    struct Job : ModelJob {
        enum class Kind { load, warm, ask };
        Kind kind = Kind::load;
        ModelRequest request;
        Written written; // of the own thread until it is done, as is the result
        std::expected<ProposedName, Failure> result =
            std::unexpected(Failure{Failure::Code::cancelled, "the application ends"});
    };
    /// The state behind some instructions, in memory that nobody can write to any more.
    struct Prefix {
        std::string instructions;
        std::string engine;
        UniqueFd memory;
        std::uint64_t bytes = 0;
        bool isForThisHost = false; // alone: it had read a document, of which the next must not have anything
    };
    enum class Known { nothing, loading, usable, unusable };

    // Of any thread.
    [[nodiscard]] Availability availabilityNow(const std::optional<ModelIdentity>& identity);
    [[nodiscard]] bool mayBeOtherwise() const;
    [[nodiscard]] Obstacle obstacleInSight(std::uint64_t fileBytes) const;
    void turnTo(const std::optional<ModelIdentity>& identity);

    // Of the own thread.
    void work();
    void perform(Job& job);
    [[nodiscard]] std::expected<ProposedName, Failure> ask(Job& job);
    [[nodiscard]] static std::expected<ProposedName, Failure> titleOf(const ipc::ModelAnswered& report);
    void measure(Job& job, const ipc::ModelAnswered& report, std::chrono::duration<double> took);
    void keepNote(std::uint32_t leastNews);
    [[nodiscard]] std::string fileName() const { return m_settings.model.filename().native(); }
    [[nodiscard]] bool ensureLoaded();
    [[nodiscard]] bool isRunningAsSaid() const;
    [[nodiscard]] bool startAndLoad(const ModelFile& file);
    /// `isInHaste`: what a former host measured will do.
    [[nodiscard]] bool ensureWarm(const std::string& instructions, bool isInHaste);
    [[nodiscard]] bool isAwaited() const;
    [[nodiscard]] const Prefix* keptFor(const std::string& instructions);
    void keepPrefix(const std::string& instructions, UniqueFd memory, std::uint64_t bytes);
    bool buryHost();
    void dropHost();
    bool conclude(Obstacle obstacle, std::chrono::milliseconds pause);

    const Settings m_settings;
    ModelHost m_host;
    ModelJobs<Job> m_jobs; // whose mutex is for what follows

    std::optional<ModelIdentity> m_identity; // of the file that the next five tell of
    Known m_known = Known::nothing;
    Facts m_facts;
    std::chrono::steady_clock::time_point m_nextTry; // where it is unusable
    std::optional<ModelNote> m_note;                 // where the engine has taken the file, once
    std::uint32_t m_news = 0;                        // in it, that are not written down

    // Of the own thread alone.
    std::optional<ModelIdentity> m_loaded; // the file that the host, the prefixes and the threads belong to
    std::vector<Prefix> m_prefixes;        // the one that was used last stands last
    ipc::ModelThreads m_threads;
    bool m_isWritingMeasured = false;     // in this host
    std::optional<std::string> m_warmFor; // the instructions that the host is ready for
    bool m_hostHasRead = false;           // a document

    std::thread m_thread;
};

} // namespace vesto
