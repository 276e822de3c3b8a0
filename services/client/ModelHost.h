#pragma once
#include "core/support/UniqueFd.h"
#include "services/client/ModelFile.h"
#include "services/client/ModelObstacle.h"
#include "services/client/ModelProcess.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

/// The process that hosts one model, of language or of speech, for the one thread that talks to it, and the
/// bell that wakes this thread.
class ModelHost {
public:
    /// `windDown`: before a host that does not stop is ended.
    ModelHost(std::filesystem::path program, std::vector<std::string> arguments,
              std::chrono::milliseconds windDown);

    // Of any thread.

    void ring() const;
    /// What the host does is stopped, and it is asked nothing any more.
    void close();
    [[nodiscard]] bool isClosing() const { return m_isClosing; }
    /// Nothing while no model is loaded.
    [[nodiscard]] std::optional<pid_t> process() const;

    // Of the thread that talks to it.

    /// Sleeps until the bell rings. False where the host is of no use any more: it is gone, speaks unasked,
    /// or should have left by itself.
    [[nodiscard]] bool sleep();

    [[nodiscard]] bool isRunning() const { return m_process.has_value(); }
    /// Whether it runs, but is leaving or dead.
    [[nodiscard]] bool isGone() const;

    /// Starts the process and has it load the file, more than once where it is killed meanwhile and there is
    /// enough `freeMemory` (in bytes) still. Otherwise there is none, and why; `none` where the application
    /// ends.
    [[nodiscard]] std::expected<ipc::ModelLoaded, ModelObstacle>
    load(const ipc::LoadModel& order, const ModelFile& file,
         const std::function<std::uint64_t()>& freeMemory);
    /// As the process names its engine.
    [[nodiscard]] const std::string& engine() const { return m_process->engine(); }

    /// Gives an order and waits for its report; nothing where none came: then `bury` it. `isCancelled` is
    /// asked when the bell rings; without it, the order is stopped where the application ends.
    template <typename Report>
    [[nodiscard]] std::optional<Report> give(const ipc::ModelOrder& order, int descriptor,
                                             std::chrono::milliseconds longest,
                                             const std::function<bool()>& isCancelled = {}) {
        return m_process->give<Report>(order, descriptor, patience(longest, isCancelled));
    }

    void end();
    /// Ends a host that gave no report. Whether it had left by itself, being idle; else that counts as a
    /// death.
    [[nodiscard]] bool bury();
    /// Whether hosts died again and again, without a word of use in between.
    [[nodiscard]] bool diesAlways() const;
    void forgetDeaths() { m_deaths = 0; }

private:
    struct LoadFailure {
        ModelObstacle obstacle;
        bool wasKilled = false;
    };
    [[nodiscard]] std::expected<ipc::ModelLoaded, LoadFailure> loadOnce(const ipc::LoadModel& order,
                                                                        const ModelFile& file);
    [[nodiscard]] ModelProcess::Patience patience(std::chrono::milliseconds longest,
                                                  const std::function<bool()>& isCancelled) const;

    const std::filesystem::path m_program;
    const std::vector<std::string> m_arguments;
    const std::chrono::milliseconds m_windDown;
    const UniqueFd m_bell;
    std::atomic<bool> m_isClosing = false;
    std::atomic<pid_t> m_pid = 0;

    // Of the thread that talks to it.
    std::optional<ModelProcess> m_process;
    int m_deaths = 0;
};

} // namespace vesto
