#pragma once
#include "core/support/UniqueFd.h"
#include "services/ipc/ModelMessages.h"
#include "services/model/Prompt.h"

#include <llama-cpp.h>

#include <functional>
#include <memory>
#include <span>
#include <string>

namespace vesto::model {

/// Bytes of memory that is shared with the application. Owns the mapping.
class Mapping {
public:
    enum class Access { read, write };

    Mapping() = default;
    /// Empty where the system refuses.
    Mapping(int fd, std::size_t size, Access access);
    Mapping(Mapping&& other) noexcept;
    Mapping& operator=(Mapping&& other) noexcept;
    ~Mapping();

    [[nodiscard]] std::span<std::uint8_t> bytes() const { return m_bytes; }

private:
    std::span<std::uint8_t> m_bytes;
};

/// One loaded model. One thread. No exception leaves it; where the engine itself gives up, the process ends.
class Engine {
public:
    /// Asked every few milliseconds of work: whether to stop.
    using Stop = std::function<bool()>;

    explicit Engine(Stop stop)
        : m_stop(std::move(stop)) {}

    /// Takes the model from a descriptor that stays the caller's.
    [[nodiscard]] ipc::ModelLoaded load(int file, bool describe);

    /// Gets the state behind the instructions ready: from `memory`, or by evaluating them, and then puts it
    /// there.
    [[nodiscard]] ipc::ModelWarmed warm(const ipc::WarmModel& order, UniqueFd memory);

    /// A title. Always from the state behind the instructions: of an earlier document nothing is left.
    [[nodiscard]] ipc::ModelAnswered answer(const ipc::AskModel& order);

private:
    [[nodiscard]] ipc::ModelOutcome begin(const ipc::WarmModel& order);
    [[nodiscard]] bool makeContext(std::size_t tokens);
    [[nodiscard]] ipc::ModelOutcome decode(std::span<llama_token> tokens);
    [[nodiscard]] ipc::ModelOutcome evaluatePrefix(bool measure);
    [[nodiscard]] ipc::ModelOutcome measureWriting();
    [[nodiscard]] bool restorePrefix();
    [[nodiscard]] bool savePrefix(int memory); // a descriptor, or negative
    [[nodiscard]] ipc::ModelOutcome write(const ipc::AskModel& order, ipc::ModelAnswered& report);
    [[nodiscard]] bool mustStop();

    Stop m_stop;
    bool m_stopped = false;
    llama_model_ptr m_model;
    llama_context_ptr m_context;
    Frame m_frame;
    Mapping m_shared;                // the state behind the instructions, in the application's memory,
    std::vector<std::uint8_t> m_own; // or here where it does not fit there
    ipc::ModelThreads m_threads;
};

} // namespace vesto::model
