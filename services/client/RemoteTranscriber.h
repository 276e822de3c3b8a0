#pragma once
#include "core/extraction/SpeechTranscribing.h"
#include "services/client/ModelFile.h"
#include "services/client/ModelHost.h"
#include "services/client/ModelJobs.h"
#include "services/client/ModelObstacle.h"
#include "services/client/ModelProcess.h"
#include "services/client/SealedSound.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vesto {

/// A model of speech in a jailed process of its own, apart from the one of the language model: started when
/// there is something to hear, gone after five idle minutes, started again. A host that dies costs the
/// recording it was at. Owns one thread, which alone talks to the host. Thread-safe.
class RemoteTranscriber : public SpeechTranscribing {
public:
    struct Settings {
        std::filesystem::path model; // a whisper.cpp model; empty: there is none
        std::filesystem::path program = modelProgram();
        std::vector<std::string> arguments{};                        // of the program; for tests
        std::function<std::uint64_t()> freeMemory = availableMemory; // in bytes
        std::chrono::milliseconds windDown =
            std::chrono::seconds(2); // before a host that does not stop is ended
        std::chrono::milliseconds recovery =
            std::chrono::minutes(5); // before one that could not be loaded is tried again
        std::uint32_t threads = 0;   // 0: one or all, whichever is faster
    };

    /// What came of the last recording.
    enum class End {
        none, // there was no recording yet, or what was heard of it did not matter any more
        heard,
        silence, // or no speech in a language that was asked for
        late,
        failed, // the model could not be used, or its host ended
    };

    struct Facts {
        ModelObstacle obstacle = ModelObstacle::none;
        std::string name;                      // of its size, as "base"
        std::string language;                  // of what was heard last, as "fr"
        End end = End::none;                   // of the last recording,
        std::chrono::duration<double> took{0}; // and how long it took the host
    };

    explicit RemoteTranscriber(Settings settings);
    ~RemoteTranscriber() override;

    /// Waits for its turn and for the model to load; `timeout` is for all of it.
    [[nodiscard]] std::optional<std::vector<std::string>> transcribe(std::span<const std::int16_t> samples,
                                                                     const std::vector<std::string>& locales,
                                                                     Seconds timeout,
                                                                     std::stop_token stop) override;

    /// The same for what another process has recorded.
    [[nodiscard]] std::optional<std::vector<std::string>> transcribe(SealedSound sound,
                                                                     const std::vector<std::string>& locales,
                                                                     Seconds timeout,
                                                                     const std::stop_token& stop);

    [[nodiscard]] Facts facts() const;

    /// The file of the model, whether it is there or not.
    [[nodiscard]] const std::filesystem::path& model() const { return m_settings.model; }

    /// The process that hosts the model now; nothing while there is none.
    [[nodiscard]] std::optional<pid_t> process() const { return m_host.process(); }

private:
    using Moment = std::chrono::steady_clock::time_point;
    struct Job : ModelJob {
        Job(SealedSound toHear, Moment latest)
            : sound(std::move(toHear))
            , end(latest) {}

        SealedSound sound;
        ipc::TranscribeSound order;
        Moment end;
        std::vector<std::string> lines; // of the own thread until it is done
    };

    // Of the own thread.
    void work();
    void perform(Job& job);
    [[nodiscard]] std::optional<ipc::SoundTranscribed> hear(Job& job);
    [[nodiscard]] bool ensureLoaded();
    [[nodiscard]] bool startAndLoad(const ModelFile& file);
    [[nodiscard]] bool ensureMeasured(Job& job);
    [[nodiscard]] bool buryHost();
    bool conclude(ModelObstacle obstacle, std::chrono::milliseconds pause);

    const Settings m_settings;
    ModelHost m_host;
    ModelJobs<Job> m_jobs; // whose mutex is for the facts too
    Facts m_facts;

    // Of the own thread alone.
    std::optional<ModelIdentity> m_loaded; // the file that host and the next two belong to
    std::uint32_t m_threads = 0;           // 0: not known
    Moment m_nextTry;

    std::thread m_thread;
};

} // namespace vesto
