#pragma once
#include "app/model/Settings.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace vesto {

class AppModel;
class NoteLabel;
struct TemplateDraft;

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
    void showDraft(const TemplateDraft& draft);
    /// As they are kept, perhaps by another program; but what is being written stays.
    void showSettings();
    void paintIcons();

    AppModel& m_model;
    const Settings& m_settings;
    QLineEdit* m_pattern;
    QAction* m_reset;
    QLabel* m_errorIcon;
    NoteLabel* m_error;
    NoteLabel* m_example;
    QCheckBox* m_generic;
};

} // namespace vesto
