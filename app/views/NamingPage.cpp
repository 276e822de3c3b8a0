#include "app/views/NamingPage.h"

#include "app/model/AppModel.h"
#include "app/model/TemplateDraft.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/NoteLabel.h"
#include "app/views/PageParts.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"
#include "core/naming/NameTemplate.h"

#include <QAction>
#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>
#include <cerrno>
#include <chrono>

namespace vesto {
namespace {

constexpr int symbolSide = 16;
constexpr int indent = 24;

Instant now() {
    return std::chrono::time_point_cast<Instant::duration>(std::chrono::system_clock::now());
}

} // namespace

NamingPage::NamingPage(AppModel& model, const Settings& settings)
    : m_model(model)
    , m_settings(settings)
    , m_pattern(new QLineEdit)
    , m_reset(m_pattern->addAction(QIcon(), QLineEdit::TrailingPosition))
    , m_errorIcon(new QLabel)
    , m_error(new NoteLabel({}, nullptr, NoteLabel::Tone::failure))
    , m_example(new NoteLabel({}, nullptr, NoteLabel::Tone::plain, 1))
    , m_generic(new QCheckBox(french("Ne renommer que les noms génériques"))) {
    auto* column = PageParts::column(*this);
    auto* form = new QGridLayout;
    form->setHorizontalSpacing(16);
    form->setVerticalSpacing(6);
    form->setColumnStretch(1, 1);
    auto* title = new QLabel(french("Modèle de nom"));
    title->setBuddy(m_pattern);
    m_pattern->setAccessibleName(french("Modèle de nom"));
    m_reset->setText(french("Rétablir le modèle d'origine"));
    m_reset->setToolTip(m_reset->text());
    for (QToolButton* button : m_pattern->findChildren<QToolButton*>())
        button->setAccessibleName(m_reset->text());
    form->addWidget(title, 0, 0, Qt::AlignRight | Qt::AlignVCenter);
    form->addWidget(m_pattern, 0, 1);
    auto* error = new QHBoxLayout;
    error->setSpacing(6);
    m_errorIcon->setFixedSize(symbolSide, symbolSide);
    m_error->setMinimumHeight(symbolSide);
    error->addWidget(m_errorIcon);
    error->addWidget(m_error, 1);
    form->addLayout(error, 1, 1);
    form->addWidget(makeTokens(), 2, 1);
    form->addWidget(new NoteLabel(french("Jetons : {title}, {date}, {date:dd-MM-yyyy}, {kind}, {original}. "
                                         "{title} est obligatoire.")),
                    3, 1);
    auto* example = new QLabel(french("Exemple"));
    form->addWidget(example, 4, 0, Qt::AlignRight | Qt::AlignTop);
    form->addWidget(m_example, 4, 1);
    column->addLayout(form);
    column->addWidget(PageParts::separator());

    auto* note = new NoteLabel(french("« Capture d’écran… », « IMG_1234 », « Sans titre », identifiants… "
                                      "Les fichiers déjà bien nommés sont laissés tels quels."));
    note->setContentsMargins(indent, 0, 0, 0);
    m_generic->setAccessibleDescription(note->text());
    auto* choice = new QVBoxLayout;
    choice->setSpacing(4);
    choice->addWidget(m_generic);
    choice->addWidget(note);
    column->addLayout(choice);
    column->addStretch();

    connect(m_pattern, &QLineEdit::textChanged, this, &NamingPage::takeDraft);
    connect(m_pattern, &QLineEdit::returnPressed, this, &NamingPage::takeDraft);
    connect(m_reset, &QAction::triggered, m_pattern,
            [this] { m_pattern->setText(shown(NameTemplate::defaultTemplate().pattern)); });
    connect(m_generic, &QCheckBox::clicked, this, [this](bool isOn) {
        m_model.tellSettings(m_settings.setGenericOnly(isOn));
        m_generic->setChecked(m_settings.genericOnly());
    });
    paintIcons();
    showSettings();
}

QWidget* NamingPage::makeTokens() {
    auto* all = new QWidget;
    auto* row = new QHBoxLayout(all);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    for (const char* token : {"{title}", "{date}", "{kind}", "{original}"}) {
        auto* button = new QPushButton(QLatin1String(token));
        button->setAccessibleName(french("Insérer %1", button->text()));
        button->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        button->setFocusPolicy(Qt::TabFocus); // a click leaves the cursor, and what is selected, where it is
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, m_pattern, [this, text = button->text()] {
            m_pattern->insert(text);
            m_pattern->setFocus();
        });
        row->addWidget(button);
    }
    row->addStretch();
    return all;
}

void NamingPage::takeDraft() {
    const TemplateDraft draft = takeTemplateDraft(utf8(m_pattern->text()), m_settings, Locale::user(), now());
    showDraft(draft);
    if (draft.saveError != 0)
        m_model.tellSettings(std::unexpected(draft.saveError));
    else if (draft.isValid())
        m_model.tellSettings({}); // names that are shown follow from it
}

void NamingPage::showSettings() {
    m_generic->setChecked(m_settings.genericOnly());
    const auto judged = [this](const std::string& pattern) {
        return judgeTemplateDraft(pattern, m_settings, Locale::user(), now());
    };
    const bool isUnfinished = !m_pattern->text().isEmpty() && !judged(utf8(m_pattern->text())).isValid();
    if (const QString kept = shown(m_settings.nameTemplate()); !isUnfinished && m_pattern->text() != kept) {
        const QSignalBlocker quiet(m_pattern);
        m_pattern->setText(kept);
    }
    showDraft(judged(utf8(m_pattern->text())));
}

void NamingPage::showDraft(const TemplateDraft& draft) {
    m_error->setText(draft.error ? shown(*draft.error) : QString());
    m_errorIcon->setVisible(draft.error.has_value());
    m_pattern->setAccessibleDescription(m_error->text());
    m_example->setText(leftToRight(shownName(draft.example)));
    m_example->setTone(draft.isValid() ? NoteLabel::Tone::plain : NoteLabel::Tone::secondary);
    m_reset->setVisible(!draft.isDefault);
}

void NamingPage::paintIcons() {
    m_reset->setIcon(Icons::themed(Symbol::reset, palette()));
    m_errorIcon->setPixmap(Icons::own(Symbol::error, Tones(palette()).failure())
                               .pixmap(QSize(symbolSide, symbolSide), devicePixelRatioF()));
}

void NamingPage::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        paintIcons();
}

void NamingPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showSettings();
}

} // namespace vesto
