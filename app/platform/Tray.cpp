#include "app/platform/Tray.h"

#include "app/platform/X11.h"

#include <xcb/xcb.h>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace vesto {
namespace {

constexpr const char* watcherService = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";

template <typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

bool hasOwner(xcb_connection_t* connection, xcb_atom_t selection) {
    const auto cookie = xcb_get_selection_owner(connection, selection);
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, cookie, nullptr), &std::free);
    return reply && reply->owner != XCB_NONE;
}

} // namespace

// Qt decides once, at its first icon, by which of the two ways icons are shown. So the first one is made only
// when one of them is there.
Tray::Tray(std::optional<QDBusConnection> bus)
    : m_bus(std::move(bus)) {
    if (!m_bus) {
        lookForSelection();
        return;
    }
    m_hosts = std::make_unique<QDBusServiceWatcher>(watcherService, *m_bus,
                                                    QDBusServiceWatcher::WatchForRegistration);
    connect(m_hosts.get(), &QDBusServiceWatcher::serviceRegistered, this, &Tray::lookForHost);
    m_bus->connect(watcherService, watcherPath, watcherService, "StatusNotifierHostRegistered", this,
                   SLOT(lookForHost()));
    lookForHost();
}

Tray::~Tray() {
    if (m_managerAtom != 0)
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

void Tray::show(const QString& name, const QIcon& own, const QString& toolTip) {
    m_name = name;
    m_own = own;
    m_toolTip = toolTip;
    if (m_icon) {
        m_icon->setIcon(icon());
        m_icon->setToolTip(toolTip);
    }
}

QIcon Tray::icon() const {
    return m_way == Way::bus ? QIcon::fromTheme(m_name, m_own) : m_own;
}

void Tray::lookForHost() {
    if (m_icon)
        return;
    auto call =
        QDBusMessage::createMethodCall(watcherService, watcherPath, "org.freedesktop.DBus.Properties", "Get");
    call.setAutoStartService(false);
    call << QString(watcherService) << QString("IsStatusNotifierHostRegistered");
    auto* watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QVariant> isThere = *finished;
        if (!isThere.isError() && isThere.value().toBool())
            appear(Way::bus);
        else
            lookForSelection();
    });
}

void Tray::lookForSelection() {
    xcb_connection_t* connection = x11::connection();
    if (m_icon || connection == nullptr)
        return;
    if (hasOwner(connection, x11::atom(connection, "_NET_SYSTEM_TRAY_S0"))) {
        appear(Way::x11);
    } else if (m_managerAtom == 0) {
        m_managerAtom = x11::atom(connection, "MANAGER");
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
}

bool Tray::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
        return false;
    if (static_cast<const xcb_client_message_event_t*>(message)->type == m_managerAtom)
        QMetaObject::invokeMethod(this, "lookForSelection", Qt::QueuedConnection);
    return false;
}

void Tray::leave() {
    m_hasLeft = true;
    if (m_icon)
        m_icon->hide(); // we may stand in a call of its menu
}

void Tray::appear(Way way) {
    if (m_icon || m_hasLeft)
        return;
    m_way = way;
    m_icon = std::make_unique<QSystemTrayIcon>(icon());
    m_icon->setToolTip(m_toolTip);
    m_icon->setContextMenu(&m_menu);
    connect(m_icon.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    Q_EMIT clicked();
            });
    m_icon->show();
}

} // namespace vesto
