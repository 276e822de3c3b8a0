#include "app/views/GeneralPage.h"

#include "app/model/AppModel.h"
#include "app/views/Icons.h"
#include "app/views/Names.h"
#include "app/views/NoteLabel.h"
#include "app/views/PageParts.h"
#include "app/views/Shell.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"
#include "core/support/Text.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <chrono>

namespace vesto {
namespace {

constexpr int symbolSide = 16;

QPixmap drawing(Symbol symbol, const QColor& colour, const QWidget& on) {
    return Icons::own(symbol, colour).pixmap(QSize(symbolSide, symbolSide), on.devicePixelRatioF());
}

} // namespace

GeneralPage::GeneralPage(AppModel& model, const Settings& settings, Shell& shell)
    : m_model(model)
    , m_settings(settings)
    , m_shell(shell)
    , m_login(new QCheckBox(french("Ouvrir à la connexion")))
    , m_notify(new QCheckBox(french("Notifier les renommages automatiques")))
    , m_modelIcon(new QLabel)
    , m_modelState(new QLabel)
    , m_modelNote(new NoteLabel)
    , m_check(new QPushButton(french("Vérifier à nouveau")))
    , m_busy(new QProgressBar)
    , m_wallsIcon(new QLabel)
    , m_walls(new NoteLabel) {
    auto* column = PageParts::column(*this);
    auto* choices = new QVBoxLayout;
    choices->setSpacing(8);
    choices->addWidget(m_login);
    choices->addWidget(m_notify);
    column->addLayout(choices);
    column->addWidget(PageParts::separator());
    column->addWidget(makeIntelligence());
    column->addStretch();
    auto* walls = new QHBoxLayout;
    walls->setSpacing(8);
    walls->addWidget(m_wallsIcon, 0, Qt::AlignTop);
    walls->addWidget(m_walls, 1);
    column->addLayout(walls);

    connect(m_login, &QCheckBox::clicked, this, &GeneralPage::setLogin);
    connect(m_notify, &QCheckBox::clicked, this, [this](bool isOn) {
        m_model.tellSettings(m_settings.setNotifyAutomatic(isOn));
        m_notify->setChecked(m_settings.notifyAutomatic());
    });
    connect(m_check, &QPushButton::clicked, this, &GeneralPage::lookAtModel);
    connect(m_check, &QPushButton::clicked, this, &GeneralPage::lookAtWalls);
    connect(&model, &AppModel::modelStatusChanged, this, &GeneralPage::showModel);
    m_again.setInterval(std::chrono::seconds(1));
    connect(&m_again, &QTimer::timeout, this, &GeneralPage::lookAtModel);
    showModel();
}

QWidget* GeneralPage::makeIntelligence() {
    auto* all = new QWidget;
    auto* grid = new QGridLayout(all);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->setColumnStretch(1, 1);
    auto* title = new QLabel(french("Intelligence"));
    title->setFont(sectionFont(font()));
    m_modelState->setTextFormat(Qt::PlainText);
    m_modelState->setWordWrap(true);
    m_busy->setRange(0, 0);
    m_busy->setFixedSize(112, 6);
    m_busy->setTextVisible(false);
    m_busy->setAccessibleName(french("Chargement du modèle"));
    grid->addWidget(title, 0, 0, 1, 2);
    grid->setRowMinimumHeight(1, 4);
    grid->addWidget(m_modelIcon, 2, 0, Qt::AlignTop);
    grid->addWidget(m_modelState, 2, 1);
    grid->addWidget(m_modelNote, 3, 1);
    grid->setRowMinimumHeight(4, 4);
    auto* row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(m_check);
    row->addWidget(m_busy);
    row->addStretch();
    grid->addLayout(row, 5, 0, 1, 2);
    return all;
}

void GeneralPage::lookAtModel() {
    m_model.refreshModelStatus();
    showModel(); // what else is known of it may have changed
}

void GeneralPage::showModel() {
    const auto& status = m_model.modelStatus();
    const bool isLoading = status.message == text("Le modèle est en cours de téléchargement.");
    const Tones tones(palette());
    m_modelIcon->setPixmap(status.isAvailable() ? drawing(Symbol::done, tones.success(), *this)
                                                : drawing(Symbol::info, tones.caution(), *this));
    const QString reason = shown(status.message);
    m_modelState->setText(status.isAvailable() ? french("Modèle Apple Intelligence disponible") : reason);
    m_modelNote->setText(status.isAvailable()
                             ? shownName(m_shell.modelSummary()) // its name is the file's own word
                             : french("Vesto utilise alors les premières lignes du texte lu."));
    m_modelNote->setVisible(!m_modelNote->text().isEmpty());
    m_check->setEnabled(!isLoading);
    m_busy->setVisible(isLoading);
    if (isLoading && isVisible())
        m_again.start();
    else
        m_again.stop();
}

void GeneralPage::lookAtWalls() {
    showWalls(); // what was known
    m_shell.checkSandbox([page = QPointer<GeneralPage>(this)] {
        if (page)
            page->showWalls();
    });
}

void GeneralPage::showWalls() {
    const QString fault = shown(m_shell.sandboxFault());
    const Tones tones(palette());
    const bool isSound = fault.isEmpty();
    m_wallsIcon->setPixmap(isSound ? drawing(Symbol::lock, tones.secondaryOnWindow(), *this)
                                   : drawing(Symbol::warning, tones.caution(), *this));
    m_walls->setTone(isSound ? NoteLabel::Tone::secondary : NoteLabel::Tone::caution);
    m_walls->setText(isSound ? french("Tout est traité sur ce Mac. Vesto n'a pas accès au réseau.") : fault);
}

void GeneralPage::setLogin(bool value) {
    (void)m_shell.setLaunchesAtLogin(value); // which says what went wrong
    m_login->setChecked(m_shell.launchesAtLogin().value_or(false));
}

void GeneralPage::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        showModel();
        showWalls();
    }
}

void GeneralPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    const auto launches = m_shell.launchesAtLogin();
    m_login->setVisible(launches.has_value());
    m_login->setChecked(launches.value_or(false));
    m_notify->setChecked(m_settings.notifyAutomatic());
    lookAtWalls();
    lookAtModel();
}

void GeneralPage::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_again.stop();
}

} // namespace vesto
