#include "app/views/PiecesLabel.h"

#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QPainter>
#include <QTextOption>
#include <cmath>

namespace vesto {

PiecesLabel::PiecesLabel(const EvidenceLine& line, QWidget* parent)
    : QLabel(parent)
    , m_line(line) {
    setTextFormat(Qt::PlainText);
    setText(shown(line.text()));
    setWordWrap(true); // else a label forgets with each font that its height follows its width
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QList<QTextLayout::FormatRange> PiecesLabel::formats() const {
    const Tones tones(palette());
    QList<QTextLayout::FormatRange> ranges;
    int start = 0;
    for (const EvidenceLine::Piece& piece : m_line.pieces) {
        QTextLayout::FormatRange range;
        range.start = start;
        range.length = static_cast<int>(shown(piece.text).size());
        start += range.length;
        const bool isSecondary = piece.tone == EvidenceLine::Tone::secondary;
        range.format.setForeground(isSecondary ? tones.secondaryOnWindow()
                                               : palette().color(QPalette::WindowText));
        if (piece.tone == EvidenceLine::Tone::strong)
            range.format.setFontWeight(QFont::DemiBold);
        ranges.push_back(range);
    }
    return ranges;
}

qreal PiecesLabel::layOut(QTextLayout& layout, int width) const {
    QTextOption option;
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.setFormats(formats());
    layout.beginLayout();
    qreal height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return height;
}

int PiecesLabel::heightForWidth(int width) const {
    QTextLayout layout(text(), font());
    return static_cast<int>(std::ceil(layOut(layout, width)));
}

QSize PiecesLabel::sizeHint() const {
    constexpr int columns = 30;
    const int width = fontMetrics().horizontalAdvance(QLatin1Char('x')) * columns;
    return {width, fontMetrics().height()};
}

QSize PiecesLabel::minimumSizeHint() const {
    return {0, fontMetrics().height()};
}

void PiecesLabel::paintEvent(QPaintEvent* /*event*/) {
    QTextLayout layout(text(), font());
    layOut(layout, width());
    QPainter painter(this);
    layout.draw(&painter, QPointF(0, 0));
}

} // namespace vesto
