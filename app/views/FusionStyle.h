#pragma once
#include <QProxyStyle>

namespace vesto {

/// Fusion with boxes whose edge can be seen on every ground, and with room around the text of buttons. Other
/// styles need no help.
class FusionStyle final : public QProxyStyle {
    Q_OBJECT
public:
    FusionStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                         const QWidget* widget) const override;

    /// Puts this in the place of the application's style where that is Fusion.
    static void use();
};

} // namespace vesto
