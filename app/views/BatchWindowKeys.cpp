#include "app/model/AppModel.h"
#include "app/model/EvidenceSheet.h"
#include "app/views/BatchDelegate.h"
#include "app/views/BatchModel.h"
#include "app/views/BatchPreview.h"
#include "app/views/BatchWindow.h"
#include "app/views/EvidenceView.h"
#include "app/views/SkippedSummary.h"
#include "app/views/WindowKeys.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QTreeView>

namespace vesto {
namespace {

using Column = BatchModel::Column;

} // namespace

void BatchWindow::makeKeys() {
    addWindowKeys(*this, m_shell);
    addKey(*this, Qt::Key_Escape, [this] { close(); });
    addKey(*this, Qt::CTRL | Qt::Key_Return, [this] { rename(); });
    addKey(*this, Qt::CTRL | Qt::Key_Enter, [this] { rename(); });
    addKey(*this, Qt::Key_F1, [this] { popUpEvidence(); });
    setTabOrder(m_list, m_skipped);
    setTabOrder(m_skipped, m_preview);
    setTabOrder(m_preview, m_undo);
    setTabOrder(m_undo, m_close);
    setTabOrder(m_close, m_rename);
}

bool BatchWindow::keyInList(const QKeyEvent& event) {
    const int key = event.key();
    const bool isPlain = (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const bool isTick = isPlain && key == Qt::Key_Space;
    const bool isEdit = isPlain && (key == Qt::Key_F2 || key == Qt::Key_Return || key == Qt::Key_Enter);
    const bool isRestore = event.modifiers() == Qt::ControlModifier && key == Qt::Key_Z;
    if (!isTick && !isEdit && !isRestore)
        return false;
    if (event.isAutoRepeat())
        return true; // held, it acts once
    if (isTick)
        m_items->toggle(m_list->selectionModel()->selectedRows(Column::titleColumn));
    else if (isEdit)
        editTitle(m_list->currentIndex());
    else
        restoreTitle(m_list->currentIndex());
    return true;
}

bool BatchWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_list && event->type() == QEvent::KeyPress && keyInList(*static_cast<QKeyEvent*>(event)))
        return true;
    return QWidget::eventFilter(watched, event);
}

// ---- What is done ----

void BatchWindow::editTitle(const QModelIndex& index) {
    const QModelIndex title = titleAt(index.row());
    if (!index.isValid() || !m_items->flags(title).testFlag(Qt::ItemIsEditable))
        return;
    m_list->setCurrentIndex(title);
    m_list->scrollTo(title);
    m_list->edit(title);
}

void BatchWindow::editNext() {
    for (int row = m_list->currentIndex().row() + 1; row < m_items->rowCount(); ++row)
        if (m_items->flags(titleAt(row)).testFlag(Qt::ItemIsEditable)) {
            editTitle(titleAt(row));
            return;
        }
}

void BatchWindow::restoreTitle(const QModelIndex& index) {
    if (const Batch::Item* item = m_items->item(index)) {
        const std::string id = item->proposal.id;
        const std::string title = item->proposal.title;
        m_model.setItemTitle(id, title);
    }
}

void BatchWindow::doPart(const QModelIndex& index, int part, const QRect& place) {
    switch (static_cast<BatchDelegate::Part>(part)) {
    case BatchDelegate::check:
        m_items->toggle({index});
        break;
    case BatchDelegate::mark:
        if (const Batch::Item* item = m_items->item(index))
            EvidenceView::popUp(*m_list->viewport(), place, evidenceSheet(item->proposal, item->title),
                                m_settings.autoThreshold());
        break;
    case BatchDelegate::edit:
        editTitle(index);
        break;
    case BatchDelegate::restore:
        restoreTitle(index);
        break;
    }
}

void BatchWindow::popUpEvidence() {
    const QModelIndex current = m_list->currentIndex();
    if (current.isValid())
        doPart(current, BatchDelegate::mark,
               m_list->visualRect(current.siblingAtColumn(Column::confidenceColumn)));
}

void BatchWindow::rename() {
    m_list->setFocus(); // a title that is being written counts
    m_model.renameSelected();
}

void BatchWindow::dismiss() {
    close();
    m_model.closeBatch();
}

} // namespace vesto
