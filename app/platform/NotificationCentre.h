#pragma once
#include "app/model/Notifier.h"
#include "app/platform/NotificationBurst.h"

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace vesto {

/// Notifications by org.freedesktop.Notifications, as far as the server of this desktop goes: it is asked
/// once what it can do, and again after it was replaced. Main thread; nothing waits but `closeAll`.
class NotificationCentre final : public QObject, public Notifier {
    Q_OBJECT
public:
    /// What a notification leads to besides its answer. `token` lets a window come to the front.
    struct Windows {
        std::function<void(const QString& token)> show;
        std::function<void(std::string_view proposalID, const QString& token)> edit;
    };

    NotificationCentre(QDBusConnection bus, Windows windows);
    ~NotificationCentre() override;

    void setUp(OnResponse onResponse) override { m_onResponse = std::move(onResponse); }
    void notifyProposal(const PendingProposal& pending) override;
    void notifyRenamed(const RenameRecord& record) override;
    void removeProposal(std::string_view proposalID) override;
    /// Takes back what was posted for a rename.
    void removeRenamed(std::string_view recordID);

    /// At the end: nothing is posted any more, and what is shown goes. Waits for the server, at most a
    /// second.
    void closeAll();

private:
    enum class Server { unknown, asked, known };

    /// One notification at the server, or on its way there.
    struct Shown {
        std::variant<Notification, NotificationBurst*> content;
        std::uint64_t number = 0;   // tells it from another one under the same key
        std::uint32_t serverID = 0; // 0: the server has not answered yet
        bool isOnItsWay = false;
        bool isToBeSent = true;
    };
    using Items = std::map<std::string, Shown, std::less<>>; // by category and identifier

    void post(NotificationBurst& burst, Notification notification, const std::string& folder);
    void remove(NotificationBurst& burst, std::string_view category, std::string_view identifier);
    void updateBurst(NotificationBurst& burst);
    void put(const std::string& key, std::variant<Notification, NotificationBurst*> content);
    void sendAll();
    void askServer();
    void send(const std::string& key, Shown& shown);
    void answered(const std::string& key, std::uint64_t number, const QDBusPendingCall& call);
    void serverChanged(const QString& old, const QString& now);
    void erase(Items::iterator item);
    void sync();
    void close(std::uint32_t serverID);
    void forget(Items::iterator item);
    [[nodiscard]] Items::iterator itemOf(std::uint32_t serverID);
    [[nodiscard]] bool serverCan(const char* capability) const;

private Q_SLOTS:
    void act(uint serverID, const QString& action);
    void reply(uint serverID, const QString& text);
    void closed(uint serverID, uint reason);
    void takeToken(uint serverID, const QString& token);

private:
    QDBusConnection m_bus;
    Windows m_windows;
    OnResponse m_onResponse;
    QDBusServiceWatcher m_servers;
    Server m_server = Server::unknown;
    int m_serverRound = 0; // counts the servers
    QStringList m_capabilities;
    Items m_items;
    std::uint64_t m_lastNumber = 0;
    std::map<std::uint64_t, QDBusPendingCall> m_calls; // of what is on its way, by its number
    NotificationBurst m_proposals;
    NotificationBurst m_renames;
    QString m_token; // of the action that is told next
    bool m_isClosing = false;
};

} // namespace vesto
