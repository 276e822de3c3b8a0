#include "app/views/MenuPanel.h"
#include "app/views/PanelWindow.h"
#include "app/views/SectionHeader.h"
#include "app/views/TitleEditor.h"
#include "app/views/WelcomeWindow.h"
#include "tests/screenshots/Stage.h"

#include <QListView>
#include <QPushButton>
#include <QToolButton>

namespace vesto {
namespace {

void busy(Stage& stage) {
    stage.addUsual();
    stage.start();
    PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    stage.reading->isHeld = true;
    write(stage.downloads / "Capture d'écran 2026-11-21 à 11.07.52.png", "x");
    EXPECT_TRUE(World::eventually([&] { return stage.model->processingName().has_value(); }));
    window.openAsWindow();
    stage.picture(window, "panel-busy");
    stage.reading->isHeld = false;
}

void editing(Stage& stage) {
    stage.addUsual();
    stage.start(AppModel::Watching::none);
    stage.model->undo("inconnu");
    World::pass(std::chrono::milliseconds(100));
    PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.openEditing(stage.model->pending()[1].proposal.id);
    stage.picture(window, "panel-edit-error");
}

void batch(Stage& stage) {
    stage.addUsual();
    const auto old = stage.home / "Documents";
    std::filesystem::create_directory(old);
    for (int number = 1; number <= 14; ++number)
        write(old / ("scan_" + std::to_string(number) + ".txt"), "Facture numéro " + std::to_string(number));
    stage.start(AppModel::Watching::none);
    stage.model->startBatch(old);
    EXPECT_TRUE(World::eventually([&] { return !stage.model->batch()->isAnalysing(); }));
    PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.openAsWindow();
    QTest::mouseClick(window.panel().pendingHeader().actButton(), Qt::LeftButton);
    stage.picture(window, "panel-batch-question");
    window.openBeside(QRect(700, 790, 24, 24));
    stage.picture(window, "panel-popup");
}

void empty(Stage& stage) {
    stage.start(AppModel::Watching::none);
    {
        PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
        window.openAsWindow();
        stage.picture(window, "panel-no-folder");
    }
    stage.addFolder();
    stage.start(AppModel::Watching::none);
    {
        PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
        window.openAsWindow();
        stage.picture(window, "panel-nothing-yet");
    }
    stage.addRecord("document (3).pdf", "2026-03-31 Bulletin de paie ACME mars 2026.pdf",
                    std::chrono::minutes(9));
    stage.addRecord("IMG_1.jpg", "2026-03-31 Plage.jpg", std::chrono::minutes(5),
                    RenameRecord::Status::failed);
    stage.start(AppModel::Watching::none);
    stage.model->setPaused(true);
    PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.openAsWindow();
    stage.picture(window, "panel-paused");
    stage.model->setPaused(false);
    window.resize(330, 360);
    stage.picture(window, "panel-narrow");
}

void longNames(Stage& stage) {
    using Kind = ContentSummary::Kind;
    stage.addFolder();
    stage.addPending("תמונה.png", "2026-10-09 חשבון חשמל לחודש אוקטובר", "חשבון חשמל לחודש אוקטובר", 0.66,
                     Kind::screenshot);
    stage.addPending(
        "Un très long nom de fichier que personne n'aurait choisi de plein gré, mais qui existe (12).tar.gz",
        "2026-10-09 " + std::string("Convention collective nationale des entreprises du négoce"),
        "Convention", 0.9, Kind::document);
    stage.addPending("<b>gras</b> & co.html", "2026-10-09 <b>Gras</b> & compagnie", "<b>Gras</b>", 0.2,
                     Kind::ebook);
    for (int number = 0; number < 9; ++number)
        stage.addPending("IMG_" + std::to_string(100 + number) + ".jpg",
                         "2026-09-0" + std::to_string(number + 1) + " Promenade en forêt",
                         "Promenade en forêt", 0.7, Kind::photo);
    stage.start(AppModel::Watching::none);
    PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.openAsWindow();
    stage.model->showError("Aucun gestionnaire de fichiers n'a répondu. Le fichier est ici : /home/marie/" +
                           std::string(90, 'n') + "/2026-10-09_facture.pdf");
    stage.picture(window, "panel-many");
}

void welcome(Stage& stage) {
    stage.addFolder();
    stage.start(AppModel::Watching::none);
    WelcomeWindow window(*stage.model, stage.settings, stage.shell);
    window.show();
    stage.picture(window, "welcome");
    QTest::mouseClick(window.downloadsButton(), Qt::LeftButton);
    stage.shell.added.front()(stage.watched.id);
    stage.picture(window, "welcome-chosen");
}

} // namespace

std::vector<Scene> panelScenes() {
    return {{"panel-busy", busy},   {"panel-edit", editing},    {"panel-batch", batch},
            {"panel-empty", empty}, {"panel-names", longNames}, {"welcome", welcome}};
}

} // namespace vesto
