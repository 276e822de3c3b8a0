#pragma once
#include "app/views/WindowMemory.h"

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QWidget>
#include <string_view>

namespace vesto {

class AppModel;
class MenuPanel;
class Settings;
class Shell;

/// The frame of the menu panel: a popup beside the tray icon where the desktop lets Vesto place windows, else
/// an ordinary window. There is one; it is hidden and shown again.
class PanelWindow final : public QWidget {
    Q_OBJECT
public:
    PanelWindow(AppModel& model, const Settings& settings, Shell& shell,
                WindowMemory memory = WindowMemory());

    /// `icon`: where the tray icon is on the screen.
    void openBeside(const QRect& icon);
    void openAsWindow();
    /// False where no popup is open. As long as one is, it takes every key, also those that are meant for
    /// another window.
    bool closePopup();
    /// As a window, with that proposal's title in its editor; a popup that is open stays one.
    void openEditing(std::string_view proposalID);

    [[nodiscard]] MenuPanel& panel() const { return *m_panel; }

    /// Whether this platform lets a client say where a window stands.
    [[nodiscard]] static bool canPlaceWindows();

    /// Where a popup of this size goes: beside the icon, whole within `screen`.
    [[nodiscard]] static QPoint placeBeside(const QRect& icon, QSize popup, const QRect& screen);

protected:
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    [[nodiscard]] bool isPopup() const { return windowFlags().testFlag(Qt::Popup) && isVisible(); }
    void become(Qt::WindowFlags flags);
    [[nodiscard]] QSize fitting(const QRect& screen) const;
    void fit();

    WindowMemory m_memory;
    MenuPanel* m_panel;
    QRect m_icon;           // of the popup's last opening
    int m_fittedHeight = 0; // of the window, where it follows its contents
};

} // namespace vesto
