#include "core/naming/DeadlineRunner.h"

#include "core/naming/OnceGate.h"

#include <memory>
#include <system_error>

namespace vesto {

DeadlineRunner::~DeadlineRunner() {
    m_cancel.request_stop();
    if (m_thread.joinable())
        m_thread.join();
}

DeadlineRunner::Result DeadlineRunner::withDeadline(std::chrono::nanoseconds timeout,
                                                    const std::stop_token& stop, Operation operation) {
    using Code = NameGenerationError::Code;
    const auto deadline = m_clock.sinceBoot() + timeout;
    const std::stop_source cancel;
    // Shared: an operation that was left behind still delivers, after the caller has gone.
    const auto gate = std::make_shared<OnceGate<Result>>([cancel] { cancel.request_stop(); });
    {
        const std::lock_guard lock(m_mutex);
        m_cancel.request_stop();
        if (m_thread.joinable())
            m_thread.join();
        m_cancel = cancel;
        try {
            m_thread = std::thread([gate, token = cancel.get_token(), run = std::move(operation)]() mutable {
                gate->deliver(run(std::move(token)));
            });
        } catch (const std::system_error& error) {
            return std::unexpected(NameGenerationError{Code::platform, error.what()});
        }
    }
    const std::stop_callback cancelled(
        stop, [&gate] { gate->deliver(std::unexpected(NameGenerationError{Code::cancelled, {}})); });
    return gate->wait(deadline, m_clock, std::unexpected(NameGenerationError{Code::timeout, {}}));
}

} // namespace vesto
