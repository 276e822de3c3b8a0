#include "app/model/Mailbox.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <cstddef>
#include <utility>

namespace vesto {

/// Carries nothing from thread to thread but that there is something: the letters are the box's to guard.
class Mailbox::Bell final : public QObject {
public:
    Bell(Mailbox& box, QObject& reader)
        : QObject(&reader)
        , m_box(&box) {}

    void takeDown() { m_box = nullptr; } // main thread

    bool event(QEvent* event) override {
        if (event->type() != QEvent::User)
            return QObject::event(event);
        if (m_box != nullptr)
            m_box->deliver();
        return true;
    }

private:
    Mailbox* m_box;
};

Mailbox::Mailbox(QObject& reader)
    : m_bell(new Bell(*this, reader)) {}

void Mailbox::post(Letter letter) {
    const std::lock_guard lock(m_mutex);
    if (m_bell == nullptr)
        return;
    m_letters.push_back(std::move(letter));
    if (std::exchange(m_hasRung, true))
        return;
    // Under the lock, so that the bell cannot go meanwhile.
    QCoreApplication::postEvent(m_bell, new QEvent(QEvent::User));
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
    if (Bell* bell = std::exchange(m_bell, nullptr))
        bell->takeDown();
    m_letters.swap(unread);
}

} // namespace vesto
