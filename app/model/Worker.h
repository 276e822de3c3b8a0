#pragma once
#include <chrono>
#include <functional>
#include <memory>

namespace vesto {

/// A thread that runs tasks one after the other, in the order they came. The thread begins with the first.
class Worker {
public:
    using Task = std::move_only_function<void()>;

    Worker();
    Worker(const Worker&) = delete;
    /// As `end`, with all the time that it takes.
    ~Worker();

    /// Thread-safe. Dropped once the end was asked for.
    void post(Task task);

    /// Waits for the tasks that were posted, and ends the thread. One that hangs, on a share that does not
    /// answer, is left to itself after `patience` with all that waits behind it: false. Main thread.
    bool end(std::chrono::milliseconds patience);

private:
    class State;
    std::shared_ptr<State> m_state; // which a thread that hangs keeps
};

} // namespace vesto
