#pragma once
#include <QTableView>

namespace vesto {

/// A table that may have a million rows, which are used as a whole. A tree would lay out all of them anew
/// whenever some join.
class LongTable final : public QTableView {
    Q_OBJECT
public:
    explicit LongTable(QWidget* parent = nullptr);

    /// All rows are as high as the delegate says of the first; to be called once it is set.
    void fitRows();

protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void changeEvent(QEvent* event) override;
};

} // namespace vesto
