#pragma once
#include "app/model/Settings.h"

#include <QWidget>

class QLabel;
class QLineEdit;

namespace vesto {

class AppModel;
class NoteLabel;

/// "Nommage": the pattern of names.
class NamingPage final : public QWidget {
    Q_OBJECT
public:
    NamingPage(AppModel& model, const Settings& settings);

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeTokens();
    void takeDraft();
    void paintIcons();

    AppModel& m_model;
    const Settings& m_settings;
    QLineEdit* m_pattern;
    QAction* m_reset;
    QLabel* m_errorIcon;
    NoteLabel* m_error;
    NoteLabel* m_example;
};

} // namespace vesto
