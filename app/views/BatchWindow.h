#pragma once
#include "app/model/AnalysisEstimate.h"
#include "app/model/Batch.h"
#include "app/model/Settings.h"
#include "app/views/WindowMemory.h"

#include <QModelIndex>
#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <optional>
#include <string>

class QBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QSplitter;
class QStackedWidget;
class QTreeView;

namespace vesto {

class AppModel;
class BatchDelegate;
class BatchModel;
class BatchPreview;
class CheckHeader;
class ColumnFit;
class EmptyNote;
class Shell;
class SkippedSummary;

/// The files that a folder held already: their analysis, the review of the names, the renaming of those that
/// were ticked, and its undoing.
class BatchWindow final : public QWidget {
    Q_OBJECT
public:
    BatchWindow(AppModel& model, const Settings& settings, Shell& shell, WindowMemory memory = WindowMemory(),
                QWidget* parent = nullptr);
    ~BatchWindow() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void makeHeading(QBoxLayout& column);
    void makeMiddle(QBoxLayout& column);
    void makeList();
    void makeFooter(QBoxLayout& column);
    void makeKeys();

    void follow();
    void showProgress(const Batch* current);
    void showPages(const Batch* batch);
    void showButtons(const Batch* batch);
    void showCurrent();
    /// How many files get the name that this title gives before that item does: they are renamed in order.
    [[nodiscard]] std::size_t namesakesBefore(const Batch::Item& item, const std::string& title) const;

    [[nodiscard]] QModelIndex titleAt(int row) const;
    void editTitle(const QModelIndex& index);
    void editNext();
    void restoreTitle(const QModelIndex& index);
    void doPart(const QModelIndex& index, int part, const QRect& place);
    bool keyInList(const QKeyEvent& event);
    void popUpEvidence();
    void rename();
    void dismiss();

    AppModel& m_model;
    const Settings& m_settings;
    Shell& m_shell;
    WindowMemory m_memory;
    BatchModel* m_items;
    QWidget* m_heading;
    QLabel* m_title;
    QLabel* m_progressText;
    QProgressBar* m_progress;
    QLabel* m_count;
    QStackedWidget* m_pages;
    QSplitter* m_splitter;
    QTreeView* m_list;
    QStackedWidget* m_listPages;
    EmptyNote* m_nothing;
    EmptyNote* m_noBatch;
    CheckHeader* m_header;
    ColumnFit* m_columns = nullptr; // owned by the list
    BatchDelegate* m_delegate;
    SkippedSummary* m_skipped;
    BatchPreview* m_preview;
    QPushButton* m_undo;
    QPushButton* m_close;
    QPushButton* m_rename;
    AnalysisEstimate m_estimate;
    std::optional<QString> m_draft; // of the current row, while it is being written
    bool m_isWide = true;
};

} // namespace vesto
