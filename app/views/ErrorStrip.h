#pragma once
#include <QFrame>

class QLabel;
class QToolButton;

namespace vesto {

class AppModel;

/// What went wrong last, on top of a window; hidden where nothing did. Takes no focus of its own accord.
class ErrorStrip final : public QFrame {
public:
    explicit ErrorStrip(AppModel& model, QWidget* parent = nullptr);

    /// The button that makes the message go away.
    [[nodiscard]] QToolButton* dismissButton() const { return m_dismiss; }

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void showError();
    void layOutText();
    void paintAgain();
    void copy() const;

    AppModel& m_model;
    QLabel* m_icon;
    QLabel* m_text;
    QToolButton* m_dismiss;
    bool m_isPainting = false;
    QString m_message;
};

} // namespace vesto
