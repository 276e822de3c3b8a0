#pragma once
#include "app/views/Words.h"

#include <QLabel>
#include <QTimer>
#include <cstddef>

namespace vesto {

/// Tells screen readers what arrived, at most one sentence every few seconds. Takes no room.
class Announcer final : public QLabel {
    Q_OBJECT
public:
    /// Milliseconds between two sentences.
    static constexpr int pause = 3000;

    explicit Announcer(QWidget* parent);

    /// A new proposal; where several wait for their sentence, their number is told.
    void announceProposal(const QString& name);

private:
    void say();

    std::size_t m_waiting = 0;
    QString m_name; // of the last of them
    QTimer m_pause;
};

} // namespace vesto
