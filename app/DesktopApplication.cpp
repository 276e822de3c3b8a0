#include "app/DesktopApplication.h"

#include "app/model/LocalModel.h"
#include "app/platform/StartupNotice.h"
#include "app/views/Formats.h"
#include "app/views/Words.h"
#include "core/support/Text.h"
#include "services/ipc/ControlFrames.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <QApplication>
#include <QPalette>
#include <QSessionManager>
#include <algorithm>
#include <cstring>
#include <utility>

namespace vesto {

DesktopApplication::DesktopApplication(Startup::Taken taken, const std::optional<QDBusConnection>& bus,
                                       std::function<void()> leaving)
    : m_taken(std::move(taken))
    , m_leaving(std::move(leaving))
    , m_languageModel(std::make_shared<CurrentModel>(Locale::user()))
    , m_speech(openSpeech(ModelFolder{}))
    , m_notifications(bus ? std::make_unique<NotificationCentre>(
                                *bus, NotificationCentre::Windows{
                                          .show = [this](const QString& token) { activate(token); },
                                          .edit =
                                              [this](std::string_view proposalID, const QString& token) {
                                                  StartupNotice::take(token);
                                                  showPanelEditing(proposalID);
                                                  if (m_panel)
                                                      StartupNotice::answer(*m_panel, token);
                                              }})
                          : nullptr)
    , m_model(dependencies())
    , m_commands(
          m_model, [this] { quit(); }, [this] { activate({}); })
    , m_tray(bus)
    , m_files(bus)
    , m_chooser(bus)
    , m_autostart(Autostart::ofUser()) {
    m_commands.lendModel([model = m_languageModel](const auto& wanted) { return model->lend(wanted); });
    m_commands.lendSpeech(m_speech);
    qApp->installEventFilter(this); // for a new palette
    connect(qApp, &QGuiApplication::commitDataRequest, this,
            // The entry of the autostart folder is what starts it again.
            [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); });
    connect(&m_model, &AppModel::undone, this, [this](const RenameRecord& record) {
        if (m_notifications)
            m_notifications->removeRenamed(record.id);
    });
    for (const auto changed :
         {&AppModel::pendingChanged, &AppModel::processingNameChanged, &AppModel::batchChanged,
          &AppModel::lastErrorChanged, &AppModel::pausedChanged})
        connect(&m_model, changed, this, [this] { updateTray(); });
    connect(&m_tray, &Tray::clicked, this, [this] { openFromTray(); });
    fillMenu();
    updateTray();
}

DesktopApplication::~DesktopApplication() {
    qApp->removeEventFilter(this);
    // Requests that end now change the model, and what follows its signals is about to go.
    m_model.disconnect(this);
    m_control.reset();
}

AppModel::Dependencies DesktopApplication::dependencies() {
    Notifier& notifier =
        m_notifications ? static_cast<Notifier&>(*m_notifications) : static_cast<Notifier&>(m_silence);
    return {.store = m_taken.store,
            .settings = m_settings,
            .notifier = notifier,
            .summarizer = {{"fr-FR", "en-US"}, std::make_shared<RemoteReader>(), m_speech},
            .generator = m_languageModel,
            .modelAvailability = [model = m_languageModel] { return model->availability(); },
            .prepareModel = [model = m_languageModel](
                                const std::optional<Locale>& language) { model->prepare(language); },
            .generatorIn =
                [model = m_languageModel](const Locale& language) { return model->generatorIn(language); }};
}

void DesktopApplication::start() {
    m_model.start();
    serveControl();
    checkSandbox([] {});
}

void DesktopApplication::serveControl() {
    auto listener = ControlListener::open(m_taken.lock);
    if (!listener) {
        m_model.showError(std::string(text("Vesto n'a pas pu ouvrir sa prise de commande.")));
        return;
    }
    const Json greeting{{"protocol", ipc::controlProtocol}, {"lock", lockToken(m_taken.lock.folder())}};
    m_control = std::make_unique<ControlServer>(
        *std::move(listener), greeting,
        [this](const Json& order, CommandRequest::Emit emit, UniqueFd attachment) {
            return m_commands.begin(order, std::move(emit), std::move(attachment));
        });
}

void DesktopApplication::activate(const QString& token) {
    if (m_isQuitting)
        return;
    StartupNotice::take(token);
    QWidget* window = nullptr;
    if (isOnboarded()) {
        showPanel();
        window = m_panel.get();
    } else {
        showWelcome();
        window = m_welcome.get();
    }
    StartupNotice::answer(*window, token);
}

// ---- Windows ----

PanelWindow& DesktopApplication::panel() {
    if (!m_panel)
        m_panel = std::make_unique<PanelWindow>(m_model, m_settings, *this);
    return *m_panel;
}

/// An open popup would keep the keyboard to itself.
bool DesktopApplication::makeWay() {
    if (m_panel)
        (void)m_panel->closePopup();
    return !m_isQuitting;
}

void DesktopApplication::bringForward(QWidget& window) {
    if (window.isMinimized())
        window.showNormal();
    window.show();
    window.raise();
    window.activateWindow();
}

void DesktopApplication::openFromTray() {
    if (m_isQuitting)
        return;
    const QRect icon = m_tray.geometry();
    if (!isOnboarded())
        showWelcome();
    else if (!icon.isEmpty() && PanelWindow::canPlaceWindows())
        panel().openBeside(icon);
    else
        showPanel();
}

void DesktopApplication::showWelcome() {
    if (!makeWay())
        return;
    if (!m_welcome) {
        m_welcome = std::make_unique<WelcomeWindow>(m_model, m_settings, *this);
        // Where there is a tray it stays in sight; elsewhere nothing else would show that Vesto runs.
        connect(m_welcome.get(), &WelcomeWindow::finished, this, [this] {
            m_isWelcomed = true;
            if (!m_tray.isThere())
                showPanel();
        });
    }
    bringForward(*m_welcome);
}

void DesktopApplication::showPanel() {
    if (!m_isQuitting)
        panel().openAsWindow();
}

void DesktopApplication::showPanelEditing(std::string_view proposalID) {
    if (!m_isQuitting)
        panel().openEditing(proposalID);
}

void DesktopApplication::showHistory() {
    if (!makeWay())
        return;
    if (!m_history)
        m_history = std::make_unique<HistoryWindow>(m_model, *this);
    bringForward(*m_history);
}

void DesktopApplication::showSettings(SettingsPage page) {
    if (!makeWay())
        return;
    if (!m_settingsWindow)
        m_settingsWindow = std::make_unique<SettingsWindow>(m_model, m_settings, *this);
    m_settingsWindow->showPage(page);
    bringForward(*m_settingsWindow);
}

void DesktopApplication::showBatch() {
    if (!makeWay())
        return;
    if (!m_batch)
        m_batch = std::make_unique<BatchWindow>(m_model, m_settings, *this);
    bringForward(*m_batch);
}

// ---- The tray ----

void DesktopApplication::fillMenu() {
    QMenu& menu = m_tray.menu();
    menu.addAction(french("Ouvrir Vesto"), this, [this] { showPanel(); });
    menu.addSeparator();
    m_pause = menu.addAction(french("Pause"));
    m_pause->setCheckable(true);
    connect(m_pause, &QAction::triggered, this, [this](bool isPaused) { m_model.setPaused(isPaused); });
    menu.addAction(french("Ajouter un dossier…"), this, [this] { chooseFolder(nullptr, {}, {}); });
    menu.addSeparator();
    menu.addAction(french("Historique"), this, [this] { showHistory(); });
    menu.addAction(french("Réglages…"), this, [this] { showSettings(SettingsPage::folders); });
    menu.addSeparator();
    menu.addAction(french("Quitter Vesto"), this, [this] { quit(); });
}

void DesktopApplication::updateTray() {
    m_pause->setChecked(m_model.paused());
    const std::size_t waiting = m_model.pending().size();
    const bool isWorking =
        m_model.processingName() || (m_model.batch() != nullptr && m_model.batch()->isAnalysing());
    Symbol symbol = Symbol::trayIdle;
    QString words = "Vesto";
    if (m_model.lastError() || waiting > 0) {
        symbol = Symbol::trayAttention;
        if (waiting > 0)
            words = french("Vesto : %1",
                           plural(waiting, "%n proposition en attente", "%n propositions en attente"));
    } else if (isWorking) {
        symbol = Symbol::trayWorking;
        words = french("Vesto : en cours");
    } else if (m_model.paused()) {
        symbol = Symbol::trayPaused;
        words = french("Vesto : en pause");
    }
    m_tray.show(Icons::fileName(symbol),
                Icons::own(symbol, QApplication::palette().color(QPalette::WindowText)), words);
}

bool DesktopApplication::eventFilter(QObject* watched, QEvent* event) {
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange)
        updateTray();
    return QObject::eventFilter(watched, event);
}

// ---- The desktop around ----

void DesktopApplication::chooseFolder(QWidget* over, const std::filesystem::path& start,
                                      std::function<void(const std::string& folderID)> added) {
    if (!makeWay())
        return;
    if (over != nullptr && !over->isVisible())
        over = nullptr; // it was the popup's
    const FolderChooser::Words words{
        .title = french("Choisissez un dossier dont Vesto renommera les nouveaux fichiers."),
        .accept = french("Surveiller")};
    m_chooser.choose(over, words, start,
                     [this, added = std::move(added)](const std::filesystem::path& folder) {
                         watchFolder(folder, added);
                     });
}

void DesktopApplication::watchFolder(const std::filesystem::path& folder,
                                     std::function<void(const std::string& folderID)> added) {
    m_model.addFolder(folder, [this, added = std::move(added)](const std::optional<WatchedFolder>& watched,
                                                               const std::vector<FolderNote>& notes) {
        if (!watched)
            return; // why is the model's last error
        const auto warning = std::ranges::find_if(notes, [](const FolderNote& note) {
            return note.kind == FolderNote::Kind::readOnly || note.kind == FolderNote::Kind::noSafeRename;
        });
        if (warning != notes.end())
            m_model.showError(warning->message);
        if (added)
            added(watched->id);
    });
}

void DesktopApplication::reveal(const std::filesystem::path& file) {
    const bool wasPopup = m_panel && m_panel->closePopup();
    m_files.reveal(file, [this, file, wasPopup](FileManager::Failure failure) {
        m_model.showError(
            failure == FileManager::Failure::missing
                ? std::string(text("Le fichier n'est plus à cet endroit."))
                : fmt::format("{} {}",
                              text("Aucun gestionnaire de fichiers n'a répondu. Le fichier est ici :"),
                              file.native()));
        if (wasPopup)
            showPanel(); // where it was asked for
    });
}

std::optional<bool> DesktopApplication::launchesAtLogin() const {
    return m_autostart ? std::optional(m_autostart->isOn()) : std::nullopt;
}

bool DesktopApplication::setLaunchesAtLogin(bool value) {
    if (!m_autostart)
        return false;
    const auto kept = m_autostart->set(value);
    if (!kept)
        m_model.showError(fmt::format("{} {}", text("L'ouverture à la connexion n'a pas pu être réglée :"),
                                      std::strerror(kept.error())));
    return kept.has_value();
}

void DesktopApplication::quit() {
    if (std::exchange(m_isQuitting, true)) {
        QCoreApplication::exit(0);
        return;
    }
    // Whoever is started from here on takes the place of this one, once its lock is free.
    if (m_leaving)
        m_leaving();
    if (m_control)
        m_control->close();
    m_tray.leave();
    m_chooser.cancel();
    QApplication::closeAllWindows();
    if (m_notifications)
        m_notifications->closeAll();
    m_model.finish([] { QCoreApplication::exit(0); });
}

// ---- The services ----

std::string DesktopApplication::modelSummary() const {
    const LocalModel::Facts facts = m_languageModel->facts();
    std::string summary = facts.name;
    const QLocale& locale = frenchLocale();
    constexpr double gigabyte = 1e9;
    if (facts.bytes > 0)
        summary +=
            " · " + utf8(locale.toString(static_cast<double>(facts.bytes) / gigabyte, 'f', 1)) + "\u00A0Go";
    if (facts.perTitle.count() > 0)
        summary += " · " + utf8(locale.toString(facts.perTitle.count(), 'f', 1)) + ' ' +
                   std::string(text("s par titre"));
    return summary;
}

std::string DesktopApplication::sandboxFault() const {
    if (auto fault = Startup::networkFault(); !fault.empty())
        return fault;
    if (!m_jail)
        return std::string(text("L'isolation du lecteur est en cours de vérification."));
    if (!*m_jail)
        return fmt::format("{} {}", text("Le lecteur isolé n'a pas pu démarrer :"),
                           messageOf(m_jail->error()));
    if (**m_jail != ipc::Jail::full)
        return std::string(
            text("Isolation réduite : ce noyau n'a pas Landlock. Les appels système du lecteur "
                 "sont filtrés, mais pas les chemins."));
    return {};
}

void DesktopApplication::checkSandbox(std::function<void()> done) {
    m_previews.tryJail([this, done = std::move(done)](const Previews::Jail& jail) {
        m_jail = jail;
        done();
    });
}

void DesktopApplication::preview(const std::filesystem::path& file,
                                 std::function<void(const std::optional<Preview>&)> done) {
    m_previews.ask(file, std::move(done));
}

} // namespace vesto
