#include "app/views/SectionHeader.h"

#include "app/views/Formats.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

namespace vesto {

SectionHeader::SectionHeader(const QString& title, QWidget* parent)
    : QWidget(parent)
    , m_titleText(title)
    , m_title(new QLabel(title, this))
    , m_count(new QLabel(this))
    , m_act(new QToolButton(this))
    , m_yes(new QPushButton(this))
    , m_no(new QPushButton(french("Annuler"), this)) {
    m_act->setAutoRaise(true);
    m_act->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_yes->setAutoDefault(true);
    m_no->setAutoDefault(true);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 2, 8, 2);
    row->setSpacing(8);
    row->addWidget(m_title);
    row->addWidget(m_count);
    row->addStretch();
    row->addWidget(m_act);
    row->addWidget(m_yes);
    row->addWidget(m_no);
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &SectionHeader::stopAsking);
    connect(m_act, &QToolButton::clicked, this, &SectionHeader::ask);
    connect(m_no, &QPushButton::clicked, this, &SectionHeader::stopAsking);
    connect(m_yes, &QPushButton::clicked, this, [this] {
        stopAsking();
        Q_EMIT confirmed();
    });
    dress();
    arrange();
}

void SectionHeader::setCount(std::size_t count) {
    m_count->setText(number(count));
}

void SectionHeader::setAct(const QString& text, const QString& doIt) {
    m_act->setText(text);
    m_yes->setText(doIt);
    dress(); // a button with a text is higher
}

void SectionHeader::setActVisible(bool visible) {
    m_hasAct = visible;
    if (!visible)
        stopAsking();
    arrange();
}

void SectionHeader::setQuestion(const QString& question) {
    m_questionText = question;
    arrange();
}

void SectionHeader::ask() {
    m_isAsking = true;
    Q_EMIT asked();
    m_patience.start();
    arrange();
    m_no->setFocus(Qt::OtherFocusReason); // the harmless answer
}

void SectionHeader::stopAsking() {
    if (!m_isAsking)
        return;
    const bool hadFocus = m_yes->hasFocus() || m_no->hasFocus();
    m_isAsking = false;
    m_patience.stop();
    arrange();
    if (hadFocus && m_hasAct)
        m_act->setFocus(Qt::OtherFocusReason);
}

void SectionHeader::arrange() {
    m_title->setText(m_isAsking ? m_questionText : m_titleText);
    m_count->setVisible(!m_isAsking && !m_count->text().isEmpty());
    m_act->setVisible(m_hasAct && !m_isAsking);
    m_yes->setVisible(m_isAsking);
    m_no->setVisible(m_isAsking);
}

void SectionHeader::dress() {
    m_title->setFont(sectionFont(font()));
    QPalette pale = palette();
    pale.setColor(QPalette::WindowText, Tones(palette()).secondaryOnWindow());
    m_count->setPalette(pale);
    setMinimumHeight(m_yes->sizeHint().height() + 4); // so that the question moves nothing
}

void SectionHeader::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange)
        dress();
    QWidget::changeEvent(event);
}

void SectionHeader::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_isAsking)
        stopAsking();
    else
        QWidget::keyPressEvent(event);
}

} // namespace vesto
