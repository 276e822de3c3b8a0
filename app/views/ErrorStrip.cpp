#include "app/views/ErrorStrip.h"

#include "app/model/AppModel.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QTextLayout>
#include <QToolButton>
#include <algorithm>

namespace vesto {
namespace {

constexpr int iconSide = 16;
constexpr int mostLines = 3;

/// The text cut so that it takes three lines at most.
QString fitted(const QString& text, const QFont& font, int width) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    qsizetype lastStart = 0;
    for (int line = 0;; ++line) {
        QTextLine next = layout.createLine();
        if (!next.isValid()) {
            layout.endLayout();
            return text;
        }
        if (line == mostLines)
            break;
        next.setLineWidth(width);
        lastStart = next.textStart();
    }
    layout.endLayout();
    return text.first(lastStart) +
           QFontMetrics(font).elidedText(text.sliced(lastStart), Qt::ElideRight, width);
}

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
    const QString text = fitted(m_message, m_text->font(), std::max(m_text->width(), 40));
    m_text->setText(text);
    m_text->setToolTip(tip(m_message)); // a long path may not fit where nothing is cut
}

/// The whole message, also where only a part of it fits: it may hold a path that is shown for this.
void ErrorStrip::copy() const {
    QApplication::clipboard()->setText(QString(m_message).remove(QChar(0x2068)).remove(QChar(0x2069)));
}

bool ErrorStrip::eventFilter(QObject* watched, QEvent* event) {
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

void ErrorStrip::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    layOutText();
}

} // namespace vesto
