#pragma once
#include "core/naming/ContentSummary.h"

#include <QColor>
#include <QIcon>
#include <QRectF>
#include <QString>

class QPainter;
class QPalette;

namespace vesto {

/// A drawing of ours.
enum class Symbol {
    absent,
    accept,
    addFolder,
    analyse,
    automatic,
    done,
    edit,
    error,
    folder,
    history,
    ignore,
    info,
    kindAudio,
    kindDocument,
    kindEbook,
    kindEmail,
    kindImage,
    kindPDF,
    kindPresentation,
    kindScreenshot,
    kindSpreadsheet,
    kindVideo,
    lock,
    near,
    next,
    pause,
    quit,
    remove,
    reset,
    resume,
    reveal,
    running,
    search,
    settings,
    trayAttention,
    trayIdle,
    trayPaused,
    trayWorking,
    undo,
    warning,
};

namespace Icons {

[[nodiscard]] Symbol ofKind(ContentSummary::Kind kind);

/// In one colour, sharp at every size. For painted rows.
void paint(QPainter& painter, const QRectF& place, Symbol symbol, const QColor& colour);

/// Ours, in one colour.
[[nodiscard]] QIcon own(Symbol symbol, const QColor& colour);

/// The desktop's drawing of it where its theme has one, else ours in the colour of `palette`'s role. For
/// controls; made anew when the palette changes.
[[nodiscard]] QIcon themed(Symbol symbol, const QPalette& palette);

/// Vesto itself, in its colours.
[[nodiscard]] QIcon application();

/// The name under which a desktop finds the drawing once it is installed, as "vesto-tray-idle-symbolic".
[[nodiscard]] QString fileName(Symbol symbol);

} // namespace Icons
} // namespace vesto
