#include "app/views/LongTable.h"

#include <QAbstractItemDelegate>
#include <QEvent>
#include <QHeaderView>

namespace vesto {

LongTable::LongTable(QWidget* parent)
    : QTableView(parent) {
    setSelectionBehavior(SelectRows);
    setShowGrid(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    setTabKeyNavigation(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
}

void LongTable::fitRows() {
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    const int height = itemDelegate()->sizeHint(option, {}).height();
    verticalHeader()->setMinimumSectionSize(height);
    verticalHeader()->setDefaultSectionSize(height);
}

/// Cells are not gone through: Home and End lead to the first and the last row.
QModelIndex LongTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
    const QModelIndex current = currentIndex();
    if (action == MoveHome)
        return model()->index(0, current.column());
    if (action == MoveEnd)
        return model()->index(model()->rowCount() - 1, current.column());
    if (action == MoveLeft || action == MoveRight)
        return current;
    return QTableView::moveCursor(action, modifiers);
}

void LongTable::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        fitRows();
}

} // namespace vesto
