#include "app/views/FoldersPage.h"

#include "app/model/AppModel.h"
#include "app/views/FolderList.h"
#include "app/views/Formats.h"
#include "app/views/Icons.h"
#include "app/views/NoteLabel.h"
#include "app/views/PageParts.h"
#include "app/views/Shell.h"
#include "app/views/Words.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QVBoxLayout>
#include <cmath>

namespace vesto {
namespace {

constexpr double step = 0.05;
constexpr int lowest = 8;   // 0.4
constexpr int highest = 19; // 0.95

} // namespace

FoldersPage::FoldersPage(AppModel& model, const Settings& settings, Shell& shell)
    : m_model(model)
    , m_settings(settings)
    , m_slider(new QSlider(Qt::Horizontal))
    , m_value(new QLabel) {
    auto* column = PageParts::column(*this);
    column->addWidget(new FolderList(model, shell));
    auto* add = new QPushButton(french("Ajouter un dossier…"));
    PageParts::keepIcon(*add, Symbol::addFolder);
    connect(add, &QPushButton::clicked, this, [this, &shell] { shell.chooseFolder(window(), {}, {}); });
    column->addWidget(add, 0, Qt::AlignLeft);
    column->addWidget(
        new NoteLabel(french("La surveillance ne traite que les nouveaux fichiers. Pour les fichiers déjà "
                             "présents, la loupe propose des noms à valider avant tout renommage.")));
    column->addWidget(PageParts::separator());

    auto* title = new QLabel(french("Confiance minimale"));
    m_slider->setRange(lowest, highest);
    m_slider->setPageStep(1);
    PageParts::keepFromWheel(*m_slider);
    title->setBuddy(m_slider);
    m_value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_value->setMinimumWidth(m_value->fontMetrics().horizontalAdvance(percentage(1)) + 8);
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    row->addWidget(title);
    row->addWidget(m_slider, 1);
    row->addWidget(m_value);
    column->addLayout(row);
    column->addWidget(new NoteLabel(
        french("En mode automatique, un nom moins sûr reste une proposition. La confiance mesure la part du "
               "titre retrouvée dans le texte du fichier.")));
    column->addStretch();

    showThreshold();
    connect(m_slider, &QSlider::valueChanged, this, [this](int value) {
        m_model.tellSettings(m_settings.setAutoThreshold(value * step));
        showThreshold();
    });
}

void FoldersPage::showThreshold() {
    const double threshold = m_settings.autoThreshold(); // which may be none of the slider's
    const QSignalBlocker quiet(m_slider);
    m_slider->setValue(static_cast<int>(std::lround(threshold / step)));
    const QString value = percentage(threshold);
    m_value->setText(value);
    m_slider->setAccessibleName(french("Confiance minimale, %1", value));
}

void FoldersPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showThreshold();
}

} // namespace vesto
