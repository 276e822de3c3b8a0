#pragma once
#include <QDBusConnection>
#include <optional>

namespace vesto {

/// The message bus of this session, where DBUS_SESSION_BUS_ADDRESS or the runtime folder's socket "bus" names
/// one; nothing elsewhere. None is ever started: from the first call on, also Qt's own parts find no other
/// one. Main thread; the first call comes before the application object is made.
[[nodiscard]] bool namesSessionBus();
[[nodiscard]] std::optional<QDBusConnection> sessionBus();

} // namespace vesto
