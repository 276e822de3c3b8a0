#include "app/model/AppModel.h"
#include "app/views/Icons.h"
#include "app/views/PanelParts.h"
#include "app/views/Shell.h"
#include "app/views/Tones.h"
#include "app/views/Words.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>

namespace vesto {
namespace {

QToolButton* button(QWidget* parent, const QString& text, Qt::ToolButtonStyle style,
                    const QString& tip = {}) {
    auto* made = new QToolButton(parent);
    made->setText(text);
    made->setAccessibleName(text);
    made->setToolTip(tip.isEmpty() ? text : tip);
    made->setToolButtonStyle(style);
    made->setAutoRaise(true);
    made->setMinimumSize(28, 28);
    made->setFocusPolicy(Qt::StrongFocus);
    return made;
}

} // namespace

PanelFooter::PanelFooter(AppModel& model, Shell& shell, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_shell(shell)
    , m_add(button(this, french("Ajouter un dossier…"), Qt::ToolButtonTextBesideIcon))
    , m_pause(button(this, french("Pause"), Qt::ToolButtonTextBesideIcon))
    , m_history(button(this, french("Historique"), Qt::ToolButtonTextBesideIcon))
    , m_settings(button(this, french("Réglages"), Qt::ToolButtonIconOnly))
    , m_quit(button(this, french("Quitter Vesto"), Qt::ToolButtonIconOnly)) {
    m_pause->setCheckable(true);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 8, 8, 8);
    row->setSpacing(4);
    row->addWidget(m_add);
    row->addStretch();
    for (QToolButton* each : {m_pause, m_history, m_settings, m_quit})
        row->addWidget(each);
    connect(m_add, &QToolButton::clicked, this, &PanelFooter::addFolder);
    connect(m_pause, &QToolButton::clicked, &model, [&model](bool checked) { model.setPaused(checked); });
    connect(m_history, &QToolButton::clicked, this, [&shell] { shell.showHistory(); });
    connect(m_settings, &QToolButton::clicked, this, [&shell] { shell.showSettings(SettingsPage::folders); });
    connect(m_quit, &QToolButton::clicked, this, [&shell] { shell.quit(); });
    connect(&model, &AppModel::pausedChanged, this, &PanelFooter::follow);
    dress();
    follow();
}

void PanelFooter::addFolder() {
    m_shell.chooseFolder(this, {}, [](const std::string&) {});
}

void PanelFooter::follow() {
    m_pause->setChecked(m_model.paused());
}

void PanelFooter::dress() {
    m_add->setIcon(Icons::themed(Symbol::addFolder, palette()));
    m_pause->setIcon(Icons::themed(Symbol::pause, palette()));
    m_history->setIcon(Icons::themed(Symbol::history, palette()));
    m_settings->setIcon(Icons::themed(Symbol::settings, palette()));
    m_quit->setIcon(Icons::themed(Symbol::quit, palette()));
}

QSize PanelFooter::minimumSizeHint() const {
    return {200, layout()->sizeHint().height()};
}

void PanelFooter::fit() {
    for (QToolButton* each : {m_pause, m_history})
        each->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    for (QToolButton* each : {m_history, m_pause}) {
        if (layout()->sizeHint().width() <= width())
            break;
        each->setToolButtonStyle(Qt::ToolButtonIconOnly);
    }
}

void PanelFooter::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange)
        dress();
    if (event->type() == QEvent::FontChange)
        fit();
    QWidget::changeEvent(event);
}

void PanelFooter::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fit();
}

void PanelFooter::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, Tones(palette()).separatorOnWindow());
}

} // namespace vesto
