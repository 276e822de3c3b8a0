#include "app/views/StatusLine.h"

#include "app/model/AppModel.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QToolButton>

namespace vesto {

StatusLine::StatusLine(AppModel& model, QWidget* parent)
    : QFrame(parent)
    , m_model(model)
    , m_icon(new QLabel(this))
    , m_text(new QLabel(this))
    , m_bar(new QProgressBar(this))
    , m_resume(new QToolButton(this)) {
    setObjectName(QStringLiteral("statusLine"));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setFixedSize(64, 6);
    m_bar->setAccessibleName(french("En cours"));
    m_resume->setText(french("Reprendre"));
    m_resume->setAutoRaise(true);
    m_resume->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 2, 16, 3);
    row->setSpacing(8);
    row->addWidget(m_icon);
    row->addWidget(m_text, 1);
    row->addWidget(m_bar);
    row->addWidget(m_resume);
    m_afterglow.setSingleShot(true);
    m_afterglow.setInterval(afterglow);
    connect(&m_afterglow, &QTimer::timeout, this, [this] {
        m_name.clear();
        arrange();
    });
    connect(m_resume, &QToolButton::clicked, &model, [this] { m_model.setPaused(false); });
    connect(&model, &AppModel::processingNameChanged, this, &StatusLine::follow);
    connect(&model, &AppModel::pausedChanged, this, &StatusLine::arrange);
    dress();
    follow();
    arrange();
}

void StatusLine::follow() {
    if (const auto& name = m_model.processingName()) {
        m_afterglow.stop();
        m_name = shownName(*name);
        arrange();
    } else if (!m_name.isEmpty()) {
        m_afterglow.start();
    }
}

void StatusLine::arrange() {
    const bool isBusy = !m_name.isEmpty();
    const bool isPaused = !isBusy && m_model.paused();
    m_bar->setVisible(isBusy);
    m_resume->setVisible(isPaused);
    dress();
    layOutText();
    const bool wasHidden = isHidden();
    setVisible(isBusy || isPaused);
    if (wasHidden != isHidden())
        Q_EMIT shownOrHidden();
}

void StatusLine::layOutText() {
    if (m_name.isEmpty()) {
        m_text->setText(french("Surveillance en pause"));
        m_text->setToolTip({});
        return;
    }
    const QString label = french("En cours : ");
    const QFontMetrics metrics(m_text->font());
    const int room = m_text->width() - metrics.horizontalAdvance(label);
    m_text->setText(label + isolated(elideName(m_name, metrics, room)));
    m_text->setAccessibleName(label + m_name);
    m_text->setToolTip(tip(leftToRight(m_name)));
}

void StatusLine::dress() {
    const Tones tones(palette());
    const Symbol symbol = m_name.isEmpty() ? Symbol::pause : Symbol::running;
    m_icon->setPixmap(
        Icons::own(symbol, tones.secondaryOnWindow()).pixmap(QSize(16, 16), devicePixelRatio()));
    m_resume->setIcon(Icons::themed(Symbol::resume, palette()));
    setMinimumHeight(m_resume->sizeHint().height() + 5);
}

void StatusLine::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        dress();
    QFrame::changeEvent(event);
}

void StatusLine::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    layOutText();
}

void StatusLine::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, Tones(palette()).separatorOnWindow());
}

} // namespace vesto
