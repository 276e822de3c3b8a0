#pragma once
#include "core/extraction/ContentReading.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

class QWidget;

namespace vesto {

enum class SettingsPage { folders, naming, general };

/// What a window asks of the rest of the application: other windows, the desktop around them, the services.
/// Main thread; outlives every window. No call waits.
class Shell {
public:
    virtual ~Shell() = default;

    virtual void showPanel() = 0;
    /// With that proposal's title in its editor.
    virtual void showPanelEditing(std::string_view proposalID) = 0;
    virtual void showHistory() = 0;
    virtual void showSettings(SettingsPage page) = 0;
    virtual void showBatch() = 0;

    /// Lets the user choose a folder, beginning in `start` (empty: at home), and watches it. `added` hears of
    /// a folder that is watched from then on.
    virtual void chooseFolder(QWidget* over, const std::filesystem::path& start,
                              std::function<void(const std::string& folderID)> added) = 0;
    /// Watches this folder, for `added` as above.
    virtual void watchFolder(const std::filesystem::path& folder,
                             std::function<void(const std::string& folderID)> added) = 0;
    /// Shows a file in the desktop's own file manager; where there is none, its path.
    virtual void reveal(const std::filesystem::path& file) = 0;
    virtual void quit() = 0;

    /// Nothing where this desktop starts no programs at login.
    [[nodiscard]] virtual std::optional<bool> launchesAtLogin() const = 0;
    /// False where that could not be kept; why is the model's last error.
    virtual bool setLaunchesAtLogin(bool value) = 0;

    /// The language model's name, with its size and seconds per title where they are known; empty without
    /// one.
    [[nodiscard]] virtual std::string modelSummary() const = 0;

    /// What is wrong with the walls around the application and its reader, in French; empty: the kernel
    /// refuses it the network, and foreign files are read in a full jail.
    [[nodiscard]] virtual std::string sandboxFault() const = 0;
    /// Tries the walls again; `done` is called once, later, when `sandboxFault` knows.
    virtual void checkSandbox(std::function<void()> done) = 0;

    /// The first page or the picture of a file, from the jailed reader; nothing where it has none. `done` is
    /// called once, later.
    virtual void preview(const std::filesystem::path& file,
                         std::function<void(const std::optional<Preview>&)> done) = 0;
};

} // namespace vesto
