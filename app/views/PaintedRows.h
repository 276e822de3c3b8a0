#pragma once
#include "app/views/Icons.h"
#include "app/views/Tones.h"

#include <QElapsedTimer>
#include <QPersistentModelIndex>
#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QString>
#include <QStyledItemDelegate>
#include <optional>
#include <vector>

class QAbstractItemView;
class QContextMenuEvent;
class QMouseEvent;

namespace vesto {

/// Something in a painted row that can be clicked.
struct RowPart {
    enum class Look {
        push,  // a button with its text
        tool,  // a button with its symbol
        mark,  // the row paints it; here only its place
        check, // a box
    };

    int id = 0; // the delegate's own
    QRect place;
    Look look = Look::tool;
    QString text; // of the button, or its tip; and of its entry in the context menu
    Symbol symbol = Symbol::accept;
    bool isEnabled = true;
    bool isDefault = false; // a button that Enter presses
    bool isChecked = false;
    bool isInMenu = true;
};

/// Base of the delegates: rows with buttons that are painted and not widgets, so that a list of any length
/// costs what is seen of it. Knows what is hovered, answers clicks, tips and the context menu.
///
/// A click counts only where the same row has been under the pointer for a while, or where no row has moved
/// for as long (a finger comes from nowhere): a row that arrives moves no button under the finger. One
/// delegate serves one view, which owns it.
class PaintedRows : public QStyledItemDelegate {
    Q_OBJECT
public:
    /// Milliseconds for which a row must have been where it is.
    static constexpr int clickGuard = 300;

    explicit PaintedRows(QAbstractItemView& view);

    /// The parts of a row of this rectangle, in the order of the eye. `option` as `initStyleOption` leaves
    /// it.
    [[nodiscard]] virtual std::vector<RowPart> parts(const QStyleOptionViewItem& option,
                                                     const QModelIndex& index) const = 0;

    /// What stands under the pointer; invalid for none.
    [[nodiscard]] QModelIndex hoveredRow() const { return m_hovered; }

    /// To be called where the view was moved as a whole, which it does not hear of itself.
    void noteMoved() { m_steady.start(); }

Q_SIGNALS:
    /// By a click or the context menu. For a mark `place` is where it was painted, in the viewport.
    void triggered(const QModelIndex& index, int part, const QRect& place);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

    [[nodiscard]] QAbstractItemView& view() const { return m_view; }
    /// As the view would paint it, with its rectangle, state and font.
    [[nodiscard]] QStyleOptionViewItem optionOf(const QModelIndex& index) const;
    [[nodiscard]] bool isHovered(const QModelIndex& index) const { return m_hovered == index; }

    /// Ground of a row: selected, hovered, or the view's own, and the separator under it.
    void paintGround(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                     bool isLast) const;
    /// Everything but marks.
    void paintPart(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                   const RowPart& part) const;

    /// One line, its paragraph from left to right, its direction its own; baseline by `place`'s centre.
    static void paintLine(QPainter& painter, const QRect& place, const QString& text, const QFont& font,
                          const QColor& colour, Qt::Alignment alignment = Qt::AlignLeft);

    [[nodiscard]] QSize buttonSize(const QString& text) const;

private:
    struct Found {
        QModelIndex index;
        RowPart part;
    };

    void watchModel();
    /// What is under this point of the viewport now.
    void hover(std::optional<QPoint> point);
    void refreshHover();
    [[nodiscard]] std::optional<Found> find(QPoint point) const;
    bool press(QPoint point);
    bool release(QPoint point);
    bool showTip(QPoint point, QPoint global);
    void showMenu(const QModelIndex& index, QPoint global);
    bool openMenu(const QContextMenuEvent& event);
    bool takeMouse(const QMouseEvent& event);
    [[nodiscard]] bool mayClick() const;

    QAbstractItemView& m_view;
    QWidget* m_viewport; // the view's
    QPointer<QAbstractItemModel> m_model;
    std::optional<QPoint> m_pointer; // in the viewport
    QPersistentModelIndex m_hovered;
    int m_hoveredPart = -1;
    QPersistentModelIndex m_pressed;
    int m_pressedPart = -1;
    QElapsedTimer m_since;  // how long that row has been under the pointer,
    QElapsedTimer m_steady; // and all rows where they are
};

} // namespace vesto
