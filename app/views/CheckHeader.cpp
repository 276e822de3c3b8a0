#include "app/views/CheckHeader.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionButton>

namespace vesto {

CheckHeader::CheckHeader(QWidget* parent)
    : TableHeader(parent) {
    setSectionsClickable(true);
    setSortIndicatorClearable(true);
}

void CheckHeader::setTicked(BatchModel::Ticked ticked) {
    if (m_ticked == ticked)
        return;
    m_ticked = ticked;
    viewport()->update();
}

void CheckHeader::paintSection(QPainter* painter, const QRect& rect, int section) const {
    TableHeader::paintSection(painter, rect, section);
    if (section != BatchModel::checkColumn)
        return;
    QStyleOptionButton box;
    box.initFrom(this);
    const int side = style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this);
    box.rect = QRect(0, 0, side, side);
    box.rect.moveCenter(rect.center());
    box.state = QStyle::State_Enabled | QStyle::State_Active;
    switch (m_ticked) {
    case BatchModel::Ticked::none:
        box.state |= QStyle::State_Off;
        break;
    case BatchModel::Ticked::some:
        box.state |= QStyle::State_NoChange;
        break;
    case BatchModel::Ticked::all:
        box.state |= QStyle::State_On;
        break;
    }
    style()->drawControl(QStyle::CE_CheckBox, &box, painter, this);
}

bool CheckHeader::isBox(const QMouseEvent& event) const {
    const int place = event.position().toPoint().x();
    const int end = sectionViewportPosition(BatchModel::checkColumn) + sectionSize(BatchModel::checkColumn);
    return logicalIndexAt(place) == BatchModel::checkColumn && place < end - 4; // where it is not dragged
}

void CheckHeader::mousePressEvent(QMouseEvent* event) {
    if (!isBox(*event))
        TableHeader::mousePressEvent(event);
}

void CheckHeader::mouseReleaseEvent(QMouseEvent* event) {
    if (!isBox(*event))
        TableHeader::mouseReleaseEvent(event);
    else if (event->button() == Qt::LeftButton)
        Q_EMIT tickedAll(m_ticked != BatchModel::Ticked::all);
}

} // namespace vesto
