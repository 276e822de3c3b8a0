#include "app/model/AppModel.h"
#include "app/views/MenuPanel.h"
#include "app/views/SectionHeader.h"
#include "app/views/TitleEditor.h"
#include "app/views/Words.h"
#include "core/support/Text.h"

#include <QListView>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <string>

namespace vesto {

void MenuPanel::edit(std::string_view proposalID) {
    const QModelIndex index = m_pending.indexOf(proposalID);
    const PendingProposal* pending = m_pending.proposal(index);
    if (pending == nullptr)
        return;
    closeEditor();
    m_edited = QString::fromStdString(pending->proposal.id);
    m_editedFile = pending->proposal.identity;
    // Another file may have come under the same name.
    const bool isDrafted = m_draftFile && m_editedFile && isSameStoredFile(*m_draftFile, *m_editedFile);
    const QString text = isDrafted ? m_draft : shown(pending->proposal.title);
    // Beside the list and not in it, where no screen reader would find it.
    m_editor = new TitleEditor(m_model, *pending, text, m_pendingList->parentWidget());
    m_editor->followInTabOrder(*m_pendingList);
    m_pendingRows->setEdited(m_edited, m_editor->sizeHint().height());
    connect(m_editor, &TitleEditor::textEdited, this, [this](const QString& draft) {
        m_draftFile = m_editedFile;
        m_draft = draft;
    });
    connect(m_editor, &TitleEditor::accepted, this, &MenuPanel::renameEdited);
    connect(m_editor, &TitleEditor::left, this, [this] {
        m_draftFile.reset();
        leave();
    });
    m_pendingList->setCurrentIndex(index);
    m_editor->show();
    showState();
    m_editor->setFocus(Qt::OtherFocusReason);
    m_scroll->ensureWidgetVisible(m_editor);
}

void MenuPanel::placeEditor() {
    if (m_editor == nullptr)
        return;
    const QWidget& viewport = *m_pendingList->viewport();
    const QRect row = m_pendingList->visualRect(m_pending.indexOf(utf8(m_edited)));
    m_editor->setGeometry(QRect(viewport.mapTo(m_editor->parentWidget(), QPoint(0, row.top())),
                                QSize(viewport.width(), row.height())));
}

void MenuPanel::renameEdited() {
    if (m_editor == nullptr)
        return;
    const QScopedValueRollback answering(m_isAnswering, true);
    const std::string id = utf8(m_edited);
    m_model.accept(id, utf8(m_editor->text()));
    if (m_pending.indexOf(id).isValid())
        return; // the model said why not, and the editor stays
    m_draftFile.reset();
    takeFocus(*m_pendingList, Qt::OtherFocusReason);
}

/// The draft stays: a file that was only saved again comes back with another proposal.
void MenuPanel::loseEdited() {
    dropEditor();
    if (!m_isAnswering)
        m_model.showError(std::string(text("Cette proposition n'est plus d'actualité.")));
}

void MenuPanel::dropEditor() {
    if (m_editor == nullptr)
        return;
    TitleEditor* editor = m_editor;
    m_editor = nullptr;
    m_edited.clear();
    m_pendingRows->setEdited({}, 0);
    editor->hide();
    editor->deleteLater(); // it may be its own button that was pressed
}

void MenuPanel::closeEditor() {
    if (m_editor == nullptr)
        return;
    dropEditor();
    showState();
}

bool MenuPanel::leave() {
    if (m_pendingHeader->isAsking()) {
        m_pendingHeader->stopAsking();
        return true;
    }
    if (m_editor == nullptr)
        return false;
    closeEditor();
    takeFocus(*m_pendingList, Qt::OtherFocusReason);
    return true;
}

} // namespace vesto
