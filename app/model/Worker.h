#pragma once
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace vesto {

/// A thread that runs tasks one after the other, in the order they came. The thread begins with the first.
class Worker {
public:
    using Task = std::move_only_function<void()>;

    Worker() = default;
    Worker(const Worker&) = delete;
    /// As `end`.
    ~Worker() { end(); }

    /// Thread-safe. Dropped once the end was asked for.
    void post(Task task);

    /// Waits for the tasks that were posted, and ends the thread. Main thread.
    void end();

private:
    void run();

    std::mutex m_mutex; // for all below
    std::condition_variable m_wake;
    std::deque<Task> m_tasks;
    bool m_isEnding = false;
    std::thread m_thread;
};

} // namespace vesto
