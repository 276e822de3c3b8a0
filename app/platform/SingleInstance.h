#pragma once
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>
#include <functional>

namespace vesto {

/// The name of the application on the session bus, of its desktop file and of its icons' owner.
inline constexpr const char* applicationID = "fr.vesto.Vesto";

/// The one application of a session, which the desktop and later launches bring to the front. Main thread.
class SingleInstance : public QObject {
public:
    /// `activated` hears of it with the token that lets a window come to the front; it may be empty.
    SingleInstance(QDBusConnection bus, std::function<void(const QString& token)> activated);
    ~SingleInstance() override;

    /// Takes the name; false where another process has it, and it may be tried again.
    [[nodiscard]] bool claim();

    void activate(const QString& token) const { m_activated(token); }

    enum class Answer { shown, nobody, silence };

    /// Brings up the application that has the name: `nobody` where none has it any more, `silence` where it
    /// does not answer within five seconds; waits for that.
    [[nodiscard]] static Answer activateOther(const QDBusConnection& bus, const QString& token);

private:
    QDBusConnection m_bus;
    bool m_isThere = false; // its object on the bus
    std::function<void(const QString&)> m_activated;
};

/// What the desktop calls. Made by SingleInstance.
class ApplicationAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit ApplicationAdaptor(SingleInstance* instance)
        : QDBusAbstractAdaptor(instance)
        , m_instance(*instance) {}

public Q_SLOTS:
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& action, const QVariantList& parameters,
                        const QVariantMap& platformData);

private:
    SingleInstance& m_instance;
};

} // namespace vesto
