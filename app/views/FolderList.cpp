#include "app/views/FolderList.h"

#include "app/model/AppModel.h"
#include "app/views/FolderRow.h"
#include "app/views/NoteLabel.h"
#include "app/views/Words.h"

#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <vector>

namespace vesto {

FolderList::FolderList(AppModel& model, Shell& shell, QWidget* parent)
    : QFrame(parent)
    , m_model(model)
    , m_shell(shell)
    , m_column(new QVBoxLayout(this))
    , m_empty(new NoteLabel(french("Aucun dossier."), this, NoteLabel::Tone::secondary, 1)) {
    setFrameStyle(static_cast<int>(QFrame::StyledPanel) | static_cast<int>(QFrame::Sunken));
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setAccessibleName(french("Dossiers"));
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(0);
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setMinimumHeight(56);
    m_column->addWidget(m_empty);
    connect(&model, &AppModel::foldersChanged, this, &FolderList::follow);
    connect(&model, &AppModel::pausedChanged, this, &FolderList::follow);
    follow();
}

void FolderList::follow() {
    const std::vector<WatchedFolder>& folders = m_model.folders();
    for (auto row = m_rows.begin(); row != m_rows.end();) {
        if (std::ranges::find(folders, row->first, &WatchedFolder::id) != folders.end()) {
            ++row;
            continue;
        }
        m_column->removeWidget(row->second);
        row->second->hide();
        row->second->deleteLater(); // it may be its own button that was pressed
        row = m_rows.erase(row);
    }
    QWidget* before = nullptr;
    for (std::size_t place = 0; place < folders.size(); ++place) {
        FolderRow*& row = m_rows[folders[place].id];
        if (row == nullptr) {
            row = new FolderRow(m_model, m_shell, folders[place], this);
            m_column->insertWidget(static_cast<int>(place), row);
        } else {
            row->show(folders[place]);
        }
        if (m_column->indexOf(row) != static_cast<int>(place)) {
            m_column->removeWidget(row);
            m_column->insertWidget(static_cast<int>(place), row);
        }
        row->setLast(place + 1 == folders.size());
        if (before != nullptr)
            setTabOrder(before, row);
        before = row;
    }
    m_empty->setVisible(folders.empty());
}

} // namespace vesto
