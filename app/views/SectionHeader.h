#pragma once
#include <QString>
#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class QToolButton;

namespace vesto {

/// The title of a list with its count; perhaps with an act on all of it, which is asked about on the spot.
class SectionHeader final : public QWidget {
    Q_OBJECT
public:
    /// Milliseconds after which a question that nobody answers goes away.
    static constexpr int patience = 8000;

    explicit SectionHeader(const QString& title, QWidget* parent = nullptr);

    void setCount(std::size_t count);
    /// A button with this text, which asks `question` first.
    void setAct(const QString& text, const QString& doIt);
    void setActVisible(bool visible);
    void setQuestion(const QString& question);

    [[nodiscard]] bool isAsking() const { return m_isAsking; }
    void stopAsking();

    [[nodiscard]] QToolButton* actButton() const { return m_act; }
    [[nodiscard]] QPushButton* yesButton() const { return m_yes; }
    [[nodiscard]] QPushButton* noButton() const { return m_no; }

Q_SIGNALS:
    /// The question is about to be shown: time to say what it is.
    void asked();
    void confirmed();

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void ask();
    void arrange();
    void dress();

    QString m_titleText;
    QString m_questionText;
    QLabel* m_title;
    QLabel* m_count;
    QToolButton* m_act;
    QPushButton* m_yes;
    QPushButton* m_no;
    QTimer m_patience;
    bool m_isAsking = false;
    bool m_hasAct = false;
};

} // namespace vesto
