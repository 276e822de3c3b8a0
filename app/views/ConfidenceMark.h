#pragma once
#include <QPixmap>
#include <QRectF>
#include <QSize>
#include <QString>

class QPainter;
class QPalette;

namespace vesto {

class Tones;

/// How sure a title is, as it is shown: three bars, a word and a percentage. The step follows the threshold
/// above which names are given without asking, so that mark and deed agree.
class ConfidenceMark {
public:
    enum class Step { weak, check, sure };

    /// Logical pixels.
    static constexpr QSize size{16, 12};

    ConfidenceMark(double confidence, double autoThreshold);

    [[nodiscard]] Step step() const { return m_step; }
    [[nodiscard]] QString stepText() const;       // "Sûr"
    [[nodiscard]] QString percentage() const;     // "87 %"
    [[nodiscard]] QString accessibleText() const; // "confiance 87 %, sûr"

    /// Left and vertically centred in `place`.
    static void paint(QPainter& painter, const QRectF& place, Step step, const Tones& tones);
    [[nodiscard]] static QPixmap pixmap(Step step, const Tones& tones, double devicePixelRatio);

    [[nodiscard]] static QString stepText(Step step);
    [[nodiscard]] static QString tip(); // what the mark measures

private:
    double m_confidence;
    Step m_step;
};

} // namespace vesto
