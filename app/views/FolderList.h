#pragma once
#include <QFrame>
#include <map>
#include <string>

class QLabel;
class QVBoxLayout;

namespace vesto {

class AppModel;
class FolderRow;
class Shell;

/// The watched folders in the order they were added, one row of controls each.
class FolderList final : public QFrame {
    Q_OBJECT
public:
    FolderList(AppModel& model, Shell& shell, QWidget* parent = nullptr);

private:
    /// Rows that stay keep their widgets, and with them the focus.
    void follow();

    AppModel& m_model;
    Shell& m_shell;
    QVBoxLayout* m_column;
    QLabel* m_empty;
    std::map<std::string, FolderRow*> m_rows; // by folder
};

} // namespace vesto
