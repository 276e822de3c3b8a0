#pragma once
#include "app/views/Shell.h"
#include "app/views/WindowMemory.h"
#include "tests/app/support/World.h"

#include <QApplication>
#include <QTest>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

/// A shell that writes down what it is asked for.
class RecordingShell : public Shell {
public:
    void showPanel() override { calls.emplace_back("panel"); }
    void showPanelEditing(std::string_view proposalID) override {
        calls.push_back("editing " + std::string(proposalID));
    }
    void showHistory() override { calls.emplace_back("history"); }
    void showSettings(SettingsPage /*page*/) override { calls.emplace_back("settings"); }
    void showBatch() override { calls.emplace_back("batch"); }
    void chooseFolder(QWidget* /*over*/, const std::filesystem::path& start,
                      std::function<void(const std::string&)> onAdded) override {
        calls.push_back("choose " + start.native());
        added.push_back(std::move(onAdded));
    }
    void watchFolder(const std::filesystem::path& folder,
                     std::function<void(const std::string&)> onAdded) override {
        calls.push_back("watch " + folder.native());
        added.push_back(std::move(onAdded));
    }
    void reveal(const std::filesystem::path& file) override { calls.push_back("reveal " + file.native()); }
    void quit() override { calls.emplace_back("quit"); }
    [[nodiscard]] std::optional<bool> launchesAtLogin() const override { return login; }
    bool setLaunchesAtLogin(bool value) override {
        if (isLoginRefused && onLoginRefused)
            onLoginRefused();
        if (isLoginRefused)
            return false;
        login = value;
        return true;
    }
    [[nodiscard]] std::string modelSummary() const override { return modelWords; }
    [[nodiscard]] std::string sandboxFault() const override { return fault; }
    void checkSandbox(std::function<void()> done) override { checks.push_back(std::move(done)); }
    void preview(const std::filesystem::path& file,
                 std::function<void(const std::optional<Preview>&)> done) override {
        previewed.push_back(file.filename().native());
        const auto picture = pictures.find(file.filename().native());
        QMetaObject::invokeMethod(
            qApp,
            [done = std::move(done), answer = picture == pictures.end()
                                                  ? std::nullopt
                                                  : std::optional(picture->second)] { done(answer); },
            Qt::QueuedConnection);
    }

    std::vector<std::string> calls;
    std::vector<std::function<void(const std::string&)>> added; // who waits for a folder
    std::vector<std::string> previewed;
    std::map<std::string, Preview> pictures; // by file name
    std::optional<bool> login = false;
    bool isLoginRefused = false;
    std::function<void()> onLoginRefused;
    std::string fault;
    std::vector<std::function<void()>> checks; // who waits for another look at the walls
    std::string modelWords = "Modèle d'essai, 1,2 Go";
};

/// A user's home with the application over it, and what the windows ask for beside.
class WindowWorld : public World {
public:
    [[nodiscard]] WindowMemory memory() const { return WindowMemory(SettingsFile(home / "windows.conf")); }

    /// Shows a window and waits until it is there.
    static void expose(QWidget& window) {
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    /// The only visible child of this kind with this text.
    template <typename Button> static Button* button(const QWidget& window, const QString& text) {
        for (Button* each : window.findChildren<Button*>())
            if (each->text() == text)
                return each;
        ADD_FAILURE() << "no button " << text.toStdString();
        return nullptr;
    }

    RecordingShell shell;
};

} // namespace vesto
