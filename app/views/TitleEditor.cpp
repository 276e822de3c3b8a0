#include "app/views/TitleEditor.h"

#include "app/model/AppModel.h"
#include "app/views/NameRows.h"
#include "app/views/Names.h"
#include "app/views/PendingModel.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"
#include "core/files/FileName.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace vesto {

TitleEditor::TitleEditor(AppModel& model, const PendingProposal& pending, const QString& draft,
                         QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_proposal(pending.proposal)
    , m_field(new QLineEdit(draft, this))
    , m_old(new QLabel(this))
    , m_accept(new QPushButton(french("Renommer"), this))
    , m_leave(new QPushButton(french("Annuler"), this)) {
    const QString oldName = shownName(lastComponentOf(m_proposal.url));
    m_field->setPlaceholderText(french("Titre"));
    m_field->setAccessibleName(french("Titre de %1", oldName));
    m_field->selectAll();
    m_field->installEventFilter(this);
    m_accept->setDefault(true);
    m_accept->setAutoDefault(true);
    m_leave->setAutoDefault(true);
    m_old->setText(french("au lieu de %1", quoted(oldName)));
    m_old->setTextFormat(Qt::PlainText);
    m_old->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_old->setForegroundRole(QPalette::Text); // the list under it is a Base
    dress();

    auto* answers = new QHBoxLayout;
    answers->setSpacing(8);
    answers->addWidget(m_old, 1);
    answers->addWidget(m_accept);
    answers->addWidget(m_leave);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(PendingRows::contentStart, 8, 8, 8);
    column->setSpacing(6);
    column->addWidget(m_field);
    column->addLayout(answers);
    setFocusProxy(m_field);

    m_lookTimer.setSingleShot(true);
    m_lookTimer.setInterval(PendingModel::lookDelay);
    connect(&m_lookTimer, &QTimer::timeout, this, &TitleEditor::lookUp);
    connect(m_field, &QLineEdit::textChanged, this, [this](const QString& text) {
        showName();
        Q_EMIT textEdited(text);
    });
    connect(m_field, &QLineEdit::returnPressed, this, &TitleEditor::accepted);
    connect(m_accept, &QPushButton::clicked, this, &TitleEditor::accepted);
    connect(m_leave, &QPushButton::clicked, this, &TitleEditor::left);
    showName();
}

void TitleEditor::followInTabOrder(QWidget& before) {
    setTabOrder(&before, m_field);
    setTabOrder(m_field, m_accept);
    setTabOrder(m_accept, m_leave);
}

QString TitleEditor::text() const {
    return m_field->text();
}

void TitleEditor::showName() {
    m_lookTimer.stop();
    const auto base = m_model.baseNameFor(utf8(m_field->text()), m_proposal);
    if (!base) {
        describe(french("Titre vide."));
        return;
    }
    const std::string_view extension = extensionOf(lastComponentOf(m_proposal.url));
    describe(shownName(m_proposal.policy.fileName(*base, extension)));
    m_lookTimer.start();
}

void TitleEditor::lookUp() {
    const auto base = m_model.baseNameFor(utf8(m_field->text()), m_proposal);
    if (!base)
        return;
    m_model.lookUpNames({{m_proposal.url, *base, m_proposal.policy}},
                        [editor = QPointer<TitleEditor>(this),
                         asked = m_field->text()](const std::vector<std::string>& names) {
                            if (editor && editor->text() == asked)
                                editor->describe(shownName(names.front()));
                        });
}

void TitleEditor::describe(const QString& name) {
    m_field->setToolTip(tip(leftToRight(name)));
    m_field->setAccessibleDescription(name);
}

void TitleEditor::dress() {
    m_old->setFont(secondaryFont(font()));
    QPalette pale;
    pale.setColor(QPalette::Text, Tones(palette()).secondary());
    m_old->setPalette(pale);
}

void TitleEditor::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        dress();
}

bool TitleEditor::eventFilter(QObject* watched, QEvent* event) {
    // Before the window that would close by the same key.
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Escape) {
            key->accept();
            if (event->type() == QEvent::KeyPress)
                Q_EMIT left();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TitleEditor::keyPressEvent(QKeyEvent* event) {
    event->accept(); // what the field leaves is not for the list under it, where Enter accepts
    if (event->key() == Qt::Key_Escape) // from a button
        Q_EMIT left();
}

} // namespace vesto
