#pragma once
#include "app/model/FolderCheck.h"
#include "app/model/WatchedFolder.h"

#include <QWidget>
#include <vector>

class QBoxLayout;
class QCheckBox;
class QComboBox;
class QLabel;
class QToolButton;

namespace vesto {

class AppModel;
class NoteLabel;
class Shell;

/// One watched folder: whether it is watched, how, and what can be done with it.
class FolderRow final : public QWidget {
    Q_OBJECT
public:
    FolderRow(AppModel& model, Shell& shell, const WatchedFolder& folder, QWidget* parent);

    void show(const WatchedFolder& folder);
    void setLast(bool isLast);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void layOut();
    /// Asks what the folder's disk can do; of a watched one only, as another may not answer for long.
    void askDisk();
    void showState();
    void analyse();
    void paintIcons();
    void elide();

    AppModel& m_model;
    Shell& m_shell;
    WatchedFolder m_folder;
    bool m_isLast = false;
    bool m_isCaution = false;
    QString m_shownName;
    std::vector<FolderNote> m_disk;
    bool m_isDiskAsked = false; // since it is shown and watched
    QString m_state;
    QString m_note; // after it
    QString m_why;  // for the tip
    QCheckBox* m_enabled;
    NoteLabel* m_name;
    QLabel* m_caution;
    NoteLabel* m_path;
    QComboBox* m_mode;
    QToolButton* m_analyse;
    QToolButton* m_remove;
    QBoxLayout* m_middle;
};

} // namespace vesto
