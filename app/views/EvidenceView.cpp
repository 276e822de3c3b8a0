#include "app/views/EvidenceView.h"

#include "app/views/ConfidenceMark.h"
#include "app/views/Icons.h"
#include "app/views/PiecesLabel.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>

namespace vesto {
namespace {

constexpr int symbolSide = 16;
constexpr int popupMargin = 16;
constexpr int popupCharacters = 50;

struct Drawing {
    Symbol symbol;
    QColor colour;
};

Drawing drawingOf(EvidenceLine::Mark mark, const Tones& tones) {
    switch (mark) {
    case EvidenceLine::Mark::found:
        return {Symbol::accept, tones.success()};
    case EvidenceLine::Mark::near:
        return {Symbol::near, tones.success()};
    case EvidenceLine::Mark::absent:
        return {Symbol::absent, tones.failure()};
    case EvidenceLine::Mark::note:
        return {Symbol::info, tones.secondaryOnWindow()};
    case EvidenceLine::Mark::label:
        return {Symbol::kindImage, tones.secondaryOnWindow()};
    }
    return {Symbol::info, tones.text()};
}

QLabel* symbolLabel(const QPixmap& pixmap, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setPixmap(pixmap);
    label->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    return label;
}

QLabel* textLabel(const QString& text, const QFont& font, const QColor& colour, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

/// Goes away by Esc or by a click outside.
class EvidencePopup final : public QFrame {
public:
    explicit EvidencePopup(QWidget& over)
        : QFrame(&over, Qt::Popup) {
        setAttribute(Qt::WA_DeleteOnClose);
        setFrameStyle(static_cast<int>(QFrame::StyledPanel) | static_cast<int>(QFrame::Raised));
        setAccessibleName(french("Preuves"));
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        const bool isClosing = event->key() == Qt::Key_Escape || event->key() == Qt::Key_F1 ||
                               event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        if (isClosing)
            close();
        else
            QFrame::keyPressEvent(event);
    }
};

} // namespace

EvidenceView::EvidenceView(QWidget* parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this)) {
    m_layout->setContentsMargins(0, 0, 0, 0);
}

void EvidenceView::setSheet(const EvidenceSheet& sheet, double autoThreshold) {
    if (m_content != nullptr && sheet == m_sheet && autoThreshold == m_threshold)
        return;
    m_sheet = sheet;
    m_threshold = autoThreshold;
    build();
}

void EvidenceView::build() {
    delete m_content;
    m_content = new QWidget(this);
    m_layout->addWidget(m_content);
    const Tones tones(palette());
    const QFont small = secondaryFont(font());
    auto* column = new QVBoxLayout(m_content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);

    auto* heading = new QHBoxLayout;
    heading->setSpacing(8);
    if (m_sheet.confidence) {
        const ConfidenceMark mark(*m_sheet.confidence, m_threshold);
        heading->addWidget(
            symbolLabel(ConfidenceMark::pixmap(mark.step(), tones, devicePixelRatioF()), m_content));
        heading->addWidget(
            textLabel(mark.stepText(), sectionFont(font()), tones.ofStep(mark.step()), m_content));
        heading->addWidget(
            textLabel(mark.percentage(), font(), palette().color(QPalette::WindowText), m_content));
    } else {
        const QIcon pencil = Icons::own(Symbol::edit, tones.secondaryOnWindow());
        heading->addWidget(
            symbolLabel(pencil.pixmap(QSize(symbolSide, symbolSide), devicePixelRatioF()), m_content));
        heading->addWidget(
            textLabel(french("Modifié"), sectionFont(font()), tones.secondaryOnWindow(), m_content));
    }
    heading->addStretch();
    column->addLayout(heading);
    for (const std::string& sentence : m_sheet.sentences) {
        QLabel* label = textLabel(shown(sentence), small, tones.secondaryOnWindow(), m_content);
        label->setWordWrap(true);
        column->addWidget(label);
    }
    column->addSpacing(6);
    for (const EvidenceLine& line : m_sheet.lines) {
        auto* row = new QHBoxLayout;
        row->setContentsMargins(0, 4, 0, 4);
        row->setSpacing(8);
        const Drawing drawing = drawingOf(line.mark, tones);
        row->addWidget(symbolLabel(Icons::own(drawing.symbol, drawing.colour)
                                       .pixmap(QSize(symbolSide, symbolSide), devicePixelRatioF()),
                                   m_content),
                       0, Qt::AlignTop);
        auto* label = new PiecesLabel(line, m_content);
        label->setFont(small);
        row->addWidget(label, 1);
        column->addLayout(row);
    }
    column->addStretch();
    m_content->show();
}

void EvidenceView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    const bool isLook = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange;
    if (isLook && m_content != nullptr)
        build();
}

void EvidenceView::popUp(QWidget& over, const QRect& mark, const EvidenceSheet& sheet, double autoThreshold) {
    auto* popup = new EvidencePopup(over);
    auto* column = new QVBoxLayout(popup);
    column->setContentsMargins(0, 0, 0, 0);
    auto* scroller = new QScrollArea(popup);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setWidgetResizable(true);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* view = new EvidenceView;
    view->setContentsMargins(popupMargin, 12, popupMargin, 12);
    view->setSheet(sheet, autoThreshold);
    scroller->setWidget(view);
    column->addWidget(scroller);

    const int width = popup->fontMetrics().horizontalAdvance(QLatin1Char('x')) * popupCharacters;
    const QRect room = over.screen()->availableGeometry();
    const int frame = 2 * popup->frameWidth();
    const int needed = view->layout()->hasHeightForWidth() ? view->layout()->totalHeightForWidth(width)
                                                           : view->sizeHint().height();
    popup->resize(std::min(width, room.width()) + frame, std::min(needed + frame, room.height() * 6 / 10));
    QPoint corner = over.mapToGlobal(mark.bottomLeft() + QPoint(0, 4));
    corner.setX(std::clamp(corner.x(), room.left(), std::max(room.left(), room.right() - popup->width())));
    if (corner.y() + popup->height() > room.bottom())
        corner.setY(std::max(room.top(), over.mapToGlobal(mark.topLeft()).y() - 4 - popup->height()));
    popup->move(corner);
    popup->show();
    popup->setFocus(Qt::PopupFocusReason);
}

} // namespace vesto
