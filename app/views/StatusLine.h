#pragma once
#include <QFrame>
#include <QString>
#include <QTimer>

class QLabel;
class QProgressBar;
class QToolButton;

namespace vesto {

class AppModel;

/// Which file is being named, or that the watching pauses; hidden otherwise.
class StatusLine final : public QFrame {
    Q_OBJECT
public:
    /// Milliseconds for which the line stays after the work has ended, so that it does not flicker.
    static constexpr int afterglow = 400;

    explicit StatusLine(AppModel& model, QWidget* parent = nullptr);

    [[nodiscard]] QToolButton* resumeButton() const { return m_resume; }

Q_SIGNALS:
    void shownOrHidden();

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    void arrange();
    void layOutText();
    void dress();

    AppModel& m_model;
    QLabel* m_icon;
    QLabel* m_text;
    QProgressBar* m_bar;
    QToolButton* m_resume;
    QString m_name; // being named; empty: none
    QTimer m_afterglow;
};

} // namespace vesto
