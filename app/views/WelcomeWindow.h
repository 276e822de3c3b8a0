#pragma once
#include <QWidget>
#include <filesystem>
#include <functional>
#include <string>

class QFrame;
class QLabel;
class QPushButton;

namespace vesto {

class AppModel;
class Settings;
class Shell;

/// Explains Vesto once and lets the user choose a first folder; shown until it was finished.
class WelcomeWindow final : public QWidget {
    Q_OBJECT
public:
    WelcomeWindow(AppModel& model, const Settings& settings, Shell& shell);

    /// Watches the folder of downloads without a chooser; hidden where this user has none.
    [[nodiscard]] QPushButton* watchButton() const { return m_watch; }
    [[nodiscard]] QPushButton* desktopButton() const { return m_desktop; }
    [[nodiscard]] QPushButton* downloadsButton() const { return m_downloads; }
    [[nodiscard]] QPushButton* finishButton() const { return m_finish; }

Q_SIGNALS:
    /// The user has finished it: it will not be shown again.
    void finished();

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QWidget* buildHeading();
    QWidget* buildLines();
    QWidget* buildExamples();
    QWidget* buildChoice();
    QWidget* buildFooter();
    void watchDownloads();
    void choose(const QString& start);
    /// Who asks for a folder that is to be watched hears of it.
    [[nodiscard]] std::function<void(const std::string&)> whenAdded();
    void showAdded(const std::string& folderID);
    void finish();
    void dress();

    AppModel& m_model;
    const Settings& m_settings;
    Shell& m_shell;
    QLabel* m_heading = nullptr;
    QFrame* m_edge = nullptr; // above the footer
    QPushButton* m_watch = nullptr;
    QPushButton* m_desktop = nullptr;
    QPushButton* m_downloads = nullptr;
    QLabel* m_addedIcon = nullptr;
    QLabel* m_added = nullptr;
    QPushButton* m_finish = nullptr;
    bool m_isWatching = false; // the folder of downloads was asked for, and nothing has been said
};

} // namespace vesto
