#pragma once
#include "app/model/Settings.h"
#include "app/views/NameRows.h"
#include "app/views/PendingModel.h"
#include "app/views/RecordModel.h"
#include "core/files/FileIdentity.h"

#include <QFrame>
#include <QRect>
#include <QString>
#include <QTimer>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

class QListView;
class QScrollArea;

namespace vesto {

class Announcer;
class AppModel;
class BatchButton;
class ErrorStrip;
class PanelEmptyState;
class PanelFooter;
class SectionHeader;
class Shell;
class SimpleModeLine;
class StatusLine;
class TitleEditor;

/// What waits for the user and what was renamed last: the daily surface. The same whether it stands in a
/// popup or in a window (`PanelWindow`). Model, settings and shell outlive it.
class MenuPanel final : public QFrame {
    Q_OBJECT
public:
    static constexpr std::size_t mostRecent = 5;

    MenuPanel(AppModel& model, const Settings& settings, Shell& shell, QWidget* parent = nullptr);

    /// With its title in its editor; nothing where it no longer waits.
    void edit(std::string_view proposalID);

    /// When it is shown: reads anew what changes with time, and gives the focus to what is there to do.
    void refresh();
    void focusFirst();

    /// The size at which nothing needs to be scrolled.
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

    /// Leaves what Escape leaves: an editor or a question. False where there is neither.
    bool leave();

    // For who drives it.
    [[nodiscard]] QListView& pendingList() const { return *m_pendingList; }
    [[nodiscard]] QListView& recentList() const { return *m_recentList; }
    [[nodiscard]] TitleEditor* editor() const { return m_editor; }
    [[nodiscard]] SectionHeader& pendingHeader() const { return *m_pendingHeader; }
    [[nodiscard]] PanelFooter& footer() const { return *m_footer; }

Q_SIGNALS:
    /// Its contents take another height.
    void contentsResized();

protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build();
    void buildLists();
    void bindKeys();
    void bindLists();
    void orderFocus();

    void showState();
    /// Of the proposals that were there when it was asked, how many are left.
    void showQuestion();
    void fitLists();
    /// What is hovered or edited stays where it is while rows arrive above it.
    void keepPlace(int heightAbove);

    void trigger(const QModelIndex& index, int part);
    void accept(const QModelIndex& index);
    void ignore(const QModelIndex& index);
    void undo();
    void undo(const std::string& recordID);
    void reveal(const QModelIndex& index);
    void revealCurrent();
    void showEvidence(const QModelIndex& index);
    void renameEdited();
    /// The row under the editor goes.
    void loseEdited();
    void placeEditor();
    void dropEditor();
    void closeEditor();
    [[nodiscard]] QRect markOf(const QModelIndex& index) const;

    bool pressKey(QListView& list, const QKeyEvent& key);
    bool crossTo(QListView& list, int row);
    void takeFocus(QListView& list, Qt::FocusReason reason);

    AppModel& m_model;
    const Settings& m_settings;
    Shell& m_shell;
    PendingModel m_pending;
    RecordModel m_recent;

    ErrorStrip* m_errors = nullptr;
    StatusLine* m_status = nullptr;
    QScrollArea* m_scroll = nullptr;
    QWidget* m_body = nullptr;
    SectionHeader* m_pendingHeader = nullptr;
    QListView* m_pendingList = nullptr;
    PendingRows* m_pendingRows = nullptr;
    BatchButton* m_batch = nullptr;
    SectionHeader* m_recentHeader = nullptr;
    QListView* m_recentList = nullptr;
    RecentRows* m_recentRows = nullptr;
    PanelEmptyState* m_empty = nullptr;
    SimpleModeLine* m_simple = nullptr;
    PanelFooter* m_footer = nullptr;
    Announcer* m_announcer = nullptr;

    TitleEditor* m_editor = nullptr; // over its row
    QTimer m_placeTimer;
    QString m_edited;                         // the proposal's id
    std::optional<FileIdentity> m_editedFile; // its file
    std::optional<FileIdentity> m_draftFile;  // the one for which a title was begun and left
    QString m_draft;
    bool m_isAnswering = false;                   // a row goes because of what was done here
    std::vector<std::string> m_asked;             // ids of what the user was asked about at once
    QTimer m_stateTimer;                          // rows went: what follows from it is shown once
    std::set<std::string, std::less<>> m_undoing; // ids of rows whose files are on their way back
};

} // namespace vesto
