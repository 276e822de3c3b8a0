#pragma once
#include "services/client/ModelHost.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>

namespace vesto {

/// What one thread has to do for others, who wait for it.
struct ModelJob {
    bool isAsked = false; // the host has it
    bool isAbandoned = false;
    bool isCancelled = false;
    bool isDone = false;
};

/// The jobs of the thread that talks to a host, one after the other. `Job` is a `ModelJob`.
template <typename Job> class ModelJobs {
public:
    /// Guards every job's `ModelJob` and what the owner says it does.
    mutable std::mutex mutex;

    // With `mutex` locked.

    void post(std::shared_ptr<Job> job, const ModelHost& host) {
        m_waiting.push_back(std::move(job));
        host.ring();
    }
    [[nodiscard]] const std::deque<std::shared_ptr<Job>>& waiting() const { return m_waiting; }
    [[nodiscard]] const Job* current() const { return m_current.get(); }

    /// Waits until it is done, or no longer wanted. False: its turn did not come, and what it waits for
    /// serves the next.
    [[nodiscard]] bool await(std::unique_lock<std::mutex>& lock, Job& job, const std::stop_token& stop,
                             std::optional<std::chrono::steady_clock::time_point> end,
                             const ModelHost& host) {
        const auto isDone = [&job] { return job.isDone; };
        if (end)
            m_changed.wait_until(lock, stop, *end, isDone);
        else
            m_changed.wait(lock, stop, isDone);
        if (job.isDone)
            return true;
        if (!job.isAsked) {
            job.isAbandoned = true;
            return false;
        }
        job.isCancelled = true;
        host.ring();
        m_changed.wait(lock, isDone);
        return true;
    }

    /// Waits until nothing is to do.
    void awaitRest(std::unique_lock<std::mutex>& lock, std::chrono::steady_clock::time_point end) {
        m_changed.wait_until(lock, end, [this] { return m_waiting.empty() && !m_current; });
    }

    // Of the thread, with `mutex` free.

    /// Does the jobs until the host is closed; those that still wait then are over as they are. `perform`
    /// does one, `rest` sleeps where there is none.
    template <typename Perform, typename Rest>
    void work(const ModelHost& host, const Perform& perform, const Rest& rest) {
        std::unique_lock lock(mutex);
        while (!host.isClosing()) {
            if (m_waiting.empty()) {
                lock.unlock();
                rest();
                lock.lock();
                continue;
            }
            m_current = std::move(m_waiting.front());
            m_waiting.pop_front();
            if (!m_current->isAbandoned) {
                lock.unlock();
                perform(*m_current);
                lock.lock();
                m_current->isDone = true;
            }
            m_current.reset();
            m_changed.notify_all();
        }
        for (const auto& job : m_waiting)
            job->isDone = true;
        m_changed.notify_all();
    }

private:
    std::condition_variable_any m_changed;
    std::deque<std::shared_ptr<Job>> m_waiting;
    std::shared_ptr<Job> m_current;
};

} // namespace vesto
