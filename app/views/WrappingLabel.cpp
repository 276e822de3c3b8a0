#include "app/views/WrappingLabel.h"

#include <QPainter>
#include <QTextOption>
#include <algorithm>
#include <cmath>

namespace vesto {
namespace {

constexpr int longestWord = 20; // characters that a text asks for at least
constexpr int longestLine = 80; // and at most

} // namespace

WrappingLabel::WrappingLabel(QWidget* parent)
    : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true); // else a label forgets with each font that its height follows its width
}

/// The label does well by itself.
bool WrappingLabel::isSimple(int width) const {
    return !wordWrap() || (QLabel::minimumSizeHint().width() <= width && formats().isEmpty());
}

/// The lines one below the other; gives their height.
qreal WrappingLabel::layOut(QTextLayout& layout, int width) const {
    QTextOption option(alignment() & Qt::AlignHorizontal_Mask);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    const Formats parts = formats();
    if (!parts.isEmpty())
        option.setTextDirection(Qt::LeftToRight); // sentences of ours
    layout.setTextOption(option);
    layout.setFormats(parts);
    layout.beginLayout();
    qreal height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return std::ceil(height);
}

int WrappingLabel::heightForWidth(int width) const {
    width = std::min(width, maximumWidth()); // a layout that aligns its labels asks with its own width
    if (isSimple(width))
        return QLabel::heightForWidth(width);
    const QMargins margins = contentsMargins();
    QTextLayout layout(text(), font());
    const int room = std::max(width - margins.left() - margins.right(), 1);
    return static_cast<int>(layOut(layout, room)) + margins.top() + margins.bottom();
}

QSize WrappingLabel::sizeHint() const {
    const QSize hint = QLabel::sizeHint();
    return wordWrap()
               ? QSize(std::min(hint.width(), longestLine * fontMetrics().averageCharWidth()), hint.height())
               : hint;
}

QSize WrappingLabel::minimumSizeHint() const {
    const QSize hint = QLabel::minimumSizeHint();
    const int least = longestWord * fontMetrics().averageCharWidth();
    return wordWrap() && hint.width() > least ? QSize(least, fontMetrics().height()) : hint;
}

void WrappingLabel::paintEvent(QPaintEvent* event) {
    if (isSimple(width())) {
        QLabel::paintEvent(event);
        return;
    }
    const QRect room = contentsRect();
    QTextLayout layout(text(), font());
    const qreal height = layOut(layout, room.width());
    const bool isAtTop = alignment().testFlag(Qt::AlignTop) || !formats().isEmpty() || height > room.height();
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, QPointF(room.left(), room.top() + (isAtTop ? 0 : (room.height() - height) / 2)));
}

QString wrapped(const QString& text, const QFont& font, int width, int mostLines) {
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    QString result;
    layout.beginLayout();
    for (int count = 1;; ++count) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        const int start = line.textStart();
        const int end = start + line.textLength();
        if (count == mostLines && end < text.size()) {
            result += QFontMetrics(font).elidedText(text.sliced(start), Qt::ElideMiddle, width);
            break;
        }
        result += text.sliced(start, end - start);
        if (end < text.size() && !text.at(end - 1).isSpace())
            result += QChar::LineSeparator;
    }
    layout.endLayout();
    return result;
}

} // namespace vesto
