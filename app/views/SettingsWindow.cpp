#include "app/views/SettingsWindow.h"

#include "app/model/AppModel.h"
#include "app/views/ErrorStrip.h"
#include "app/views/FoldersPage.h"
#include "app/views/GeneralPage.h"
#include "app/views/NamingPage.h"
#include "app/views/WindowKeys.h"
#include "app/views/Words.h"

#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>
#include <utility>

namespace vesto {
namespace {

constexpr std::string_view placeKey = "settingsWindow";

} // namespace

SettingsWindow::SettingsWindow(AppModel& model, const Settings& settings, Shell& shell, WindowMemory memory,
                               QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_memory(std::move(memory))
    , m_pages(new QTabWidget(this)) {
    setWindowTitle(french("Réglages de Vesto"));
    setMinimumSize(420, 320);
    resize(640, 560);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new ErrorStrip(model, this));
    auto* middle = new QVBoxLayout;
    middle->setContentsMargins(16, 8, 16, 16);
    middle->addWidget(m_pages);
    column->addLayout(middle, 1);
    addPage(new FoldersPage(model, settings, shell), french("Dossiers"));
    addPage(new NamingPage(model, settings), french("Nommage"));
    addPage(new GeneralPage(model, settings, shell), french("Général"));
    addWindowKeys(*this, shell);
    addKey(*this, Qt::Key_Escape, [this] { close(); });
    restoreGeometry(m_memory.value(placeKey));
}

SettingsWindow::~SettingsWindow() {
    m_memory.keep(placeKey, saveGeometry());
}

void SettingsWindow::addPage(QWidget* page, const QString& name) {
    auto* scroller = new QScrollArea;
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setWidgetResizable(true);
    scroller->setFocusPolicy(Qt::NoFocus); // what has the focus scrolls into sight by itself
    scroller->setWidget(page);
    // The tab's own ground shows through.
    page->setAutoFillBackground(false);
    scroller->viewport()->setAutoFillBackground(false);
    scroller->setAccessibleName(name);
    m_pages->addTab(scroller, name);
}

void SettingsWindow::showPage(SettingsPage page) {
    m_pages->setCurrentIndex(static_cast<int>(page));
}

} // namespace vesto
