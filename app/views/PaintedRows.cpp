#include "app/views/PaintedRows.h"

#include "app/views/Names.h"
#include "app/views/Words.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionToolButton>
#include <QToolTip>

namespace vesto {
namespace {

constexpr int edgeBar = 3;
constexpr int symbolSide = 16;

} // namespace

PaintedRows::PaintedRows(QAbstractItemView& view)
    : QStyledItemDelegate(&view)
    , m_view(view)
    , m_viewport(view.viewport()) {
    view.setMouseTracking(true);
    m_viewport->setMouseTracking(true);
    m_viewport->installEventFilter(this);
    view.installEventFilter(this);
    connect(view.verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { m_steady.start(); });
    m_since.start();
    m_steady.start();
}

QStyleOptionViewItem PaintedRows::optionOf(const QModelIndex& index) const {
    QStyleOptionViewItem option;
    option.initFrom(&m_view);
    option.font = m_view.font();
    option.fontMetrics = QFontMetrics(option.font);
    option.widget = &m_view;
    option.rect = m_view.visualRect(index);
    initStyleOption(&option, index);
    return option;
}

void PaintedRows::watchModel() {
    QAbstractItemModel* model = m_view.model();
    if (m_model == model)
        return;
    if (m_model != nullptr)
        m_model->disconnect(this);
    m_model = model;
    if (model == nullptr)
        return;
    // Queued: the view has to lay out its rows first.
    const auto follow = [this](auto signal) {
        connect(m_model, signal, this, [this] { m_steady.start(); });
        connect(m_model, signal, this, &PaintedRows::refreshHover, Qt::QueuedConnection);
    };
    follow(&QAbstractItemModel::rowsInserted);
    follow(&QAbstractItemModel::rowsRemoved);
    follow(&QAbstractItemModel::rowsMoved);
    follow(&QAbstractItemModel::modelReset);
    follow(&QAbstractItemModel::layoutChanged);
}

void PaintedRows::refreshHover() {
    hover(m_pointer);
}

void PaintedRows::hover(std::optional<QPoint> point) {
    m_pointer = point;
    const QModelIndex row = point ? m_view.indexAt(*point) : QModelIndex();
    const std::optional<Found> found = point ? find(*point) : std::nullopt;
    const int part = found ? found->part.id : -1;
    if (m_hovered == row && part == m_hoveredPart)
        return;
    // In a table the pointer may go from cell to cell.
    if (m_hovered.sibling(m_hovered.row(), 0) != row.siblingAtColumn(0))
        m_since.start();
    m_hovered = row;
    m_hoveredPart = part;
    m_viewport->update();
}

std::optional<PaintedRows::Found> PaintedRows::find(QPoint point) const {
    const QModelIndex index = m_view.indexAt(point);
    if (!index.isValid() || m_view.indexWidget(index) != nullptr)
        return std::nullopt;
    for (RowPart& part : parts(optionOf(index), index))
        if (part.place.contains(point))
            return Found{index, std::move(part)};
    return std::nullopt;
}

bool PaintedRows::mayClick() const {
    return m_since.elapsed() >= clickGuard || m_steady.elapsed() >= clickGuard;
}

bool PaintedRows::press(QPoint point) {
    hover(point);
    const std::optional<Found> found = find(point);
    if (!found)
        return false;
    if (found->part.isEnabled && mayClick()) {
        m_pressed = found->index;
        m_pressedPart = found->part.id;
        m_viewport->update();
    }
    m_view.setFocus(Qt::MouseFocusReason);
    return true; // also where it does not count: such a click selects nothing either
}

bool PaintedRows::release(QPoint point) {
    const QPersistentModelIndex pressed = m_pressed;
    const int part = m_pressedPart;
    m_pressed = QModelIndex();
    m_pressedPart = -1;
    m_viewport->update();
    if (part < 0)
        return false;
    const std::optional<Found> found = find(point);
    if (pressed.isValid() && found && pressed == found->index && part == found->part.id) {
        m_view.setCurrentIndex(found->index);
        Q_EMIT triggered(found->index, part, found->part.place);
    }
    return true;
}

bool PaintedRows::showTip(QPoint point, QPoint global) {
    const std::optional<Found> found = find(point);
    const QModelIndex index = m_view.indexAt(point);
    const QString text = found ? found->part.text : index.data(Qt::ToolTipRole).toString();
    QToolTip::showText(global, tip(text), m_viewport, found ? found->part.place : m_view.visualRect(index));
    return true;
}

void PaintedRows::showMenu(const QModelIndex& index, QPoint global) {
    if (!index.isValid())
        return;
    m_view.setCurrentIndex(index);
    auto* menu = new QMenu(&m_view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const RowPart& part : parts(optionOf(index), index)) {
        if (!part.isInMenu)
            continue;
        QAction* action = menu->addAction(part.text);
        action->setEnabled(part.isEnabled);
        connect(action, &QAction::triggered, this,
                [this, row = QPersistentModelIndex(index), id = part.id, place = part.place] {
                    if (row.isValid())
                        Q_EMIT triggered(row, id, place);
                });
    }
    if (menu->isEmpty()) {
        delete menu;
        return;
    }
    menu->popup(global);
}

bool PaintedRows::eventFilter(QObject* watched, QEvent* event) {
    // Anything else may come while the view is being destroyed.
    switch (event->type()) {
    case QEvent::ContextMenu:
        return (watched == m_viewport || watched == &m_view) &&
               openMenu(*static_cast<QContextMenuEvent*>(event));
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseButtonRelease:
        return watched == m_viewport && takeMouse(*static_cast<QMouseEvent*>(event));
    case QEvent::Leave:
        if (watched == m_viewport)
            hover(std::nullopt);
        return false;
    case QEvent::Paint: // whose model a finger may touch next
        if (watched == m_viewport)
            watchModel();
        return false;
    case QEvent::Show:
    case QEvent::Resize:
        if (watched == m_viewport)
            m_steady.start();
        return false;
    case QEvent::ToolTip: {
        const auto* help = static_cast<QHelpEvent*>(event);
        return watched == m_viewport && showTip(help->pos(), help->globalPos());
    }
    default: // the many events that are the view's own
        return watched != m_viewport && watched != &m_view &&
               QStyledItemDelegate::eventFilter(watched, event);
    }
}

bool PaintedRows::openMenu(const QContextMenuEvent& event) {
    const bool byKey = event.reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? m_view.currentIndex() : m_view.indexAt(event.pos());
    const QPoint middle = m_viewport->mapToGlobal(m_view.visualRect(index).center());
    showMenu(index, byKey ? middle : event.globalPos());
    return true;
}

bool PaintedRows::takeMouse(const QMouseEvent& event) {
    watchModel();
    const QPoint point = event.position().toPoint();
    if (event.type() == QEvent::MouseMove) {
        hover(point);
        return m_pressedPart >= 0;
    }
    if (event.button() != Qt::LeftButton)
        return false;
    return event.type() == QEvent::MouseButtonRelease ? release(point) : press(point);
}

void PaintedRows::paintGround(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                              bool isLast) const {
    const Tones tones(option.palette);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    if (isSelected)
        painter.fillRect(option.rect, tones.selectedRow());
    else if (isHovered(index))
        painter.fillRect(option.rect, tones.hoveredRow());
    if (!isLast)
        painter.fillRect(QRect(option.rect.left(), option.rect.bottom(), option.rect.width(), 1),
                         tones.separator());
    if (isSelected) {
        QRect bar = option.rect;
        bar.setWidth(edgeBar);
        painter.fillRect(QStyle::visualRect(option.direction, option.rect, bar), tones.accent());
    }
    if (option.state.testFlag(QStyle::State_HasFocus) && m_view.hasFocus()) {
        painter.setPen(QPen(tones.focus(), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(option.rect.adjusted(1, 1, -1, -1));
    }
}

void PaintedRows::paintPart(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                            const RowPart& part) const {
    const bool isUnder = isHovered(index) && m_hoveredPart == part.id;
    const bool isDown = m_pressed == index && m_pressedPart == part.id;
    QStyle::State state = part.isEnabled ? QStyle::State_Enabled : QStyle::State_None;
    state.setFlag(QStyle::State_Active, option.state.testFlag(QStyle::State_Active));
    state.setFlag(QStyle::State_MouseOver, isUnder && part.isEnabled);
    state.setFlag(isDown ? QStyle::State_Sunken : QStyle::State_Raised);
    const QStyle& style = *m_view.style();
    switch (part.look) {
    case RowPart::Look::push:
    case RowPart::Look::check: {
        const bool isBox = part.look == RowPart::Look::check;
        QStyleOptionButton button;
        button.initFrom(&m_view);
        button.rect = part.place;
        button.state = state;
        button.fontMetrics = QFontMetrics(m_view.font());
        button.palette = m_view.palette();
        if (isBox) {
            button.state.setFlag(part.isChecked ? QStyle::State_On : QStyle::State_Off);
            style.drawControl(QStyle::CE_CheckBox, &button, &painter, &m_view);
            break;
        }
        button.text = part.text;
        if (part.isDefault)
            button.features |= QStyleOptionButton::DefaultButton | QStyleOptionButton::AutoDefaultButton;
        painter.setFont(m_view.font());
        style.drawControl(QStyle::CE_PushButton, &button, &painter, &m_view);
        break;
    }
    case RowPart::Look::tool: {
        if (isUnder && part.isEnabled) {
            QStyleOptionToolButton button;
            button.initFrom(&m_view);
            button.rect = part.place;
            button.state = state | QStyle::State_AutoRaise;
            button.subControls = QStyle::SC_ToolButton;
            button.activeSubControls = isDown ? QStyle::SC_ToolButton : QStyle::SC_None;
            button.toolButtonStyle = Qt::ToolButtonIconOnly;
            style.drawComplexControl(QStyle::CC_ToolButton, &button, &painter, &m_view);
        }
        QRect symbol(0, 0, symbolSide, symbolSide);
        symbol.moveCenter(part.place.center());
        QColor colour = Tones(option.palette).text();
        if (!part.isEnabled)
            colour.setAlphaF(0.45F);
        Icons::paint(painter, symbol, part.symbol, colour);
        break;
    }
    case RowPart::Look::mark:
        break;
    }
}

void PaintedRows::paintLine(QPainter& painter, const QRect& place, const QString& text, const QFont& font,
                            const QColor& colour, Qt::Alignment alignment) {
    painter.setFont(font);
    painter.setPen(colour);
    painter.drawText(
        place, static_cast<int>(alignment | Qt::AlignVCenter) | Qt::TextSingleLine | Qt::TextForceLeftToRight,
        text);
}

QSize PaintedRows::buttonSize(const QString& text) const {
    const QFontMetrics metrics(m_view.font());
    QStyleOptionButton button;
    button.initFrom(&m_view);
    button.text = text;
    button.fontMetrics = metrics;
    const QSize content(metrics.horizontalAdvance(text), metrics.height());
    return m_view.style()->sizeFromContents(QStyle::CT_PushButton, &button, content, &m_view);
}

} // namespace vesto
