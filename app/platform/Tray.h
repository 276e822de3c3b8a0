#pragma once
#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QMenu>
#include <QObject>
#include <QRect>
#include <QString>
#include <QSystemTrayIcon>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vesto {

/// The icon in the desktop's tray, where it has one: at once, or when one comes later. Main thread; nothing
/// waits, no timer runs.
class Tray : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    explicit Tray(std::optional<QDBusConnection> bus);
    ~Tray() override;

    /// What is shown from now on: the drawing that the desktop's theme has under `name`, which the desktop
    /// colours as it likes, or `own` where it has none or cannot colour it.
    void show(const QString& name, const QIcon& own, const QString& toolTip);

    /// The icon goes, and comes back no more.
    void leave();

    /// To be filled; opened by a click with the right button.
    [[nodiscard]] QMenu& menu() { return m_menu; }

    [[nodiscard]] bool isThere() const { return m_icon != nullptr; }

    /// Where the icon is on the screen; empty where the desktop does not tell.
    [[nodiscard]] QRect geometry() const { return m_icon ? m_icon->geometry() : QRect(); }

Q_SIGNALS:
    void clicked();

private Q_SLOTS:
    void lookForHost();
    void lookForSelection();

private:
    enum class Way { bus, x11 };
    void appear(Way way);
    [[nodiscard]] QIcon icon() const;
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    std::optional<QDBusConnection> m_bus;
    QMenu m_menu;
    QString m_name;
    QIcon m_own;
    QString m_toolTip;
    std::unique_ptr<QDBusServiceWatcher> m_hosts;
    std::uint32_t m_managerAtom = 0; // of X11, while its older kind of tray is waited for
    std::unique_ptr<QSystemTrayIcon> m_icon;
    Way m_way = Way::bus;
    bool m_hasLeft = false;
};

} // namespace vesto
