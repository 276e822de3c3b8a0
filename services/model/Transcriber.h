#pragma once
#include "core/support/UniqueFd.h"
#include "services/ipc/ModelMessages.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct whisper_context;
struct whisper_state;

namespace vesto::model {

/// One loaded model of speech. One thread. No exception leaves it; where the engine itself gives up, the
/// process ends.
class Transcriber {
public:
    /// Asked every few milliseconds of work: whether to stop.
    using Stop = std::function<bool()>;

    explicit Transcriber(Stop stop)
        : m_stop(std::move(stop)) {}
    ~Transcriber();
    Transcriber(const Transcriber&) = delete;
    Transcriber& operator=(const Transcriber&) = delete;

    /// Takes the model from a descriptor that stays the caller's.
    [[nodiscard]] ipc::ModelLoaded load(int file);

    [[nodiscard]] bool isLoaded() const { return m_context != nullptr; }

    /// Whether one thread or all are faster here, told by a little work.
    [[nodiscard]] ipc::ModelWarmed measure();

    /// What is said in the sound in `memory`. Of an earlier recording nothing is left.
    [[nodiscard]] ipc::SoundTranscribed transcribe(const ipc::TranscribeSound& order, const UniqueFd& memory);

private:
    struct Free {
        void operator()(whisper_context* context) const;
        void operator()(whisper_state* state) const;
    };
    using Sound = std::vector<float>; // 16,000 samples a second, between -1 and 1

    struct Attempt;

    [[nodiscard]] ipc::ModelOutcome hear(const ipc::TranscribeSound& order, const Sound& sound,
                                         ipc::SoundTranscribed& report);
    [[nodiscard]] ipc::ModelOutcome hearIn(Attempt& attempt);
    void listenToTheBeginning(Attempt& attempt, float* judgement);
    [[nodiscard]] bool work(whisper_state& state, int threads);
    void begin(std::chrono::milliseconds longest);
    [[nodiscard]] bool mustStop();
    [[nodiscard]] ipc::ModelOutcome stopped() const;

    Stop m_stop;
    bool m_stopped = false; // by the application
    bool m_late = false;
    int m_threads = 1;
    std::chrono::steady_clock::time_point m_end;
    std::unique_ptr<whisper_context, Free> m_context;
};

} // namespace vesto::model
