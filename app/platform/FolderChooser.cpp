#include "app/platform/FolderChooser.h"

#include "core/files/FileURL.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QGuiApplication>
#include <QIcon>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <string>
#include <utility>

namespace vesto {
namespace {

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* chooserInterface = "org.freedesktop.portal.FileChooser";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr uint choosesFolders = 3; // the portal's version from which on it does

/// One folder is drawn as the other, by its kind: nothing in it is looked at.
class PlainIcons final : public QFileIconProvider {
public:
    QIcon icon(const QFileInfo&) const override { return QFileIconProvider::icon(Folder); }
};

} // namespace

void FolderChooser::choose(QWidget* over, const Words& words, const std::filesystem::path& start,
                           Chosen chosen) {
    cancel();
    m_request = Request{over, words, start, std::move(chosen)};
    if (!m_bus) {
        askQt();
        return;
    }
    auto call = QDBusMessage::createMethodCall(portal, portalPath, "org.freedesktop.DBus.Properties", "Get");
    call << QString(chooserInterface) << QString("version");
    auto* watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<QVariant> version = *finished;
        if (!version.isError() && version.value().toUInt() >= choosesFolders)
            askPortal();
        else
            askQt();
    });
}

void FolderChooser::cancel() {
    if (!m_portalRequest.isEmpty()) {
        auto call = QDBusMessage::createMethodCall(portal, m_portalRequest, requestInterface, "Close");
        call.setAutoStartService(false);
        m_bus->asyncCall(call);
    }
    stopListening();
    if (m_dialog)
        m_dialog->deleteLater();
    m_request.reset();
}

void FolderChooser::askPortal() {
    if (!m_request || !m_portalRequest.isEmpty())
        return;
    const QString token = QString("vesto%1").arg(QRandomGenerator::system()->generate());
    m_portalRequest =
        QString("%1/request/%2/%3").arg(portalPath, m_bus->baseService().mid(1).replace('.', '_'), token);
    // Before it is asked: it may answer at once.
    m_bus->connect(portal, m_portalRequest, requestInterface, "Response", this,
                   SLOT(answer(uint, QVariantMap)));
    QVariantMap options{
        {"handle_token", token}, {"directory", true}, {"accept_label", m_request->words.accept}};
    if (!m_request->start.empty())
        options.insert("current_folder", QByteArray::fromStdString(m_request->start.native()).append('\0'));
    QString over;
    if (m_request->over && QGuiApplication::platformName() == "xcb")
        over = QString("x11:%1").arg(m_request->over->window()->winId(), 0, 16);
    auto call = QDBusMessage::createMethodCall(portal, portalPath, chooserInterface, "OpenFile");
    call << over << m_request->words.title << options;
    auto* watcher = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, path = m_portalRequest](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                if (!finished->isError() || m_portalRequest != path)
                    return;
                stopListening();
                askQt();
            });
}

void FolderChooser::answer(uint response, const QVariantMap& results) {
    stopListening();
    auto request = std::exchange(m_request, std::nullopt);
    const QStringList uris = results.value("uris").toStringList();
    if (!request || response != 0 || uris.isEmpty())
        return;
    if (const auto folder = pathOfFileURL(uris.first().toStdString()))
        request->chosen(*folder);
}

void FolderChooser::askQt() {
    if (!m_request)
        return;
    const Request request = *std::exchange(m_request, std::nullopt);
    const QString start = request.start.empty()
                              ? QStandardPaths::writableLocation(QStandardPaths::HomeLocation)
                              : QFile::decodeName(QByteArray::fromStdString(request.start.native()));
    auto* dialog = new QFileDialog(request.over, request.words.title, start);
    m_dialog = dialog;
    static PlainIcons icons;
    dialog->setIconProvider(&icons);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::ShowDirsOnly |
                       QFileDialog::DontUseCustomDirectoryIcons);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setLabelText(QFileDialog::Accept, request.words.accept);
    connect(dialog, &QFileDialog::fileSelected, this, [chosen = request.chosen](const QString& folder) {
        chosen(QFile::encodeName(folder).toStdString());
    });
    dialog->show();
}

void FolderChooser::stopListening() {
    if (!m_portalRequest.isEmpty())
        m_bus->disconnect(portal, m_portalRequest, requestInterface, "Response", this,
                          SLOT(answer(uint, QVariantMap)));
    m_portalRequest.clear();
}

} // namespace vesto
