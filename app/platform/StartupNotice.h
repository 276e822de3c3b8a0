#pragma once
#include <QString>

class QWidget;

/// What the desktop is told when somebody started the application and one of its windows answers.
namespace vesto::StartupNotice {

/// Before a window is shown: Wayland lets it come to the front by this token. Empty: there is none.
void take(const QString& token);

/// Once the window is shown. On X11 it comes to the front with the time of the click that `token` carries,
/// which no window manager takes for one that pushes itself forward, and the desktop's sign of waiting goes.
void answer(const QWidget& window, const QString& token);

/// When the click was, in the display's milliseconds; 0 where the token does not tell.
[[nodiscard]] unsigned timeOf(const QString& token);

} // namespace vesto::StartupNotice
