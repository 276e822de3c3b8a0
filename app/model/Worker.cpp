#include "app/model/Worker.h"

#include <utility>

namespace vesto {

void Worker::post(Task task) {
    const std::lock_guard lock(m_mutex);
    if (m_isEnding)
        return;
    m_tasks.push_back(std::move(task));
    if (!m_thread.joinable())
        m_thread = std::thread([this] { run(); });
    m_wake.notify_one();
}

void Worker::end() {
    std::thread thread;
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
        thread = std::exchange(m_thread, {});
        m_wake.notify_one();
    }
    if (thread.joinable())
        thread.join();
}

void Worker::run() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_isEnding || !m_tasks.empty(); });
        if (m_tasks.empty())
            return;
        {
            Task task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            task();
        } // what the task owns goes without the lock
        lock.lock();
    }
}

} // namespace vesto
