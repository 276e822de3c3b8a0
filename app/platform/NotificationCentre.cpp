#include "app/platform/NotificationCentre.h"

#include "app/model/FolderCheck.h"
#include "app/platform/SingleInstance.h"
#include "core/support/Log.h"
#include "core/support/Printable.h"
#include "core/support/Text.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLocale>
#include <QVariantMap>
#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

namespace vesto {
namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr int lastPatience = 500; // ms; twice at most, at the end
constexpr const char* showAction = "show";
constexpr std::size_t namedFolders = 3;

QDBusMessage callOf(const char* method) {
    return QDBusMessage::createMethodCall(service, path, service, method);
}

QString shown(std::string_view utf8) {
    return QString::fromStdString(printable(utf8));
}

/// A name that stands alone: its date left and its extension right, whatever the title between them.
QString shownAlone(std::string_view name) {
    const QString plain = shown(name);
    return plain.isRightToLeft() ? QChar(0x200E) + plain : plain;
}

QString words(std::string_view key) {
    return QString::fromUtf8(text(key));
}

std::string keyOf(std::string_view category, std::string_view identifier) {
    return std::string(category) + ':' + std::string(identifier);
}

/// What the server is handed.
struct Content {
    QString summary;
    QString body{};
    QStringList actions{}; // identifier and label of each
    QVariantMap hints{{"urgency", QVariant::fromValue(uchar{1})}, {"desktop-entry", QString(applicationID)}};
};

/// A sentence, or a name alone.
QString bodyOf(const Notification& notification) {
    return notification.category == "renamed"
               ? shownAlone(notification.subtitle)
               : QString::fromStdString(withIsolatedQuotations(printable(notification.subtitle)));
}

Content contentOf(const Notification& notification, bool asksInline) {
    Content content{.summary = shownAlone(notification.title), .body = bodyOf(notification)};
    for (const NotificationAction& action : notificationActions(notification.category)) {
        const bool isInline = action.takesText && asksInline;
        content.actions << (isInline ? QString("inline-reply") : words(action.identifier))
                        << words(action.title);
        if (isInline) {
            content.hints.insert("x-kde-reply-placeholder-text", words(action.placeholder));
            content.hints.insert("x-kde-reply-submit-button-text", words(action.sendTitle));
        }
    }
    return content;
}

Content contentOf(const NotificationBurst& burst, bool isOfProposals) {
    const bool isOne = burst.count() == 1;
    const QString count = QLocale(QLocale::French).toString(static_cast<qulonglong>(burst.count()));
    Content content{.summary =
                        count + ' ' +
                        (isOfProposals ? words(isOne ? "nouvelle proposition" : "nouvelles propositions")
                                       : words(isOne ? "renommage automatique" : "renommages automatiques")),
                    .actions = {showAction, words("Afficher")}};
    QStringList names;
    const auto folders = burst.folders();
    for (const std::string& folder : folders) {
        if (names.size() == namedFolders) {
            names << QString::fromUtf8("…");
            break;
        }
        names << QString::fromStdString(isolated(printable(displayNameOf(folder))));
    }
    content.body = names.join(", ");
    return content;
}

} // namespace

NotificationCentre::NotificationCentre(QDBusConnection bus, Windows windows)
    : m_bus(std::move(bus))
    , m_windows(std::move(windows))
    , m_servers(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange) {
    connect(&m_servers, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& old, const QString& now) { serverChanged(old, now); });
    const auto hear = [this](const char* signal, const char* slot) {
        m_bus.connect(service, path, service, signal, this, slot);
    };
    hear("ActionInvoked", SLOT(act(uint, QString)));
    hear("NotificationReplied", SLOT(reply(uint, QString)));
    hear("NotificationClosed", SLOT(closed(uint, uint)));
    hear("ActivationToken", SLOT(takeToken(uint, QString)));
}

NotificationCentre::~NotificationCentre() {
    closeAll();
}

void NotificationCentre::notifyProposal(const PendingProposal& pending) {
    post(m_proposals, notificationOf(pending), pending.proposal.url.parent_path().native());
}

void NotificationCentre::notifyRenamed(const RenameRecord& record) {
    post(m_renames, notificationOf(record), record.folderPath);
}

void NotificationCentre::removeProposal(std::string_view proposalID) {
    remove(m_proposals, "proposal", proposalID);
}

void NotificationCentre::removeRenamed(std::string_view recordID) {
    remove(m_renames, "renamed", recordID);
}

void NotificationCentre::post(NotificationBurst& burst, Notification notification,
                              const std::string& folder) {
    if (m_isClosing)
        return;
    if (burst.take(notification.identifier, folder)) {
        const std::string key = keyOf(notification.category, notification.identifier);
        put(key, std::move(notification));
    } else {
        updateBurst(burst);
    }
    sendAll();
}

void NotificationCentre::remove(NotificationBurst& burst, std::string_view category,
                                std::string_view identifier) {
    if (const auto item = m_items.find(keyOf(category, identifier)); item != m_items.end())
        forget(item);
    if (burst.drop(identifier)) {
        updateBurst(burst);
        sendAll();
    }
}

void NotificationCentre::updateBurst(NotificationBurst& burst) {
    const std::string key = keyOf("burst", &burst == &m_proposals ? "proposal" : "renamed");
    if (burst.count() > 0)
        put(key, &burst);
    else if (const auto item = m_items.find(key); item != m_items.end())
        forget(item);
}

void NotificationCentre::put(const std::string& key, std::variant<Notification, NotificationBurst*> content) {
    Shown& item = m_items[key];
    if (item.number == 0)
        item.number = ++m_lastNumber;
    item.content = std::move(content);
    item.isToBeSent = true;
}

void NotificationCentre::sendAll() {
    if (m_isClosing || m_items.empty())
        return;
    switch (m_server) {
    case Server::unknown:
        askServer();
        return;
    case Server::asked:
        return;
    case Server::known:
        for (auto& [key, item] : m_items)
            if (item.isToBeSent && !item.isOnItsWay)
                send(key, item);
        return;
    }
}

void NotificationCentre::askServer() {
    m_server = Server::asked;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(callOf("GetCapabilities")), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, round = m_serverRound](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (round != m_serverRound)
                    return;
                const QDBusPendingReply<QStringList> capabilities = *finished;
                if (capabilities.isError()) { // nobody shows notifications here; perhaps later
                    const QByteArray error = capabilities.error().message().toUtf8();
                    log::write(log::Level::info, "notifications: %{public}s", {std::string_view(error)});
                    m_server = Server::unknown;
                    while (!m_items.empty())
                        erase(m_items.begin());
                    return;
                }
                log::write(log::Level::info, "notifications autorisées : %{bool}d", {true});
                m_server = Server::known;
                m_capabilities = capabilities.value();
                sendAll();
            });
}

void NotificationCentre::send(const std::string& key, Shown& item) {
    const auto* notification = std::get_if<Notification>(&item.content);
    Content content = notification != nullptr
                          ? contentOf(*notification, serverCan("inline-reply"))
                          : contentOf(*std::get<NotificationBurst*>(item.content),
                                      std::get<NotificationBurst*>(item.content) == &m_proposals);
    if (!serverCan("actions"))
        content.actions.clear();
    if (serverCan("body-markup"))
        content.body = content.body.toHtmlEscaped();
    auto call = callOf("Notify");
    call << QString("Vesto") << quint32{item.serverID} << QString("vesto") << content.summary << content.body
         << content.actions << content.hints << -1;
    item.isOnItsWay = true;
    item.isToBeSent = false;
    const QDBusPendingCall pending = m_bus.asyncCall(call);
    m_calls.insert_or_assign(item.number, pending);
    auto* watcher = new QDBusPendingCallWatcher(pending, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, key, number = item.number](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                answered(key, number, *finished);
            });
}

void NotificationCentre::answered(const std::string& key, std::uint64_t number,
                                  const QDBusPendingCall& call) {
    if (m_calls.erase(number) == 0)
        return; // of a server that is gone
    const QDBusPendingReply<uint> serverID = call;
    const auto item = m_items.find(key);
    if (item == m_items.end() || item->second.number != number) {
        if (!serverID.isError())
            close(serverID.value());
        return;
    }
    if (serverID.isError()) {
        erase(item);
        return;
    }
    item->second.serverID = serverID.value();
    item->second.isOnItsWay = false;
    if (item->second.isToBeSent)
        send(key, item->second);
}

void NotificationCentre::serverChanged(const QString& old, const QString& now) {
    if (old.isEmpty())
        return; // started because we asked, or before anything was posted
    ++m_serverRound;
    m_server = Server::unknown;
    m_calls.clear();
    for (auto item = m_items.begin(); item != m_items.end();) {
        const auto next = std::next(item);
        if (item->second.serverID != 0 || item->second.isOnItsWay)
            erase(item); // went with the server
        item = next;
    }
    if (!now.isEmpty())
        sendAll();
}

void NotificationCentre::close(std::uint32_t serverID) {
    m_bus.send(callOf("CloseNotification") << quint32{serverID});
}

void NotificationCentre::forget(Items::iterator item) {
    if (item->second.serverID != 0)
        close(item->second.serverID);
    erase(item);
}

void NotificationCentre::erase(Items::iterator item) {
    if (auto* const* burst = std::get_if<NotificationBurst*>(&item->second.content))
        (*burst)->forget();
    m_items.erase(item);
}

NotificationCentre::Items::iterator NotificationCentre::itemOf(std::uint32_t serverID) {
    return std::ranges::find_if(m_items, [serverID](const auto& entry) {
        return serverID != 0 && entry.second.serverID == serverID;
    });
}

bool NotificationCentre::serverCan(const char* capability) const {
    return m_capabilities.contains(QLatin1String(capability));
}

void NotificationCentre::act(uint serverID, const QString& action) {
    const QString token = std::exchange(m_token, {});
    const auto item = itemOf(serverID);
    if (item == m_items.end())
        return;
    const auto* shownOne = std::get_if<Notification>(&item->second.content);
    if (shownOne == nullptr) {
        if (action == QLatin1String(showAction)) {
            forget(item);
            m_windows.show(token);
        }
        return;
    }
    const auto actions = notificationActions(shownOne->category);
    const auto chosen = std::ranges::find(actions, action.toStdString(), &NotificationAction::identifier);
    if (chosen == actions.end())
        return;
    const Notification notification = *shownOne;
    forget(item); // before it is acted on, so that nothing acts twice
    if (chosen->takesText)
        m_windows.edit(notification.identifier, token);
    else if (m_onResponse)
        m_onResponse({.action = std::string(chosen->identifier), .identifier = notification.identifier});
}

void NotificationCentre::reply(uint serverID, const QString& text) {
    const auto item = itemOf(serverID);
    const auto* shownOne = item == m_items.end() ? nullptr : std::get_if<Notification>(&item->second.content);
    if (shownOne == nullptr)
        return;
    const auto actions = notificationActions(shownOne->category);
    const auto chosen = std::ranges::find(actions, true, &NotificationAction::takesText);
    if (chosen == actions.end())
        return;
    const std::string identifier = shownOne->identifier;
    forget(item);
    if (m_onResponse)
        m_onResponse({.action = std::string(chosen->identifier),
                      .identifier = identifier,
                      .text = text.toStdString()});
}

void NotificationCentre::closed(uint serverID, uint) {
    if (const auto item = itemOf(serverID); item != m_items.end())
        erase(item);
}

void NotificationCentre::takeToken(uint serverID, const QString& token) {
    if (itemOf(serverID) != m_items.end())
        m_token = token;
}

void NotificationCentre::closeAll() {
    if (std::exchange(m_isClosing, true) || (m_items.empty() && m_calls.empty()))
        return;
    while (!m_items.empty())
        forget(m_items.begin());
    sync();
    bool wereOnTheirWay = false;
    for (const auto& [number, call] : m_calls) {
        const QDBusPendingReply<uint> serverID = call;
        if (!serverID.isFinished() || serverID.isError())
            continue;
        close(serverID.value());
        wereOnTheirWay = true;
    }
    if (wereOnTheirWay)
        sync();
    m_calls.clear();
}

/// Until the server has taken what was sent.
void NotificationCentre::sync() {
    if (m_server == Server::known)
        static_cast<void>(m_bus.call(callOf("GetServerInformation"), QDBus::Block, lastPatience));
}

} // namespace vesto
