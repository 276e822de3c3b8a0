#pragma once
#include "app/Previews.h"
#include "app/Startup.h"
#include "app/model/AppModel.h"
#include "app/model/Commands.h"
#include "app/model/ControlServer.h"
#include "app/model/CurrentModel.h"
#include "app/model/Settings.h"
#include "app/platform/Autostart.h"
#include "app/platform/FileManager.h"
#include "app/platform/FolderChooser.h"
#include "app/platform/NotificationCentre.h"
#include "app/platform/Tray.h"
#include "app/views/BatchWindow.h"
#include "app/views/HistoryWindow.h"
#include "app/views/Icons.h"
#include "app/views/PanelWindow.h"
#include "app/views/SettingsWindow.h"
#include "app/views/Shell.h"
#include "app/views/WelcomeWindow.h"
#include "services/client/RemoteTranscriber.h"

#include <QAction>
#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vesto {

/// The application: its model, what the desktop lends it, and its windows, each made when it is first asked
/// for. Main thread. Destroying it finishes what was begun with files.
class DesktopApplication : public QObject, public Shell {
public:
    /// `leaving`: it has begun to quit, and shows itself no more.
    DesktopApplication(Startup::Taken taken, const std::optional<QDBusConnection>& bus,
                       std::function<void()> leaving);
    ~DesktopApplication() override;

    void start();

    /// Somebody asked for the application: its panel, or the welcome that was not finished. `token` lets the
    /// window come to the front; it may be empty.
    void activate(const QString& token);

    void showPanel() override;
    void showPanelEditing(std::string_view proposalID) override;
    void showHistory() override;
    void showSettings(SettingsPage page) override;
    void showBatch() override;
    void chooseFolder(QWidget* over, const std::filesystem::path& start,
                      std::function<void(const std::string& folderID)> added) override;
    void watchFolder(const std::filesystem::path& folder,
                     std::function<void(const std::string& folderID)> added) override;
    void reveal(const std::filesystem::path& file) override;
    /// Finishes the file at hand first; a second time without waiting for it.
    void quit() override;
    [[nodiscard]] std::optional<bool> launchesAtLogin() const override;
    bool setLaunchesAtLogin(bool value) override;
    [[nodiscard]] std::string modelSummary() const override;
    [[nodiscard]] std::string sandboxFault() const override;
    void checkSandbox(std::function<void()> done) override;
    void preview(const std::filesystem::path& file,
                 std::function<void(const std::optional<Preview>&)> done) override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] AppModel::Dependencies dependencies();
    [[nodiscard]] PanelWindow& panel();
    [[nodiscard]] bool isOnboarded() const { return m_isWelcomed || m_settings.onboarded(); }
    void openFromTray();
    void showWelcome();
    /// False, and nothing is shown, once it quits.
    [[nodiscard]] bool makeWay();
    static void bringForward(QWidget& window);
    void serveControl();
    void fillMenu();
    void updateTray();

    Startup::Taken m_taken;
    std::function<void()> m_leaving;
    Settings m_settings;
    std::shared_ptr<CurrentModel> m_languageModel;
    std::shared_ptr<RemoteTranscriber> m_speech;
    std::unique_ptr<NotificationCentre> m_notifications; // null where nobody shows any
    NullNotifier m_silence;
    AppModel m_model;
    Commands m_commands;
    std::unique_ptr<ControlServer> m_control;
    Tray m_tray;
    QAction* m_pause = nullptr; // the menu's
    FileManager m_files;
    FolderChooser m_chooser;
    std::optional<Autostart> m_autostart;
    Previews m_previews;
    std::optional<Previews::Jail> m_jail; // nothing before it was tried
    bool m_isQuitting = false;
    bool m_isWelcomed = false;            // also where that could not be kept
    std::unique_ptr<PanelWindow> m_panel; // the windows: null before they were asked for
    std::unique_ptr<WelcomeWindow> m_welcome;
    std::unique_ptr<HistoryWindow> m_history;
    std::unique_ptr<SettingsWindow> m_settingsWindow;
    std::unique_ptr<BatchWindow> m_batch;
};

} // namespace vesto
