#include "app/model/Worker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace vesto {

class Worker::State {
public:
    static void post(const std::shared_ptr<State>& state, Task task) {
        const std::lock_guard lock(state->m_mutex);
        if (state->m_isEnding)
            return;
        state->m_tasks.push_back(std::move(task));
        if (!state->m_thread.joinable())
            state->m_thread = std::thread([state] { state->run(); });
        state->m_wake.notify_one();
    }

    bool end(std::chrono::milliseconds patience) {
        std::unique_lock lock(m_mutex);
        m_isEnding = true;
        m_wake.notify_one();
        std::thread thread = std::exchange(m_thread, {});
        if (!thread.joinable())
            return true;
        const bool isOver = m_ended.wait_for(lock, patience, [this] { return m_isOver; });
        lock.unlock();
        if (isOver)
            thread.join();
        else
            thread.detach();
        return isOver;
    }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_isEnding || !m_tasks.empty(); });
            if (m_tasks.empty())
                break;
            {
                Task task = std::move(m_tasks.front());
                m_tasks.pop_front();
                lock.unlock();
                task();
            } // what the task owns goes without the lock
            lock.lock();
        }
        m_isOver = true;
        m_ended.notify_one();
    }

    std::mutex m_mutex; // for all below
    std::condition_variable m_wake, m_ended;
    std::deque<Task> m_tasks;
    bool m_isEnding = false;
    bool m_isOver = false;
    std::thread m_thread;
};

Worker::Worker()
    : m_state(std::make_shared<State>()) {}

Worker::~Worker() {
    (void)end(std::chrono::hours(24));
}

void Worker::post(Task task) {
    State::post(m_state, std::move(task));
}

bool Worker::end(std::chrono::milliseconds patience) {
    return m_state->end(patience);
}

} // namespace vesto
