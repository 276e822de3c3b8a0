#include "app/platform/SessionBus.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QByteArray>
#include <QtGlobal>

namespace vesto {
namespace {

constexpr const char* addressName = "DBUS_SESSION_BUS_ADDRESS";

/// The address of the socket that the session's manager opens, where it is there and this user's.
QByteArray runtimeAddress() {
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray path = folder + "/bus";
    struct stat status{};
    if (!folder.startsWith('/') || ::stat(path.constData(), &status) != 0 || !S_ISSOCK(status.st_mode) ||
        status.st_uid != ::getuid())
        return {};
    return "unix:path=" + path.toPercentEncoding("/");
}

bool nameBus() {
    QByteArray address = qgetenv(addressName);
    if (address.isEmpty())
        address = runtimeAddress();
    const bool names = !address.isEmpty() && !address.startsWith("autolaunch:") && address != "disabled:";
    // An address that leads nowhere keeps the library from starting a bus of its own.
    qputenv(addressName, names ? address : QByteArray("disabled:"));
    return names;
}

} // namespace

bool namesSessionBus() {
    static const bool names = nameBus();
    return names;
}

std::optional<QDBusConnection> sessionBus() {
    if (!namesSessionBus())
        return std::nullopt;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() ? std::optional(bus) : std::nullopt;
}

} // namespace vesto
