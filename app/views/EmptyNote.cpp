#include "app/views/EmptyNote.h"

#include "app/views/NoteLabel.h"
#include "app/views/Tones.h"

#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

namespace vesto {
namespace {

constexpr int symbolSide = 22;
constexpr int textWidth = 380;

} // namespace

EmptyNote::EmptyNote(QWidget* parent)
    : QWidget(parent)
    , m_icon(new QLabel(this))
    , m_heading(new QLabel(this))
    , m_text(new NoteLabel({}, this, NoteLabel::Tone::secondary, 1))
    , m_column(new QVBoxLayout(this)) {
    m_heading->setTextFormat(Qt::PlainText);
    m_heading->setFont(sectionFont(font()));
    m_heading->setAlignment(Qt::AlignHCenter);
    m_text->setAlignment(Qt::AlignHCenter);
    m_text->setMinimumWidth(textWidth);
    m_text->setMaximumWidth(textWidth);
    m_column->setContentsMargins(24, 16, 24, 16);
    m_column->setSpacing(8);
    m_column->addStretch();
    m_column->addWidget(m_icon, 0, Qt::AlignHCenter);
    m_column->addWidget(m_heading, 0, Qt::AlignHCenter);
    m_column->addWidget(m_text, 0, Qt::AlignHCenter);
    m_column->addStretch();
}

void EmptyNote::set(Symbol symbol, const QString& text, const QString& heading) {
    m_symbol = symbol;
    m_text->setText(text);
    m_heading->setText(heading);
    m_heading->setVisible(!heading.isEmpty());
    paintSymbol();
}

void EmptyNote::add(QWidget* widget) {
    m_column->insertWidget(m_column->count() - 1, widget, 0, Qt::AlignHCenter);
}

void EmptyNote::paintSymbol() {
    const QColor colour = Tones(palette()).secondaryOnWindow();
    m_icon->setPixmap(
        Icons::own(m_symbol, colour).pixmap(QSize(symbolSide, symbolSide), devicePixelRatioF()));
}

void EmptyNote::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        paintSymbol();
    if (event->type() == QEvent::FontChange)
        m_heading->setFont(sectionFont(font()));
}

} // namespace vesto
