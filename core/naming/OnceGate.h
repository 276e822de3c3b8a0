#pragma once
#include "core/support/Clock.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace vesto {

/// Where several threads race to give one waiter its result: the first delivery counts, whether it comes
/// before or after the waiter; later ones are dropped. For one call only.
template <class Result> class OnceGate {
public:
    /// `finish` runs once, on the thread of the delivery that counts, with nothing locked.
    explicit OnceGate(std::function<void()> finish = {})
        : m_finish(std::move(finish)) {}

    /// Whether this delivery is the one that counts. Callable from any thread.
    bool deliver(Result result) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_done)
                return false;
            m_done = true;
            m_result.emplace(std::move(result));
        }
        m_bell.notify_one();
        if (m_finish)
            m_finish();
        return true;
    }

    /// Waits for the delivery; at `deadline` (of the clock, since boot) delivers `late` itself. To be called
    /// once.
    [[nodiscard]] Result wait(std::chrono::nanoseconds deadline, const Clock& clock, Result late) {
        std::unique_lock lock(m_mutex);
        while (!m_done) {
            const std::chrono::nanoseconds left = deadline - clock.sinceBoot();
            if (left <= std::chrono::nanoseconds::zero()) {
                lock.unlock();
                deliver(std::move(late));
                lock.lock();
                break;
            }
            m_bell.wait_for(lock, std::min(left, longestSleep));
        }
        return *std::exchange(m_result, std::nullopt);
    }

private:
    // A condition variable sleeps by a clock that stands still while the machine is suspended.
    static constexpr std::chrono::nanoseconds longestSleep = std::chrono::milliseconds(250);

    std::mutex m_mutex;
    std::condition_variable m_bell;
    std::optional<Result> m_result;
    bool m_done = false;
    std::function<void()> m_finish;
};

} // namespace vesto
