#include "app/views/TableDelegate.h"

#include "app/views/TableHeader.h"
#include "app/views/Tones.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QPainter>
#include <algorithm>

namespace vesto {
namespace {

constexpr int leastHeight = 32;
constexpr int padding = 12; // above and below the text, together
constexpr int symbolSide = 16;
constexpr int edgeBar = 3;
constexpr int ring = 2;

} // namespace

TableDelegate::TableDelegate(QAbstractItemView& view, const QHeaderView& header)
    : PaintedRows(view)
    , m_header(header) {
    view.setItemDelegate(this);
    view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view.setTextElideMode(Qt::ElideMiddle);
}

QSize TableDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const {
    return {0, std::max(leastHeight, option.fontMetrics.height() + padding)};
}

bool TableDelegate::isRowLively(const QModelIndex& index) const {
    const QModelIndex hovered = hoveredRow();
    return (hovered.isValid() && hovered.row() == index.row()) || view().currentIndex().row() == index.row();
}

void TableDelegate::paintCellGround(QPainter& painter, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const {
    const Tones tones(option.palette);
    const bool isFirst = m_header.visualIndex(index.column()) == 0;
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const bool isHovered = hoveredRow().isValid() && hoveredRow().row() == index.row();
    if (isSelected)
        painter.fillRect(option.rect, tones.selectedRow());
    else if (isHovered)
        painter.fillRect(option.rect, tones.hoveredRow());
    else if (index.row() % 2 == 1)
        painter.fillRect(option.rect, option.palette.color(QPalette::Active, QPalette::AlternateBase));
    const bool isFocused = view().hasFocus() && view().currentIndex().row() == index.row();
    if (isFocused) {
        const QRect& place = option.rect;
        const QColor colour = tones.focus();
        painter.fillRect(QRect(place.left(), place.top(), place.width(), ring), colour);
        painter.fillRect(QRect(place.left(), place.bottom() + 1 - ring, place.width(), ring), colour);
        const int last = m_header.logicalIndexAt(view().viewport()->width() - 1);
        if (index.column() == last)
            painter.fillRect(QRect(place.right() + 1 - ring, place.top(), ring, place.height()), colour);
    }
    if (isSelected && isFirst)
        painter.fillRect(QRect(option.rect.left(), option.rect.top(), edgeBar, option.rect.height()),
                         tones.accent());
}

QRect TableDelegate::contentOf(const QStyleOptionViewItem& option) {
    return option.rect.adjusted(TableHeader::margin, 0, -TableHeader::margin, 0);
}

QRect TableDelegate::paintSymbol(QPainter& painter, const QRect& place, Symbol symbol, const QColor& colour) {
    QRect side(place.left(), 0, symbolSide, symbolSide);
    side.moveTop(place.center().y() - (symbolSide / 2) + 1);
    Icons::paint(painter, side, symbol, colour);
    return place.adjusted(symbolWidth, 0, 0, 0);
}

} // namespace vesto
