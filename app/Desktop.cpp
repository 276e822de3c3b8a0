#include "app/Desktop.h"

#include "app/DesktopApplication.h"
#include "app/FaultWindow.h"
#include "app/Startup.h"
#include "app/model/EndSignals.h"
#include "app/model/QtLog.h"
#include "app/platform/SessionBus.h"
#include "app/platform/SingleInstance.h"
#include "app/views/Icons.h"
#include "core/support/Text.h"
#include "services/sandbox/SystemCalls.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vesto::Desktop {
namespace {

constexpr const char* tokenName = "XDG_ACTIVATION_TOKEN";
constexpr const char* olderTokenName = "DESKTOP_STARTUP_ID";

void dress(QTranslator& translator) {
    QApplication::setApplicationName("Vesto");
    QApplication::setDesktopFileName(applicationID);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(Icons::application());
    // Of Qt's own buttons; the interface is French in every locale.
    if (translator.load(QLocale(QLocale::French), "qtbase", "_",
                        QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&translator);
}

/// What is shown when somebody asks for the application.
struct Face {
    std::unique_ptr<DesktopApplication> application;
    std::unique_ptr<FaultWindow> fault;

    void show(const QString& token) const {
        if (application)
            application->activate(token);
        else if (fault)
            fault->raise();
    }
};

int showFault(Face& face, const std::string& fault) {
    QApplication::setQuitOnLastWindowClosed(true);
    const EndSignals signals([] { QApplication::exit(1); });
    face.fault = std::make_unique<FaultWindow>(fault);
    face.fault->show();
    QApplication::exec();
    return 1;
}

} // namespace

QString takeActivationToken() {
    QString token = qEnvironmentVariable(tokenName);
    if (token.isEmpty())
        token = qEnvironmentVariable(olderTokenName);
    qunsetenv(tokenName); // what this process starts has no business with it
    return token;
}

int run(const Start& start) {
    sendQtMessagesToLog();
    QTranslator translator;
    dress(translator);
    const auto bus = sessionBus();
    Face face;
    std::optional<SingleInstance> instance;
    if (bus) {
        instance.emplace(*bus, [&face](const QString& token) { face.show(token); });
        if (!instance->claim())
            return SingleInstance::activateOther(*bus, start.activationToken) ? 0 : 1;
    }
    // The display and the bus are connected. From here on this process reaches no other machine.
    if (!sandbox::refuseNetwork())
        return showFault(
            face,
            std::string(text(
                "Ce noyau ne sait pas filtrer les appels système (seccomp) : rien n'empêcherait un accès au "
                "réseau, aucun fichier n'est lu.")));
    auto outcome = Startup::takeOver();
    if (const auto* refused = std::get_if<Startup::Refused>(&outcome))
        return showFault(face, refused->why);
    auto* taken = std::get_if<Startup::Taken>(&outcome);
    if (taken == nullptr)
        return 0;
    face.application = std::make_unique<DesktopApplication>(std::move(*taken), bus);
    const EndSignals signals([&face] { face.application->quit(); });
    face.application->start();
    if (!start.isHidden)
        face.application->activate(start.activationToken);
    return QApplication::exec();
}

} // namespace vesto::Desktop
