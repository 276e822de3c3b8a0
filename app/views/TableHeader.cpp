#include "app/views/TableHeader.h"

#include <QPainter>
#include <QStyleOptionHeader>

namespace vesto {
namespace {

constexpr int leastHeight = 28;
constexpr int arrowRoom = 14; // where the style draws the arrow of the order

} // namespace

TableHeader::TableHeader(QWidget* parent)
    : QHeaderView(Qt::Horizontal, parent) {
    setMinimumHeight(leastHeight);
    setHighlightSections(false);
    setStretchLastSection(false);
    setSectionsMovable(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

/// The style draws all but the words, which it would put at the edge.
void TableHeader::initStyleOptionForIndex(QStyleOptionHeader* option, int section) const {
    QHeaderView::initStyleOptionForIndex(option, section);
    option->text.clear();
}

void TableHeader::paintSection(QPainter* painter, const QRect& rect, int section) const {
    painter->save();
    QHeaderView::paintSection(painter, rect, section);
    painter->restore();
    QRect place = rect.adjusted(margin, 0, -margin, 0);
    if (isSortIndicatorShown() && sortIndicatorSection() == section)
        place.setRight(place.right() - arrowRoom);
    const QString text = model()->headerData(section, Qt::Horizontal).toString();
    const QVariant own = model()->headerData(section, Qt::Horizontal, Qt::TextAlignmentRole);
    const Qt::Alignment alignment = own.isValid() ? own.value<Qt::Alignment>() : defaultAlignment();
    style()->drawItemText(painter, place, static_cast<int>(alignment) | Qt::TextSingleLine, palette(),
                          isEnabled(), fontMetrics().elidedText(text, Qt::ElideRight, place.width()),
                          QPalette::ButtonText);
}

} // namespace vesto
