#pragma once
#include "app/model/PendingProposal.h"

#include <QString>
#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace vesto {

class AppModel;

/// The title of one proposal, being written: stands in its row in place of what the row paints. The name that
/// the file would get is its tip and its description.
class TitleEditor final : public QWidget {
    Q_OBJECT
public:
    TitleEditor(AppModel& model, const PendingProposal& pending, const QString& draft, QWidget* parent);

    /// Its field and buttons are reached by Tab right after that widget.
    void followInTabOrder(QWidget& before);

    [[nodiscard]] QString text() const;
    [[nodiscard]] QLineEdit& field() { return *m_field; }

Q_SIGNALS:
    void textEdited(const QString& text);
    void accepted(); // "Renommer"
    void left();     // "Annuler"

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void dress();
    void showName();
    void lookUp();
    void describe(const QString& name);

    AppModel& m_model;
    Proposal m_proposal;
    QLineEdit* m_field;
    QLabel* m_old;
    QPushButton* m_accept;
    QPushButton* m_leave;
    QTimer m_lookTimer;
};

} // namespace vesto
