#include "app/views/WindowKeys.h"

#include "app/views/Shell.h"

namespace vesto {

void addWindowKeys(QWidget& window, Shell& shell) {
    addKey(window, Qt::CTRL | Qt::Key_W, [&window] { window.close(); });
    addKey(window, Qt::CTRL | Qt::Key_H, [&shell] { shell.showHistory(); });
    addKey(window, Qt::CTRL | Qt::Key_Comma, [&shell] { shell.showSettings(SettingsPage::folders); });
    addKey(window, Qt::CTRL | Qt::Key_Q, [&shell] { shell.quit(); });
}

} // namespace vesto
