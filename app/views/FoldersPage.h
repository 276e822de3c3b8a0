#pragma once
#include "app/model/Settings.h"

#include <QWidget>

class QLabel;
class QSlider;

namespace vesto {

class AppModel;
class Shell;

/// "Dossiers": what is watched, and how sure a name must be.
class FoldersPage final : public QWidget {
    Q_OBJECT
public:
    FoldersPage(AppModel& model, const Settings& settings, Shell& shell);

protected:
    void showEvent(QShowEvent* event) override;

private:
    /// As it is kept, perhaps by another program.
    void showThreshold();

    AppModel& m_model;
    const Settings& m_settings;
    QSlider* m_slider;
    QLabel* m_value;
};

} // namespace vesto
