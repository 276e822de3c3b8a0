#include "app/platform/SingleInstance.h"

#include <QDBusMessage>
#include <utility>

namespace vesto {
namespace {

constexpr const char* objectPath = "/fr/vesto/Vesto";
constexpr int patience = 5000; // ms

QString tokenIn(const QVariantMap& platformData) {
    const QString token = platformData.value("activation-token").toString();
    return token.isEmpty() ? platformData.value("desktop-startup-id").toString() : token;
}

} // namespace

SingleInstance::SingleInstance(QDBusConnection bus, std::function<void(const QString&)> activated)
    : m_bus(std::move(bus))
    , m_activated(std::move(activated)) {
    new ApplicationAdaptor(this);
}

SingleInstance::~SingleInstance() {
    m_bus.unregisterService(applicationID);
    m_bus.unregisterObject(objectPath);
}

bool SingleInstance::claim() {
    m_isThere = m_isThere || m_bus.registerObject(objectPath, this);
    return m_isThere && m_bus.registerService(applicationID);
}

SingleInstance::Answer SingleInstance::activateOther(const QDBusConnection& bus, const QString& token) {
    auto call =
        QDBusMessage::createMethodCall(applicationID, objectPath, "org.freedesktop.Application", "Activate");
    call.setAutoStartService(false);
    QVariantMap platformData;
    if (!token.isEmpty()) {
        platformData.insert("activation-token", token);
        platformData.insert("desktop-startup-id", token);
    }
    call << platformData;
    const QDBusMessage answer = bus.call(call, QDBus::Block, patience);
    if (answer.type() == QDBusMessage::ReplyMessage)
        return Answer::shown;
    const QString error = answer.errorName();
    const bool isGone = error == "org.freedesktop.DBus.Error.ServiceUnknown" ||
                        error == "org.freedesktop.DBus.Error.NameHasNoOwner";
    // One that ends while it is asked does not answer either.
    return isGone || error == "org.freedesktop.DBus.Error.Disconnected" ? Answer::nobody : Answer::silence;
}

void ApplicationAdaptor::Activate(const QVariantMap& platformData) {
    m_instance.activate(tokenIn(platformData));
}

void ApplicationAdaptor::Open(const QStringList&, const QVariantMap& platformData) {
    m_instance.activate(tokenIn(platformData));
}

void ApplicationAdaptor::ActivateAction(const QString&, const QVariantList&,
                                        const QVariantMap& platformData) {
    m_instance.activate(tokenIn(platformData));
}

} // namespace vesto
