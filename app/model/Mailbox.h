#pragma once
#include <deque>
#include <functional>
#include <mutex>

class QObject;

namespace vesto {

/// Brings to the main thread what other threads have to say: a queue of ours, with Qt as its bell.
/// Thread-safe but for what says otherwise. Shared by who writes and who reads, since either may be there
/// longer.
class Mailbox {
public:
    using Letter = std::move_only_function<void()>;

    /// Letters are delivered while the event loop of `reader`'s thread runs, one after the other. On that
    /// thread.
    explicit Mailbox(QObject& reader);

    /// Dropped once the box is closed.
    void post(Letter letter);

    /// Delivers what is there now. Main thread; a letter may do this itself, or close the box.
    void deliver();

    /// Nothing is delivered any more. Main thread, before the reader is gone.
    void close();

private:
    class Bell;

    std::mutex m_mutex; // for all below
    Bell* m_bell;       // the reader's; null once the box is closed
    std::deque<Letter> m_letters;
    bool m_hasRung = false;
};

} // namespace vesto
