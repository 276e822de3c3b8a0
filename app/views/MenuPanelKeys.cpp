#include "app/model/AppModel.h"
#include "app/views/ErrorStrip.h"
#include "app/views/MenuPanel.h"
#include "app/views/PanelParts.h"
#include "app/views/SectionHeader.h"
#include "app/views/Shell.h"
#include "app/views/StatusLine.h"
#include "app/views/TitleEditor.h"

#include <QKeyEvent>
#include <QListView>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>

namespace vesto {

void MenuPanel::bindKeys() {
    const auto bind = [this](const QKeySequence& keys, auto act) {
        auto* shortcut = new QShortcut(keys, this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        shortcut->setAutoRepeat(false);
        connect(shortcut, &QShortcut::activated, this, act);
    };
    bind(QKeySequence(Qt::CTRL | Qt::Key_Z), [this] { undo(); });
    for (const Qt::Key enter : {Qt::Key_Return, Qt::Key_Enter})
        bind(QKeySequence(Qt::CTRL | enter), [this] { revealCurrent(); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_N), [this] { m_footer->addFolder(); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_P), [this] { m_model.setPaused(!m_model.paused()); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_H), [this] { m_shell.showHistory(); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_Comma), [this] { m_shell.showSettings(SettingsPage::folders); });
    bind(QKeySequence(Qt::CTRL | Qt::Key_Q), [this] { m_shell.quit(); });
    bind(QKeySequence(Qt::Key_F1), [this] { showEvidence(m_pendingList->currentIndex()); });
    m_placeTimer.setSingleShot(true);
    m_placeTimer.setInterval(0);
    connect(&m_placeTimer, &QTimer::timeout, this, &MenuPanel::placeEditor);
    for (QListView* list : {m_pendingList, m_recentList}) {
        list->installEventFilter(this);
        list->parentWidget()->installEventFilter(this);
    }
    for (QWidget* around : {m_body, static_cast<QWidget*>(m_scroll), window()})
        around->installEventFilter(this);
}

void MenuPanel::orderFocus() {
    QWidget* last = m_errors->dismissButton();
    for (QWidget* next :
         {static_cast<QWidget*>(m_status->resumeButton()),
          static_cast<QWidget*>(m_pendingHeader->actButton()),
          static_cast<QWidget*>(m_pendingHeader->yesButton()),
          static_cast<QWidget*>(m_pendingHeader->noButton()), static_cast<QWidget*>(m_pendingList),
          static_cast<QWidget*>(m_batch), static_cast<QWidget*>(m_recentList),
          static_cast<QWidget*>(m_empty->link()), static_cast<QWidget*>(m_simple),
          static_cast<QWidget*>(m_footer->addButton()), static_cast<QWidget*>(m_footer->pauseButton()),
          static_cast<QWidget*>(m_footer->historyButton()), static_cast<QWidget*>(m_footer->settingsButton()),
          static_cast<QWidget*>(m_footer->quitButton())}) {
        setTabOrder(last, next);
        last = next;
    }
}

void MenuPanel::focusFirst() {
    if (m_editor != nullptr)
        m_editor->setFocus(Qt::OtherFocusReason);
    else if (m_pending.rowCount() > 0)
        takeFocus(*m_pendingList, Qt::OtherFocusReason);
    else if (m_recent.rowCount() > 0)
        takeFocus(*m_recentList, Qt::OtherFocusReason);
    else
        m_footer->addButton()->setFocus(Qt::OtherFocusReason);
}

void MenuPanel::takeFocus(QListView& list, Qt::FocusReason reason) {
    if (list.model()->rowCount() == 0) {
        if (m_recent.rowCount() > 0 || m_pending.rowCount() > 0)
            takeFocus(&list == m_pendingList ? *m_recentList : *m_pendingList, reason);
        else
            m_footer->addButton()->setFocus(reason);
        return;
    }
    if (!list.currentIndex().isValid())
        list.setCurrentIndex(list.model()->index(0, list.modelColumn()));
    list.setFocus(reason);
}

bool MenuPanel::crossTo(QListView& list, int row) {
    if (list.model()->rowCount() == 0)
        return false;
    list.setCurrentIndex(list.model()->index(row, list.modelColumn()));
    list.setFocus(row == 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

bool MenuPanel::pressKey(QListView& list, const QKeyEvent& key) {
    const bool isPending = &list == m_pendingList;
    const QModelIndex current = list.currentIndex();
    if (key.modifiers().testFlag(Qt::ControlModifier) || key.modifiers().testFlag(Qt::AltModifier))
        return false;
    const bool isAnswer =
        key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter || key.key() == Qt::Key_Delete;
    if (isAnswer && key.isAutoRepeat())
        return true; // held, it is no answer to the rows that follow
    switch (key.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (isPending)
            accept(current);
        else
            reveal(current);
        return true;
    case Qt::Key_F2:
        if (isPending)
            edit(m_pending.idAt(current));
        return true;
    case Qt::Key_Delete:
        if (isPending)
            ignore(current);
        return true;
    case Qt::Key_Down:
        return isPending && current.row() + 1 == m_pending.rowCount() && crossTo(*m_recentList, 0);
    case Qt::Key_Up:
        return !isPending && current.row() == 0 && crossTo(*m_pendingList, m_pending.rowCount() - 1);
    default: // the list's own
        return false;
    }
}

bool MenuPanel::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Move) { // the rows go along with what holds them
        m_pendingRows->noteMoved();
        m_recentRows->noteMoved();
    }
    auto* list = watched == m_pendingList ? m_pendingList : watched == m_recentList ? m_recentList : nullptr;
    if (list == nullptr)
        return QFrame::eventFilter(watched, event);
    if (event->type() == QEvent::Resize && list == m_pendingList) // once its rows have taken the new width
        m_placeTimer.start();
    if (event->type() == QEvent::KeyPress)
        return pressKey(*list, *static_cast<QKeyEvent*>(event));
    if (event->type() == QEvent::FocusIn) {
        // One row at a time is current; the other list has none.
        QListView* other = list == m_pendingList ? m_recentList : m_pendingList;
        other->setCurrentIndex({});
        const bool byMouse = static_cast<QFocusEvent*>(event)->reason() == Qt::MouseFocusReason;
        if (!byMouse && !list->currentIndex().isValid() && list->model()->rowCount() > 0)
            list->setCurrentIndex(list->model()->index(0, list->modelColumn()));
        const QRect row = list->visualRect(list->currentIndex());
        const QPoint centre = list->viewport()->mapTo(m_body, row.center());
        if (!byMouse)
            m_scroll->ensureVisible(centre.x(), centre.y(), 0, row.height());
    }
    return false;
}

} // namespace vesto
