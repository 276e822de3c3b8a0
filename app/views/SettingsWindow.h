#pragma once
#include "app/model/Settings.h"
#include "app/views/Shell.h"
#include "app/views/WindowMemory.h"

#include <QWidget>

class QTabWidget;

namespace vesto {

class AppModel;

/// What the user may choose. Everything counts at once, so there is nothing to confirm.
class SettingsWindow final : public QWidget {
    Q_OBJECT
public:
    SettingsWindow(AppModel& model, const Settings& settings, Shell& shell,
                   WindowMemory memory = WindowMemory(), QWidget* parent = nullptr);
    ~SettingsWindow() override;

    void showPage(SettingsPage page);

private:
    void addPage(QWidget* page, const QString& name);

    WindowMemory m_memory;
    QTabWidget* m_pages;
};

} // namespace vesto
