#include "app/views/PanelParts.h"

#include "app/model/AppModel.h"
#include "app/views/Formats.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/Shell.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QVBoxLayout>
#include <algorithm>

namespace vesto {
namespace {

constexpr int symbolSide = 16;

QLabel* quietLabel(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setAttribute(Qt::WA_TransparentForMouseEvents); // the button under it is clicked
    return label;
}

void setSymbol(QLabel& label, Symbol symbol, const QColor& colour, int side = symbolSide) {
    label.setPixmap(Icons::own(symbol, colour).pixmap(QSize(side, side), label.devicePixelRatio()));
}

void setColour(QWidget& widget, const QColor& colour) {
    QPalette palette = widget.palette();
    palette.setColor(QPalette::WindowText, colour);
    widget.setPalette(palette);
}

/// A line across the panel that is one button: lit under the pointer, ringed with the focus.
void paintLineButton(QToolButton& button, bool hasLineBelow) {
    QPainter painter(&button);
    const QPalette palette = button.palette();
    const Tones tones(palette);
    if (button.isDown() || button.underMouse())
        painter.fillRect(button.rect(),
                         mixed(palette.color(QPalette::Window), palette.color(QPalette::Highlight),
                               button.isDown() ? 0.20 : 0.08));
    painter.fillRect(0, 0, button.width(), 1, tones.separatorOnWindow());
    if (hasLineBelow)
        painter.fillRect(0, button.height() - 1, button.width(), 1, tones.separatorOnWindow());
    if (button.hasFocus()) {
        painter.setPen(QPen(tones.focus(), 2));
        painter.drawRect(button.rect().adjusted(1, 1, -1, -1));
    }
}

bool isNewLook(const QEvent& event) {
    return event.type() == QEvent::PaletteChange || event.type() == QEvent::FontChange;
}

} // namespace

// ---- The batch ----

BatchButton::BatchButton(AppModel& model, Shell& shell, QWidget* parent)
    : QToolButton(parent)
    , m_model(model)
    , m_icon(quietLabel(this))
    , m_text(quietLabel(this))
    , m_bar(new QProgressBar(this))
    , m_chevron(quietLabel(this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    m_bar->setTextVisible(false);
    m_bar->setFixedSize(112, 6);
    m_bar->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 4, 12, 4);
    row->setSpacing(8);
    row->addWidget(m_icon);
    row->addWidget(m_text, 1);
    row->addWidget(m_bar);
    row->addWidget(m_chevron);
    connect(this, &QToolButton::clicked, this, [&shell] { shell.showBatch(); });
    connect(&model, &AppModel::batchChanged, this, &BatchButton::follow);
    dress();
    follow();
}

void BatchButton::follow() {
    const Batch* batch = m_model.batch();
    setVisible(batch != nullptr);
    if (batch == nullptr)
        return;
    QString text;
    if (batch->isAnalysing()) {
        text = batch->isListing ? french("Analyse en cours…")
                                : french("Analyse %1 / %2", number(batch->analysed), number(batch->total));
        m_bar->setRange(0, batch->isListing ? 0 : static_cast<int>(batch->total));
        m_bar->setValue(static_cast<int>(batch->analysed));
        m_bar->setAccessibleName(
            plural(batch->analysed, "Analyse : %n fichier sur %2", "Analyse : %n fichiers sur %2")
                .replace(QLatin1String("%2"), number(batch->total)));
    } else {
        const auto open =
            static_cast<std::size_t>(std::ranges::count_if(batch->items, &Batch::Item::isProposed));
        text = french("Fichiers existants : %1", plural(open, "%n proposition", "%n propositions"));
    }
    m_bar->setVisible(batch->isAnalysing());
    m_text->setText(text);
    setAccessibleName(text);
    setToolTip(tip(shownSentence(batchTitle(*batch))));
}

void BatchButton::dress() {
    setSymbol(*m_icon, Symbol::analyse, palette().color(QPalette::WindowText));
    setSymbol(*m_chevron, Symbol::next, Tones(palette()).secondaryOnWindow());
}

QSize BatchButton::sizeHint() const {
    return {layout()->sizeHint().width(), std::max(40, layout()->sizeHint().height())};
}

void BatchButton::changeEvent(QEvent* event) {
    if (isNewLook(*event))
        dress();
    QToolButton::changeEvent(event);
}

void BatchButton::paintEvent(QPaintEvent* /*event*/) {
    paintLineButton(*this, true);
}

// ---- Without a model ----

SimpleModeLine::SimpleModeLine(AppModel& model, Shell& shell, QWidget* parent)
    : QToolButton(parent)
    , m_model(model)
    , m_icon(quietLabel(this))
    , m_text(quietLabel(this))
    , m_note(quietLabel(this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    m_text->setText(french("Mode simple"));
    m_note->setText(french("titres pris dans les premières lignes du texte lu"));
    m_note->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setAccessibleName(m_text->text());
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 3, 16, 3);
    row->setSpacing(8);
    row->addWidget(m_icon);
    row->addWidget(m_text);
    row->addSpacing(8);
    row->addWidget(m_note, 1);
    connect(this, &QToolButton::clicked, this, [&shell] { shell.showSettings(SettingsPage::general); });
    connect(&model, &AppModel::modelStatusChanged, this, &SimpleModeLine::follow);
    dress();
    follow();
}

void SimpleModeLine::follow() {
    const auto& status = m_model.modelStatus();
    setVisible(!status.isAvailable());
    const QString reason = shown(status.message);
    setToolTip(tip(reason));
    setAccessibleDescription(french("%1 : %2", m_note->text(), reason));
}

void SimpleModeLine::dress() {
    const Tones tones(palette());
    setSymbol(*m_icon, Symbol::info, palette().color(QPalette::WindowText));
    m_note->setFont(secondaryFont(font()));
    setColour(*m_note, tones.secondaryOnWindow());
}

QSize SimpleModeLine::sizeHint() const {
    return {layout()->sizeHint().width(), std::max(34, layout()->sizeHint().height())};
}

void SimpleModeLine::changeEvent(QEvent* event) {
    if (isNewLook(*event))
        dress();
    QToolButton::changeEvent(event);
}

void SimpleModeLine::paintEvent(QPaintEvent* /*event*/) {
    paintLineButton(*this, false);
}

// ---- Nothing ----

PanelEmptyState::PanelEmptyState(Shell& shell, QWidget* parent)
    : QWidget(parent)
    , m_icon(new QLabel(this))
    , m_text(new QLabel(this))
    , m_link(new QToolButton(this)) {
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setMaximumWidth(380);
    m_icon->setAlignment(Qt::AlignCenter);
    m_link->setText(french("Choisir des dossiers"));
    m_link->setAutoRaise(true);
    m_link->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_link->setFocusPolicy(Qt::StrongFocus);
    m_link->setCursor(Qt::PointingHandCursor);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 24, 16, 24);
    column->setSpacing(10);
    column->addStretch();
    column->addWidget(m_icon);
    auto* centred = new QHBoxLayout;
    centred->addStretch();
    centred->addWidget(m_text, 1);
    centred->addStretch();
    column->addLayout(centred);
    column->addWidget(m_link, 0, Qt::AlignHCenter);
    column->addStretch();
    connect(m_link, &QToolButton::clicked, this, [&shell] { shell.showSettings(SettingsPage::folders); });
    setHasFolders(false);
}

void PanelEmptyState::setHasFolders(bool hasFolders) {
    m_hasFolders = hasFolders;
    m_text->setText(
        french(hasFolders ? "Les nouveaux fichiers seront renommés ici." : "Aucun dossier surveillé."));
    m_link->setVisible(!hasFolders);
    dress();
}

void PanelEmptyState::dress() {
    const QColor colour = Tones(palette()).secondaryOnWindow();
    setSymbol(*m_icon, m_hasFolders ? Symbol::done : Symbol::folder, colour, 22);
    setColour(*m_text, colour);
    QFont underlined = font();
    underlined.setUnderline(true);
    m_link->setFont(underlined);
    QPalette linked = palette();
    linked.setColor(QPalette::ButtonText, linked.color(QPalette::Link));
    m_link->setPalette(linked);
}

void PanelEmptyState::changeEvent(QEvent* event) {
    if (isNewLook(*event))
        dress();
    QWidget::changeEvent(event);
}

} // namespace vesto
