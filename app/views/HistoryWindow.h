#pragma once
#include "app/views/WindowMemory.h"

#include <QModelIndex>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <set>
#include <string>

class QBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

namespace vesto {

class AppModel;
class ColumnFit;
class EmptyNote;
class LongTable;
class RecordModel;
class Shell;
struct RenameRecord;

/// Every rename there was, newest first: found again, undone, shown in its folder.
class HistoryWindow final : public QWidget {
    Q_OBJECT
public:
    HistoryWindow(AppModel& model, Shell& shell, WindowMemory memory = WindowMemory(),
                  QWidget* parent = nullptr);
    ~HistoryWindow() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void makeBar(QBoxLayout& column);
    void makeTable();
    void makeDetail(QBoxLayout& column);
    void makeKeys();
    void paintIcons();

    void search();
    void showState();
    void showCount();
    void showCurrent();
    /// Asks whether the current file is there, for the button.
    void lookForFile();
    void keepInPlace(int first, int last);
    void rememberColumns() const;

    /// Null where there is none.
    [[nodiscard]] const RenameRecord* recordAt(const QModelIndex& index) const;
    void undo(const QModelIndex& index);
    void reveal(const QModelIndex& index);
    void revealCurrent();

    AppModel& m_model;
    Shell& m_shell;
    WindowMemory m_memory;
    RecordModel* m_records;
    QLineEdit* m_field;
    QLabel* m_count;
    QStackedWidget* m_pages;
    LongTable* m_table;
    ColumnFit* m_columns = nullptr; // owned by the table
    EmptyNote* m_empty;
    QWidget* m_detail;
    QBoxLayout* m_middle = nullptr; // around the table
    QBoxLayout* m_detailRow;
    QLabel* m_name;
    QLabel* m_facts;
    QPushButton* m_undo;
    QPushButton* m_reveal;
    std::set<std::string, std::less<>> m_undoing; // ids of rows whose files are on their way back
    QTimer m_searchDelay;
    QTimer m_lookDelay;
    QTimer m_arrivalDelay;
    int m_arrived = 0; // height of the rows above that are not scrolled past yet
};

} // namespace vesto
