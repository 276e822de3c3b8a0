#include "app/views/ErrorStrip.h"

#include "app/model/AppModel.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"
#include "app/views/WrappingLabel.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QToolButton>
#include <algorithm>

namespace vesto {
namespace {

constexpr int iconSide = 16;
constexpr int mostLines = 3;

} // namespace

ErrorStrip::ErrorStrip(AppModel& model, QWidget* parent)
    : QFrame(parent)
    , m_model(model)
    , m_icon(new QLabel(this))
    , m_text(new QLabel(this))
    , m_dismiss(new QToolButton(this)) {
    setObjectName(QStringLiteral("errorStrip"));
    setAutoFillBackground(true);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->installEventFilter(this);
    auto* copying = new QAction(french("Copier ce message"), m_text);
    connect(copying, &QAction::triggered, this, &ErrorStrip::copy);
    m_text->addAction(copying);
    m_text->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_dismiss->setAutoRaise(true);
    m_dismiss->setMinimumSize(28, 28);
    m_dismiss->setToolTip(french("Masquer ce message"));
    m_dismiss->setAccessibleName(french("Masquer ce message"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 8, 8);
    row->setSpacing(8);
    row->addWidget(m_icon);
    row->addWidget(m_text, 1);
    row->addWidget(m_dismiss, 0, Qt::AlignTop);
    connect(m_dismiss, &QToolButton::clicked, &model, &AppModel::clearLastError);
    connect(&model, &AppModel::lastErrorChanged, this, &ErrorStrip::showError);
    paintAgain();
    showError();
}

void ErrorStrip::showError() {
    const QString message = m_model.lastError() ? shownSentence(*m_model.lastError()) : QString();
    const bool isNew = !message.isEmpty() && message != m_message;
    m_message = message;
    m_text->setAccessibleName(message);
    layOutText();
    setVisible(!message.isEmpty());
    if (isNew) {
        QAccessibleEvent alert(m_text, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
}

void ErrorStrip::layOutText() {
    m_text->setText(wrapped(m_message, m_text->font(), std::max(m_text->width(), 40), mostLines));
    m_text->setToolTip(tip(m_message));
}

/// The whole message, also where only a part of it fits: it may hold a path that is shown for this.
void ErrorStrip::copy() const {
    QApplication::clipboard()->setText(QString(m_message).remove(QChar(0x2068)).remove(QChar(0x2069)));
}

bool ErrorStrip::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize)
        layOutText();
    if (event->type() != QEvent::KeyPress || !static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy))
        return QFrame::eventFilter(watched, event);
    copy();
    return true;
}

void ErrorStrip::paintAgain() {
    if (m_isPainting) // what follows tells of itself
        return;
    m_isPainting = true;
    const QPalette desktop = QApplication::palette(); // this frame's own is the tinted one
    const Tones tones(desktop);
    QPalette tinted; // of one colour; the others are the window's
    tinted.setColor(QPalette::Window, tones.noticeGround());
    setPalette(tinted);
    m_icon->setPixmap(
        Icons::own(Symbol::warning, tones.caution()).pixmap(QSize(iconSide, iconSide), devicePixelRatio()));
    m_dismiss->setIcon(Icons::themed(Symbol::ignore, desktop));
    m_isPainting = false;
}

void ErrorStrip::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        paintAgain();
    if (event->type() == QEvent::FontChange)
        layOutText();
    QFrame::changeEvent(event);
}

} // namespace vesto
