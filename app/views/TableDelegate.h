#pragma once
#include "app/views/PaintedRows.h"

class QAbstractItemView;
class QHeaderView;

namespace vesto {

/// Base of the tables' delegates: rows of one height that are marked as a whole, cells of one line.
class TableDelegate : public PaintedRows {
public:
    /// `header` is the view's.
    TableDelegate(QAbstractItemView& view, const QHeaderView& header);

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    /// Whether the pointer is over the row, or it is the current one.
    [[nodiscard]] bool isRowLively(const QModelIndex& index) const;

    /// The ground of a cell, as a part of its row's.
    void paintCellGround(QPainter& painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const;

    /// Where a cell's content stands.
    [[nodiscard]] static QRect contentOf(const QStyleOptionViewItem& option);

    /// Calls the symbol's drawing; gives what is left of the place.
    static QRect paintSymbol(QPainter& painter, const QRect& place, Symbol symbol, const QColor& colour);
    /// What `paintSymbol` takes.
    static constexpr int symbolWidth = 22;

private:
    const QHeaderView& m_header;
};

} // namespace vesto
