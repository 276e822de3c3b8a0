#include "app/Desktop.h"

#include "app/DesktopApplication.h"
#include "app/FaultWindow.h"
#include "app/Startup.h"
#include "app/model/EndSignals.h"
#include "app/model/Mailbox.h"
#include "app/model/QtLog.h"
#include "app/platform/SessionBus.h"
#include "app/platform/SingleInstance.h"
#include "app/views/FusionStyle.h"
#include "app/views/Icons.h"
#include "app/views/Words.h"
#include "core/support/Text.h"
#include "services/sandbox/SystemCalls.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTimer>
#include <QTranslator>
#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <variant>

namespace vesto::Desktop {
namespace {

constexpr const char* tokenName = "XDG_ACTIVATION_TOKEN";
constexpr const char* olderTokenName = "DESKTOP_STARTUP_ID";

void dress(QTranslator& translator) {
    FusionStyle::use();
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
    std::unique_ptr<FaultWindow> fault; // or what it waits for
    bool isAskedFor = false;
    QString token{}; // of who asked last

    void show(const QString& givenToken) {
        isAskedFor = true;
        token = givenToken;
        if (application) {
            application->activate(token);
        } else if (fault) {
            fault->show();
            fault->raise();
        }
    }
};

int showFault(Face& face, const std::string& fault) {
    QApplication::setQuitOnLastWindowClosed(true);
    const EndSignals signals([] { QApplication::exit(1); });
    face.fault = std::make_unique<FaultWindow>(french("Vesto ne peut pas démarrer."), fault);
    face.fault->show();
    QApplication::exec();
    return 1;
}

/// Comes by the user's files, however long another program keeps them: whoever waits for that sees why.
Startup::Outcome takeOver(Face& face) {
    std::optional<Startup::Outcome> outcome;
    const auto box = std::make_shared<Mailbox>(*qApp);
    std::jthread worker([&outcome, box, isHidden = !face.isAskedFor](const std::stop_token& stop) {
        outcome.emplace(Startup::takeOver(isHidden, stop));
        box->post([] { QApplication::exit(0); });
    });
    QTimer patience;
    patience.setSingleShot(true);
    QObject::connect(&patience, &QTimer::timeout, qApp, [&face, &worker] {
        face.fault = std::make_unique<FaultWindow>(
            french("Vesto démarre…"),
            std::string(
                text("Un autre programme Vesto finit peut-être le fichier en cours : cela peut prendre "
                     "une minute.")),
            [&worker] { worker.request_stop(); });
        if (face.isAskedFor)
            face.fault->show();
    });
    patience.start(std::chrono::seconds(1));
    QApplication::exec();
    worker.request_stop(); // where somebody else ended the loop
    worker.join();
    box->close();
    face.fault.reset();
    return *std::move(outcome);
}

/// Takes the application's name on the bus. False where another application has it: that was brought up, or
/// the user was told why not.
bool takeName(Face& face, SingleInstance& instance, const QDBusConnection& bus, const Start& start,
              int& status) {
    using Answer = SingleInstance::Answer;
    Answer answer = Answer::nobody;
    for (int attempt = 0; attempt < 2 && answer == Answer::nobody; ++attempt) { // it may be just ending
        if (instance.claim())
            return true;
        answer = start.isHidden ? Answer::shown : SingleInstance::activateOther(bus, start.activationToken);
    }
    status = answer == Answer::shown
                 ? 0
                 : showFault(face, std::string(text("Vesto est déjà ouvert et ne répond pas.")));
    return false;
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
    Face face{.application = {}, .fault = {}, .isAskedFor = !start.isHidden, .token = start.activationToken};
    std::optional<SingleInstance> instance;
    if (bus) {
        instance.emplace(*bus, [&face](const QString& token) { face.show(token); });
        int status = 0;
        if (!takeName(face, *instance, *bus, start, status))
            return status;
    }
    // The display and the bus are connected. From here on this process reaches no other machine.
    if (!sandbox::refuseNetwork())
        return showFault(
            face,
            std::string(text(
                "Ce noyau ne sait pas filtrer les appels système (seccomp) : rien n'empêcherait un accès au "
                "réseau, aucun fichier n'est lu.")));
    auto outcome = takeOver(face);
    if (const auto* refused = std::get_if<Startup::Refused>(&outcome))
        return showFault(face, refused->why);
    auto* taken = std::get_if<Startup::Taken>(&outcome);
    if (taken == nullptr)
        return 0;
    face.application =
        std::make_unique<DesktopApplication>(std::move(*taken), bus, [&instance] { instance.reset(); });
    const EndSignals signals([&face] { face.application->quit(); });
    face.application->start();
    if (face.isAskedFor)
        face.application->activate(face.token);
    return QApplication::exec();
}

} // namespace vesto::Desktop
