#pragma once
#include "core/naming/TitleGenerating.h"
#include "core/support/Clock.h"

#include <chrono>
#include <expected>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>

namespace vesto {

/// Runs what may take too long on a thread of its own, so that its caller can leave it behind. Owns that
/// thread: an operation that was left behind is asked to stop, and waited for by the destructor or by the
/// next operation. Thread-safe, but for its end.
class DeadlineRunner {
public:
    using Result = std::expected<std::string, NameGenerationError>;
    using Operation = std::function<Result(std::stop_token)>;

    explicit DeadlineRunner(const Clock& clock = systemClock())
        : m_clock(clock) {}
    ~DeadlineRunner();
    DeadlineRunner(const DeadlineRunner&) = delete;
    DeadlineRunner& operator=(const DeadlineRunner&) = delete;

    /// What `operation` gives, or `timeout` after that time, or `cancelled` once `stop` is requested,
    /// whichever comes first; the operation is asked to stop where it did not come first. `platform` where
    /// there is no thread to be had; the operation was destroyed then without having run.
    [[nodiscard]] Result withDeadline(std::chrono::nanoseconds timeout, const std::stop_token& stop,
                                      Operation operation);

private:
    const Clock& m_clock;
    std::mutex m_mutex; // for the two below
    std::stop_source m_cancel{std::nostopstate};
    std::thread m_thread; // of the last operation
};

} // namespace vesto
