#pragma once
#include "app/views/ConfidenceMark.h"

#include <QColor>
#include <QFont>
#include <QPalette>

namespace vesto {

/// `share` of `other` in `colour`, 0 to 1.
[[nodiscard]] QColor mixed(const QColor& colour, const QColor& other, double share);

/// Contrast of two opaque colours, 1 to 21.
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

/// The colours that Vesto derives from the desktop's own. Cheap; made anew wherever something is painted, so
/// that a changed palette needs no notice.
class Tones {
public:
    explicit Tones(const QPalette& palette)
        : m_palette(palette) {}

    [[nodiscard]] bool isDark() const;
    [[nodiscard]] QColor text() const;              // on Base
    [[nodiscard]] QColor secondary() const;         // on Base and on selected rows
    [[nodiscard]] QColor secondaryOnWindow() const; // and on the page of a tab
    [[nodiscard]] QColor tabPage() const;           // as Fusion draws it; a dark one is lighter than Window
    [[nodiscard]] QColor selectedRow() const;
    [[nodiscard]] QColor hoveredRow() const;
    [[nodiscard]] QColor accent() const;    // the bar at the edge of a selected row
    [[nodiscard]] QColor separator() const; // on Base
    [[nodiscard]] QColor separatorOnWindow() const;
    [[nodiscard]] QColor edge() const; // of a box that can be ticked
    [[nodiscard]] QColor noticeGround() const;
    [[nodiscard]] QColor focus() const;

    // Readable on Base, Window, selected rows and the page of a tab.
    [[nodiscard]] QColor success() const;
    [[nodiscard]] QColor caution() const;
    [[nodiscard]] QColor failure() const;
    [[nodiscard]] QColor ofStep(ConfidenceMark::Step step) const;

private:
    [[nodiscard]] QColor role(QPalette::ColorRole role) const;
    [[nodiscard]] QColor onEveryGround(const QColor& colour) const;

    QPalette m_palette;
};

/// `base` larger or smaller, perhaps heavier.
[[nodiscard]] QFont scaledFont(QFont base, double factor, QFont::Weight weight = QFont::Normal);

/// The fonts of the windows, from the font of what shows them.
[[nodiscard]] inline QFont nameFont(const QFont& base) {
    return scaledFont(base, 1, QFont::Medium);
}
[[nodiscard]] inline QFont secondaryFont(const QFont& base) {
    return scaledFont(base, 0.9);
}
[[nodiscard]] inline QFont sectionFont(const QFont& base) {
    return scaledFont(base, 1, QFont::DemiBold);
}
[[nodiscard]] inline QFont headingFont(const QFont& base) {
    return scaledFont(base, 1.25, QFont::DemiBold);
}
[[nodiscard]] inline QFont welcomeFont(const QFont& base) {
    return scaledFont(base, 1.6, QFont::DemiBold);
}

} // namespace vesto
