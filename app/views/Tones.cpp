#include "app/views/Tones.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace vesto {
namespace {

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour) {
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

constexpr double secondaryShare = 0.35;
constexpr double separatorShare = 0.82;
constexpr double readableEdge = 3.0; // contrast of what is no text
constexpr double readableText = 4.5;
constexpr double edgeShare = 0.55;

constexpr double shareStep = 0.02;

using Grounds = std::initializer_list<QColor>;

bool isReadable(const QColor& ink, const Grounds& grounds, double least = readableText) {
    return std::ranges::all_of(grounds, [&](const QColor& ground) { return contrast(ink, ground) >= least; });
}

/// Text paled towards its ground by `share` or as far as it still has that contrast with all of `grounds`.
QColor paled(const QColor& text, const QColor& ground, const Grounds& grounds, double share = secondaryShare,
             double least = readableText) {
    while (share > 0 && !isReadable(mixed(text, ground, share), grounds, least))
        share -= shareStep;
    return mixed(text, ground, std::max(share, 0.0));
}

} // namespace

QColor mixed(const QColor& colour, const QColor& other, double share) {
    const auto channel = [share](double one, double two) { return one + ((two - one) * share); };
    return QColor::fromRgb(static_cast<int>(std::lround(channel(colour.red(), other.red()))),
                           static_cast<int>(std::lround(channel(colour.green(), other.green()))),
                           static_cast<int>(std::lround(channel(colour.blue(), other.blue()))));
}

double contrast(const QColor& one, const QColor& other) {
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

QColor Tones::role(QPalette::ColorRole role) const {
    return m_palette.color(QPalette::Active, role);
}

bool Tones::isDark() const {
    return role(QPalette::Base).lightnessF() < 0.5F;
}

QColor Tones::text() const {
    return role(QPalette::Text);
}

QColor Tones::secondary() const {
    return paled(role(QPalette::Text), role(QPalette::Base), {selectedRow()});
}

QColor Tones::secondaryOnWindow() const {
    return paled(role(QPalette::WindowText), role(QPalette::Window), {role(QPalette::Window), tabPage()});
}

QColor Tones::tabPage() const {
    QColor colour = role(QPalette::Button);
    colour = colour.lighter(100 + std::max(1, (180 - qGray(colour.rgb())) / 6));
    colour.setHsv(colour.hue(), colour.saturation() * 3 / 4, colour.value());
    return colour.lighter(104).toRgb();
}

QColor Tones::selectedRow() const {
    return mixed(role(QPalette::Base), role(QPalette::Highlight), 0.20);
}

QColor Tones::hoveredRow() const {
    return mixed(role(QPalette::Base), role(QPalette::Highlight), 0.08);
}

QColor Tones::accent() const {
    return role(QPalette::Highlight);
}

QColor Tones::separator() const {
    return mixed(role(QPalette::Text), role(QPalette::Base), separatorShare);
}

QColor Tones::separatorOnWindow() const {
    return mixed(role(QPalette::WindowText), role(QPalette::Window), separatorShare);
}

QColor Tones::edge() const {
    return paled(role(QPalette::Text), role(QPalette::Base), {selectedRow()}, edgeShare, readableEdge);
}

QColor Tones::noticeGround() const {
    return mixed(role(QPalette::Window), QColor(0xe0, 0xa0, 0x20), 0.18);
}

QColor Tones::focus() const {
    QColor colour = role(QPalette::Highlight);
    const QColor ground = role(QPalette::Base);
    const int step = isDark() ? 4 : -4;
    while (contrast(colour, ground) < readableEdge) {
        const int lightness = std::clamp(colour.lightness() + step, 0, 255);
        if (lightness == colour.lightness())
            break;
        colour.setHsl(colour.hslHue(), colour.hslSaturation(), lightness);
    }
    return colour;
}

QColor Tones::onEveryGround(const QColor& colour) const {
    const Grounds grounds{role(QPalette::Base), role(QPalette::Window), selectedRow(), tabPage()};
    QColor ink = colour;
    for (double share = shareStep; share < 1 && !isReadable(ink, grounds); share += shareStep)
        ink = mixed(colour, role(QPalette::Text), share);
    return ink;
}

QColor Tones::success() const {
    return onEveryGround(isDark() ? QColor(0x74, 0xd1, 0x9b) : QColor(0x1a, 0x6b, 0x3a));
}

QColor Tones::caution() const {
    return onEveryGround(isDark() ? QColor(0xe8, 0xb6, 0x5c) : QColor(0x85, 0x54, 0x00));
}

QColor Tones::failure() const {
    return onEveryGround(isDark() ? QColor(0xf2, 0x9b, 0x91) : QColor(0xa1, 0x2d, 0x23));
}

QColor Tones::ofStep(ConfidenceMark::Step step) const {
    switch (step) {
    case ConfidenceMark::Step::sure:
        return success();
    case ConfidenceMark::Step::check:
        return caution();
    case ConfidenceMark::Step::weak:
        return failure();
    }
    return {};
}

QFont scaledFont(QFont base, double factor, QFont::Weight weight) {
    if (base.pointSizeF() > 0)
        base.setPointSizeF(base.pointSizeF() * factor);
    else
        base.setPixelSize(static_cast<int>(std::lround(base.pixelSize() * factor)));
    base.setWeight(weight);
    return base;
}

} // namespace vesto
