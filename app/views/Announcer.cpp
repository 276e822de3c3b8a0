#include "app/views/Announcer.h"

#include <QAccessible>

namespace vesto {

Announcer::Announcer(QWidget* parent)
    : QLabel(parent) {
    setFixedSize(0, 0);
    setTextFormat(Qt::PlainText);
    setAccessibleName(french("Annonces"));
    m_pause.setSingleShot(true);
    m_pause.setInterval(pause);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_waiting > 0)
            say();
    });
}

void Announcer::announceProposal(const QString& name) {
    ++m_waiting;
    m_name = name;
    if (!m_pause.isActive())
        say();
}

void Announcer::say() {
    const QString sentence = m_waiting == 1
                                 ? french("Nouvelle proposition : %1", m_name)
                                 : plural(m_waiting, "%n nouvelle proposition", "%n nouvelles propositions");
    m_waiting = 0;
    setText(sentence);
    setAccessibleName(sentence);
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
    m_pause.start();
}

} // namespace vesto
