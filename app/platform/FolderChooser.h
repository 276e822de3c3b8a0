#pragma once
#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <optional>

namespace vesto {

/// Lets the user choose a folder: in the desktop's own chooser through its portal, else in Qt's. Never in a
/// plug-in of the desktop's, which would run in this process. Main thread; nothing waits.
class FolderChooser : public QObject {
    Q_OBJECT
public:
    /// Called once with the folder, or not at all.
    using Chosen = std::function<void(const std::filesystem::path&)>;

    explicit FolderChooser(std::optional<QDBusConnection> bus)
        : m_bus(std::move(bus)) {}

    struct Words {
        QString title;
        QString accept; // on the button
    };

    /// `over` may be null. Begins in `start`, where that is there. Takes the place of a chooser that is open.
    void choose(QWidget* over, const Words& words, const std::filesystem::path& start, Chosen chosen);

    /// Takes away a chooser that is open; nobody is told.
    void cancel();

private:
    struct Request {
        QPointer<QWidget> over;
        Words words;
        std::filesystem::path start;
        Chosen chosen;
    };

    void askPortal();
    void askQt();
    void stopListening();

private Q_SLOTS:
    void answer(uint response, const QVariantMap& results);

private:
    std::optional<QDBusConnection> m_bus;
    std::optional<Request> m_request; // the one that is under way
    QString m_portalRequest;          // its object's path at the portal
    QPointer<QWidget> m_dialog;       // or Qt's
};

} // namespace vesto
