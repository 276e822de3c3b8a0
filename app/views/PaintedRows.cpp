#include "app/views/PaintedRows.h"

#include "app/views/Words.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
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
    , m_view(view) {
    view.setMouseTracking(true);
    view.viewport()->setMouseTracking(true);
    view.viewport()->installEventFilter(this);
    view.installEventFilter(this);
    m_since.start();
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
    const bool isOther = m_hovered != row;
    if (!isOther && part == m_hoveredPart)
        return;
    if (isOther)
        m_since.start();
    m_hovered = row;
    m_hoveredPart = part;
    m_view.viewport()->update();
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
    return m_since.elapsed() >= clickGuard;
}

bool PaintedRows::press(QPoint point) {
    hover(point);
    const std::optional<Found> found = find(point);
    if (!found)
        return false;
    if (found->part.isEnabled && mayClick()) {
        m_pressed = found->index;
        m_pressedPart = found->part.id;
        m_view.viewport()->update();
    }
    m_view.setFocus(Qt::MouseFocusReason);
    return true; // also where it does not count: such a click selects nothing either
}

bool PaintedRows::release(QPoint point) {
    const QPersistentModelIndex pressed = m_pressed;
    const int part = m_pressedPart;
    m_pressed = QModelIndex();
    m_pressedPart = -1;
    m_view.viewport()->update();
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
    const QString tip = found ? found->part.text : index.data(Qt::ToolTipRole).toString();
    // A tip that looks like markup would be read as such.
    QToolTip::showText(global, tip.isEmpty() ? tip : QLatin1String("<qt>") + tip.toHtmlEscaped(),
                       m_view.viewport(), found ? found->part.place : m_view.visualRect(index));
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
    if (watched != &m_view && watched != m_view.viewport())
        return QStyledItemDelegate::eventFilter(watched, event);
    if (event->type() == QEvent::ContextMenu) {
        const auto* menu = static_cast<QContextMenuEvent*>(event);
        const bool byKey = menu->reason() == QContextMenuEvent::Keyboard;
        const QModelIndex index = byKey ? m_view.currentIndex() : m_view.indexAt(menu->pos());
        const QPoint corner = m_view.viewport()->mapToGlobal(m_view.visualRect(index).center());
        showMenu(index, byKey ? corner : menu->globalPos());
        return true;
    }
    if (watched != m_view.viewport())
        return false;
    watchModel();
    switch (event->type()) {
    case QEvent::MouseMove:
        hover(static_cast<QMouseEvent*>(event)->position().toPoint());
        return m_pressedPart >= 0;
    case QEvent::Leave:
        hover(std::nullopt);
        return false;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        return mouse->button() == Qt::LeftButton && press(mouse->position().toPoint());
    }
    case QEvent::MouseButtonRelease: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        return mouse->button() == Qt::LeftButton && release(mouse->position().toPoint());
    }
    case QEvent::ToolTip: {
        const auto* help = static_cast<QHelpEvent*>(event);
        return showTip(help->pos(), help->globalPos());
    }
    default: // the many events that are the view's own
        return false;
    }
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

QSize PaintedRows::buttonSize(const QStyleOptionViewItem& option, const QString& text) const {
    QStyleOptionButton button;
    button.initFrom(&m_view);
    button.text = text;
    button.fontMetrics = option.fontMetrics;
    const QSize content(option.fontMetrics.horizontalAdvance(text), option.fontMetrics.height());
    return m_view.style()->sizeFromContents(QStyle::CT_PushButton, &button, content, &m_view);
}

} // namespace vesto
