#include "app/model/Mailbox.h"

#include <QMetaObject>
#include <QObject>
#include <cstddef>
#include <utility>

namespace vesto {

void Mailbox::post(Letter letter) {
    const std::lock_guard lock(m_mutex);
    if (m_reader == nullptr)
        return;
    m_letters.push_back(std::move(letter));
    if (std::exchange(m_hasRung, true))
        return;
    // Under the lock, so that the reader cannot go meanwhile. The box is the reader's, and as safe as it.
    QMetaObject::invokeMethod(m_reader, [this] { deliver(); }, Qt::QueuedConnection);
}

void Mailbox::deliver() {
    std::unique_lock lock(m_mutex);
    m_hasRung = false;
    // What comes meanwhile rings again: a flood must not keep the loop from its other events.
    for (std::size_t left = m_letters.size(); left > 0 && !m_letters.empty(); --left) {
        {
            Letter letter = std::move(m_letters.front());
            m_letters.pop_front();
            lock.unlock();
            letter();
        }
        lock.lock();
    }
}

void Mailbox::close() {
    std::deque<Letter> unread;
    const std::lock_guard lock(m_mutex);
    m_reader = nullptr;
    m_letters.swap(unread);
}

} // namespace vesto
