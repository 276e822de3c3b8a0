#pragma once
#include "app/model/Settings.h"

#include <QTimer>
#include <QWidget>

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;

namespace vesto {

class AppModel;
class NoteLabel;
class Shell;

/// "Général": login, notifications, the language model.
class GeneralPage final : public QWidget {
    Q_OBJECT
public:
    GeneralPage(AppModel& model, const Settings& settings, Shell& shell);

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* makeIntelligence();
    void lookAtModel();
    void showModel();
    void lookAtWalls();
    void showWalls();
    void setLogin(bool value);

    AppModel& m_model;
    const Settings& m_settings;
    Shell& m_shell;
    QCheckBox* m_login;
    QCheckBox* m_notify;
    QLabel* m_modelIcon;
    QLabel* m_modelState;
    NoteLabel* m_modelNote;
    QPushButton* m_check;
    QProgressBar* m_busy;
    QLabel* m_wallsIcon;
    NoteLabel* m_walls;
    QTimer m_again; // runs while a model is being loaded and the page is seen
};

} // namespace vesto
