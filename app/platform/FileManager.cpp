#include "app/platform/FileManager.h"

#include "core/files/FileURL.h"

#include <fcntl.h>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>
#include <cerrno>
#include <chrono>
#include <utility>

namespace vesto {
namespace {

constexpr int patience = 10'000; // ms; the desktop may have to start its file manager first

void whenDone(QObject& context, const QDBusPendingCall& call, const std::function<void(bool)>& done) {
    auto* watcher = new QDBusPendingCallWatcher(call, &context);
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): the connection owns its copy of `done`
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context,
                     [done](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         done(!finished->isError());
                     });
}

} // namespace

FileManager::FileManager(std::optional<QDBusConnection> bus)
    : m_bus(std::move(bus))
    , m_mailbox(std::make_shared<Mailbox>(*this)) {}

FileManager::~FileManager() {
    m_mailbox->close();
    static_cast<void>(m_worker.end(std::chrono::seconds(2)));
}

void FileManager::reveal(const std::filesystem::path& file, Failed failed) {
    // A file manager that is asked for a file that is gone may open a folder and say nothing.
    m_worker.post([this, box = m_mailbox, file, failed = std::move(failed)] {
        // A path only: nothing of the file can be read by that.
        auto handle = std::make_shared<UniqueFd>(::open(file.c_str(), O_PATH | O_CLOEXEC));
        const int error = *handle ? 0 : errno;
        box->post([this, file, handle = std::move(handle), error, failed] {
            if (error == ENOENT || error == ENOTDIR)
                failed(Failure::missing);
            else
                show(file, handle, failed);
        });
    });
}

void FileManager::show(const std::filesystem::path& file, const std::shared_ptr<UniqueFd>& handle,
                       const Failed& failed) {
    if (!m_bus) {
        failed(Failure::silence);
        return;
    }
    auto call =
        QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                       "org.freedesktop.FileManager1", "ShowItems");
    call << QStringList{QString::fromStdString(fileURL(file))} << QString();
    whenDone(*this, m_bus->asyncCall(call, patience), [this, handle, failed](bool shown) {
        if (!shown)
            openFolder(*handle, failed);
    });
}

void FileManager::openFolder(const UniqueFd& file, const Failed& failed) {
    if (!file) {
        failed(Failure::silence);
        return;
    }
    // The portal shows the folder of the file that it is handed.
    auto call =
        QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                       "org.freedesktop.portal.OpenURI", "OpenDirectory");
    call << QString() << QVariant::fromValue(QDBusUnixFileDescriptor(file.get())) << QVariantMap();
    whenDone(*this, m_bus->asyncCall(call, patience), [failed](bool shown) {
        if (!shown)
            failed(Failure::silence);
    });
}

} // namespace vesto
