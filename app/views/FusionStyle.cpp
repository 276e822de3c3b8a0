#include "app/views/FusionStyle.h"

#include "app/views/Tones.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOptionButton>

namespace vesto {
namespace {

constexpr QSize room(12, 2);

} // namespace

FusionStyle::FusionStyle()
    : QProxyStyle(QStringLiteral("fusion")) {}

void FusionStyle::use() {
    if (QApplication::style()->inherits("QFusionStyle"))
        QApplication::setStyle(new FusionStyle); // the application owns it
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

void FusionStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                const QWidget* widget) const {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    if (element != PE_IndicatorCheckBox || !option->state.testFlag(State_Enabled))
        return;
    const Tones tones(option->palette);
    const bool isFocused = option->state.testFlag(State_HasFocus);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing, false);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(isFocused ? tones.focus() : tones.edge());
    painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
    painter->restore();
}

QSize FusionStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                    const QWidget* widget) const {
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    const bool hasText = type == CT_PushButton && button != nullptr && !button->text.isEmpty();
    // Fusion's least width has room for a short word already.
    return hasText ? size.expandedTo(contents + QSize(2 * room.width(), 0)) + QSize(0, room.height()) : size;
}

} // namespace vesto
