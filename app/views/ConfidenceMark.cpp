#include "app/views/ConfidenceMark.h"

#include "app/views/Formats.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QPainter>
#include <array>

namespace vesto {
namespace {

constexpr double worthALook = 0.40;
constexpr double barWidth = 4;
constexpr double barDistance = 6;
constexpr std::array<double, 3> barHeights{4, 8, 12};

} // namespace

ConfidenceMark::ConfidenceMark(double confidence, double autoThreshold)
    : m_confidence(confidence)
    , m_step(confidence >= autoThreshold ? Step::sure
             : confidence >= worthALook  ? Step::check
                                         : Step::weak) {}

QString ConfidenceMark::stepText(Step step) {
    switch (step) {
    case Step::sure:
        return french("Sûr");
    case Step::check:
        return french("À vérifier");
    case Step::weak:
        return french("Fragile");
    }
    return {};
}

QString ConfidenceMark::stepText() const {
    return stepText(m_step);
}

QString ConfidenceMark::percentage() const {
    return vesto::percentage(m_confidence);
}

QString ConfidenceMark::accessibleText() const {
    return french("confiance %1, %2", percentage(), frenchLocale().toLower(stepText()));
}

QString ConfidenceMark::tip() {
    return french("Part du titre retrouvée dans le texte du fichier");
}

void ConfidenceMark::paint(QPainter& painter, const QRectF& place, Step step, const Tones& tones) {
    const QColor colour = tones.ofStep(step);
    const double bottom = place.center().y() + (size.height() / 2.0);
    const int full = static_cast<int>(step) + 1;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (std::size_t bar = 0; bar < barHeights.size(); ++bar) {
        const QRectF shape(place.left() + (static_cast<double>(bar) * barDistance), bottom - barHeights[bar],
                           barWidth, barHeights[bar]);
        if (static_cast<int>(bar) < full) {
            painter.fillRect(shape, colour);
        } else {
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(QPen(colour, 1));
            painter.setBrush(Qt::NoBrush);
            painter.drawRect(shape.adjusted(0.5, 0.5, -0.5, -0.5));
            painter.setRenderHint(QPainter::Antialiasing, false);
        }
    }
    painter.restore();
}

QPixmap ConfidenceMark::pixmap(Step step, const Tones& tones, double devicePixelRatio) {
    QPixmap pixmap(size * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(painter, QRectF(QPointF(0, 0), size), step, tones);
    return pixmap;
}

} // namespace vesto
