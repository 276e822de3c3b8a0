#pragma once
#include "core/naming/LanguageModel.h"
#include "core/support/UniqueFd.h"
#include "services/client/ModelFile.h"
#include "services/client/ModelObstacle.h"
#include "services/client/ModelProcess.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
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
        std::uint32_t titles = 0;                  // written since the start
        std::chrono::duration<double> perTitle{0}; // their mean; 0 without any
        std::uint32_t lastTokens = 0;              // written for the last one,
        std::uint32_t lastRefusals = 0;            // and how often the likeliest was not allowed
        std::chrono::duration<double> lastFirstToken{0};
        bool lastStartKept = false; // the running host took the state behind the instructions from here
    };

    explicit RemoteLanguageModel(Settings settings);
    ~RemoteLanguageModel() override;

    [[nodiscard]] Availability availability() override;
    [[nodiscard]] bool supportsLanguage(std::string_view language) override;
    void prewarm(const std::string& instructions) override;
    [[nodiscard]] std::expected<ProposedName, Failure> respond(const ModelRequest& request,
                                                               std::stop_token stop) override;

    /// Waits until nothing is being loaded or got ready, at most for `timeout`; then what `availability`
    /// says.
    Availability settle(std::chrono::milliseconds timeout);

    [[nodiscard]] Facts facts();

    /// The process that hosts the model now; nothing while there is none.
    [[nodiscard]] std::optional<pid_t> process() const;

private:
    struct Job {
        enum class Kind { load, warm, ask };
        Kind kind = Kind::load;
        ModelRequest request;
        // Guarded by m_mutex.
        bool isAsked = false; // the host has it
        bool isAbandoned = false;
        bool isCancelled = false;
        std::optional<std::expected<ProposedName, Failure>> result;
    };
    /// The state behind the instructions, in memory that nobody can write to any more.
    struct Prefix {
        std::string instructions;
        std::string engine;
        UniqueFd memory;
        std::uint64_t bytes = 0;
    };
    enum class Known { nothing, loading, usable, unusable };

    // Of any thread.
    [[nodiscard]] Availability availabilityNow(const std::optional<ModelIdentity>& identity);
    void post(std::shared_ptr<Job> job);
    void ring() const;

    // Of the own thread.
    void work();
    void waitForBell();
    void perform(Job& job);
    [[nodiscard]] std::expected<ProposedName, Failure> ask(Job& job);
    [[nodiscard]] std::expected<ProposedName, Failure> titleOf(const ipc::ModelAnswered& report);
    [[nodiscard]] bool ensureLoaded();
    [[nodiscard]] bool startAndLoad(const ModelFile& file);
    [[nodiscard]] bool ensureWarm(const std::string& instructions);
    void keepPrefix(const std::string& instructions, UniqueFd memory, std::uint64_t bytes);
    void hostDied();
    void dropHost();
    bool conclude(Obstacle obstacle);
    [[nodiscard]] ModelProcess::Patience patience(std::chrono::milliseconds longest,
                                                  std::function<bool()> isCancelled) const;

    const Settings m_settings;
    const UniqueFd m_bell;

    mutable std::mutex m_mutex; // for what follows
    std::condition_variable_any m_changed;
    std::deque<std::shared_ptr<Job>> m_jobs;
    bool m_busy = false;
    bool m_loadIsPosted = false;
    std::optional<ModelIdentity> m_identity; // of the file that the next two tell of
    Known m_known = Known::nothing;
    Facts m_facts;
    std::optional<pid_t> m_pid;

    std::atomic<bool> m_closing = false;

    // Of the own thread alone.
    std::optional<ModelIdentity> m_loaded; // the file that the host, the prefix and the threads belong to
    std::optional<ModelProcess> m_host;
    std::optional<Prefix> m_prefix;
    ipc::ModelThreads m_threads;
    std::optional<std::string> m_warmFor; // the instructions that the host is ready for
    bool m_hostHasRead = false;           // a document
    int m_deaths = 0;                     // of hosts, since the last title

    std::thread m_thread;
};

} // namespace vesto
