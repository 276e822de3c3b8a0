#pragma once
#include <QToolButton>
#include <QWidget>

class QLabel;
class QProgressBar;

namespace vesto {

class AppModel;
class Shell;

/// What the analysis of a folder's files has come to; opens its window. Hidden where there is none.
class BatchButton final : public QToolButton {
public:
    BatchButton(AppModel& model, Shell& shell, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    void dress();

    AppModel& m_model;
    QLabel* m_icon;
    QLabel* m_text;
    QProgressBar* m_bar;
    QLabel* m_chevron;
};

/// That titles come without a model, and why; opens the settings. Hidden where a model is there.
class SimpleModeLine final : public QToolButton {
public:
    SimpleModeLine(AppModel& model, Shell& shell, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    void dress();

    AppModel& m_model;
    QLabel* m_icon;
    QLabel* m_text;
    QLabel* m_note;
};

/// What stands where there is nothing to show.
class PanelEmptyState final : public QWidget {
public:
    explicit PanelEmptyState(Shell& shell, QWidget* parent = nullptr);

    void setHasFolders(bool hasFolders);
    [[nodiscard]] QToolButton* link() const { return m_link; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();

    bool m_hasFolders = false;
    QLabel* m_icon;
    QLabel* m_text;
    QToolButton* m_link;
};

/// The acts that are always there. Where it is too narrow some lose their text.
class PanelFooter final : public QWidget {
public:
    PanelFooter(AppModel& model, Shell& shell, QWidget* parent = nullptr);

    void addFolder();
    [[nodiscard]] QToolButton* addButton() const { return m_add; }
    [[nodiscard]] QToolButton* pauseButton() const { return m_pause; }
    [[nodiscard]] QToolButton* historyButton() const { return m_history; }
    [[nodiscard]] QToolButton* settingsButton() const { return m_settings; }
    [[nodiscard]] QToolButton* quitButton() const { return m_quit; }
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void follow();
    void dress();
    void fit();

    AppModel& m_model;
    Shell& m_shell;
    QToolButton* m_add;
    QToolButton* m_pause;
    QToolButton* m_history;
    QToolButton* m_settings;
    QToolButton* m_quit;
};

} // namespace vesto
