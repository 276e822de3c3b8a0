#include "app/views/BatchModel.h"
#include "app/views/BatchWindow.h"
#include "app/views/EvidenceView.h"
#include "app/views/HistoryWindow.h"
#include "app/views/MenuPanel.h"
#include "app/views/PanelWindow.h"
#include "app/views/SettingsWindow.h"
#include "core/support/Text.h"
#include "tests/screenshots/Stage.h"

#include <QImage>
#include <QLineEdit>
#include <QListView>
#include <QTableView>
#include <QTreeView>
#include <string_view>
#include <utility>

namespace vesto {
namespace {

using std::chrono::minutes;

// ---- History ----

void addHistory(Stage& stage) {
    using Status = RenameRecord::Status;
    struct Row {
        const char* oldName;
        const char* newName;
        int age; // minutes
        double confidence;
        Status status = Status::done;
        bool isAutomatic = false;
    };
    constexpr int day = 24 * 60;
    for (const Row& row : std::vector<Row>{
             {"document (3).pdf", "2026-03-31 Bulletin de paie ACME mars 2026.pdf", 5, 1, Status::done, true},
             {"Capture d’écran 2026-11-21 à 09.41.03.png", "2026-11-21 Billet TGV Paris Marseille.png", 64,
              1},
             {"IMG_0931.JPG", "2026-11-20 Plage au coucher du soleil.JPG", day + 20, 0.5, Status::undone},
             {"CR_AG_v2_final (1).docx",
              "2026-11-20 Compte rendu assemblée générale copropriété résidence Les Tilleuls.docx", day + 130,
              0.91, Status::done, true},
             {"Classeur1.xlsx", "2026-11-19 Suivi des dépenses 2026.xlsx", 3 * day, 1},
             {"IMG_0042.HEIC", "2026-11-18 Chat sur un canapé.HEIC", (3 * day) + 90, 0.52},
             {"document-final-2.pdf", "2026-10-09 فاتورة الكهرباء أكتوبر.pdf", 4 * day, 0.78},
             {"message (4).eml", "2026-11-02 Confirmation réservation Airbnb.eml", (4 * day) + 1, 1,
              Status::failed},
             {"8f3b2c1e-77aa-4a0e-b1c9-0f6a1d2e3c4b.pdf",
              "2026-11-02 Attestation d’assurance habitation multirisque appartement.pdf", (4 * day) + 2,
              0.89, Status::undone, true},
             {"Enregistrement vocal du 12 à 14.03.27.m4a",
              "2026-11-12 Réunion budget marketing trimestre.m4a", 9 * day, 0.57, Status::pending},
             {"FDP-0502.pdf", "2025-11-03 Facture EDF octobre 2025.pdf", 380 * day, 1}})
        stage.addRecord(row.oldName, row.newName, minutes(row.age), row.status, row.isAutomatic,
                        row.confidence);
}

void history(Stage& stage) {
    stage.start(AppModel::Watching::none);
    {
        HistoryWindow window(*stage.model, stage.shell, stage.memory());
        window.resize(640, 400);
        stage.picture(window, "history-empty");
    }
    addHistory(stage);
    stage.start(AppModel::Watching::none);
    HistoryWindow window(*stage.model, stage.shell, stage.memory());
    window.resize(1040, 560);
    auto* table = window.findChild<QTableView*>();
    table->setCurrentIndex(table->model()->index(3, 0));
    stage.picture(window, "history");
    table->setFocus();
    table->setCurrentIndex(table->model()->index(6, 0));
    stage.picture(window, "history-current");
    window.resize(640, 440);
    stage.picture(window, "history-narrow");
    stage.model->showError("Annulation impossible : Un fichier porte déjà ce nom.");
    window.findChild<QLineEdit*>()->setText(QStringLiteral("quittance"));
    stage.picture(window, "history-no-match");
}

// ---- Settings ----

void settings(Stage& stage) {
    stage.startWithDocuments();
    {
        SettingsWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
        window.resize(640, 420);
        stage.picture(window, "settings-folders-empty");
    }
    const auto place = [&](const char* name) {
        std::filesystem::create_directory(stage.home / name);
        return stage.home / name;
    };
    stage.watch(stage.downloads, true);
    const auto scans = place("Numérisations de la comptabilité et pièces justificatives de l’année");
    stage.model->setEnabled(stage.watch(scans).id, false);
    stage.watch(place("Clé USB"));
    stage.watch(place("Partage"));
    // Where nobody may write, not even who runs this.
    std::filesystem::create_directory_symlink("/sys/kernel", stage.home / "Archives");
    stage.watch(stage.home / "Archives");
    const auto lost = place("Captures d’écran");
    stage.watch(lost);
    std::filesystem::remove(lost);
    EXPECT_TRUE(World::eventually(
        [&] { return stage.model->folderTrouble(stage.model->folders().back().id).has_value(); }));
    stage.model->clearLastError();

    SettingsWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.resize(640, 720);
    stage.picture(window, "settings-folders");
    window.resize(430, 560);
    stage.picture(window, "settings-folders-narrow");
    window.resize(600, 420);
    window.showPage(SettingsPage::naming);
    stage.picture(window, "settings-naming");
    auto* field = window.findChild<QLineEdit*>();
    field->setText(QStringLiteral("{date:yyyy-MM-dd} {titel}"));
    field->setFocus();
    stage.picture(window, "settings-naming-error");

    window.showPage(SettingsPage::general);
    stage.shell.modelWords = "Qwen3 1.7B, 1,3 Go, 1,9 s par titre";
    stage.model->refreshModelStatus();
    stage.picture(window, "settings-general");
    stage.availability.message = text("Le modèle est en cours de téléchargement.");
    stage.model->refreshModelStatus();
    stage.picture(window, "settings-general-loading");
    stage.availability.message = text("Ce Mac ne prend pas en charge Apple Intelligence.");
    stage.shell.fault = "Le noyau n'isole pas complètement le lecteur (Landlock absent).";
    stage.model->refreshModelStatus();
    window.hide();
    stage.picture(window, "settings-general-no-model");
}

// ---- Batch ----

const std::vector<std::pair<std::string, std::string>> documents{
    {"scan_0012.pdf",
     "kind pdf\ntitle Contrat location meublé Bellecour mars\nCONTRAT DE LOCATION\nLocation d'une "
     "chambre meublée\nEntre les soussignés\nFait à Lyon, le 12/03/2026"},
    {"FDP-0502.pdf",
     "kind pdf\ntitle Facture EDF octobre 2026\nFacture EDF\nPériode : octobre 2026\nMontant"},
    {"document (3).pdf",
     "kind pdf\ntitle Bulletin de paie ACME mars 2026\nACME\nBulletin de paie, mars 2026, net à payer"},
    {"8f3b2c1e-77aa-4a0e-b1c9-0f6a1d2e3c4b.pdf",
     "kind pdf\ntitle Attestation d’assurance habitation multirisque appartement\nAttestation d'assurance "
     "habitation\nmultirisque, appartement à Lyon"},
    {"IMG_0042.jpg", "kind photo\ntitle Chat sur un canapé\nlabel cat 0.92\nlabel sofa 0.71"},
    {"document-final-2.pdf",
     "kind pdf\ntitle فاتورة الكهرباء أكتوبر\nفاتورة الكهرباء\nشركة الكهرباء الوطنية"},
    {"IMG_0917.jpg", "kind photo\ntitle Plage au coucher du soleil\nlabel beach 0.88"},
    {"Classeur1.xlsx",
     "kind spreadsheet\ntitle Suivi des dépenses 2026\nSuivi des dépenses 2026, janvier à mars"},
    {"IMG_1015.jpg", "kind photo\ntitle Tableau blanc atelier\nlabel whiteboard 0.43"},
    {"message (4).eml",
     "kind email\ntitle Confirmation réservation Airbnb\nConfirmation de votre réservation Airbnb"},
    {"scan_0013.pdf", "kind pdf"},
};

/// A page with a heading, as pixels.
Preview page() {
    QImage image(600, 800, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    QFont font;
    font.setPixelSize(32);
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(image.rect().adjusted(60, 60, -60, -60), Qt::AlignHCenter,
                     QStringLiteral("CONTRAT DE LOCATION"));
    for (int line = 0; line < 16; ++line)
        painter.fillRect(QRect(60, 160 + (line * 32), 480 - ((line % 5) * 40), 8), Qt::lightGray);
    painter.end();
    const auto* begin = image.constBits();
    return {
        .width = 600, .height = 800, .rgba = std::vector<std::uint8_t>(begin, begin + image.sizeInBytes())};
}

/// The title's cell of the row of that file.
QModelIndex rowOf(const QTreeView& list, const QString& file) {
    const QAbstractItemModel& items = *list.model();
    for (int row = 0; row < items.rowCount(); ++row)
        if (items.index(row, BatchModel::currentColumn).data().toString() == file)
            return items.index(row, BatchModel::titleColumn);
    return {};
}

void batchReview(Stage& stage) {
    for (const auto& [name, content] : documents)
        write(stage.downloads / name, content);
    for (const char* name : {"Vacances en Bretagne.txt", "Liste de courses.txt", "Courrier au syndic.odt"})
        write(stage.downloads / name, "Plan");
    std::filesystem::create_directory(stage.downloads / "Photos");
    stage.shell.pictures["scan_0012.pdf"] = page();
    stage.startWithDocuments();
    BatchWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.resize(1040, 720);
    stage.documents->isHeld = true;
    stage.model->startBatch(stage.downloads);
    auto* list = window.findChild<QTreeView*>();
    EXPECT_TRUE(World::eventually([&] { return list->model()->rowCount() == 8; }));
    stage.picture(window, "batch-analysing");
    stage.documents->isHeld = false;
    EXPECT_TRUE(World::eventually([&] { return !stage.model->batch()->isAnalysing(); }));
    list->setCurrentIndex(rowOf(*list, QStringLiteral("scan_0012.pdf")));
    list->setFocus();
    stage.picture(window, "batch-review");

    list->edit(list->currentIndex());
    list->findChild<QLineEdit*>()->setText(QStringLiteral("Bail meublé Lyon"));
    stage.picture(window, "batch-editing");
    list->setFocus();
    write(stage.downloads / "FDP-0502.pdf", "kind pdf\nautre chose");
    bool isDone = false;
    stage.model->renameSelected([&] { isDone = true; });
    EXPECT_TRUE(World::eventually([&] { return isDone; }));
    stage.model->clearLastError();
    window.resize(780, 660);
    stage.picture(window, "batch-renamed");
    const QFont font = QApplication::font();
    QFont large = font;
    large.setPointSizeF(font.pointSizeF() * 1.8);
    QApplication::setFont(large);
    window.resize(1400, 900);
    stage.picture(window, "batch-large-font");
    QApplication::setFont(font);
}

void batchOthers(Stage& stage) {
    stage.startWithDocuments();
    {
        BatchWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
        window.resize(640, 420);
        stage.picture(window, "batch-none");
    }
    write(stage.downloads / "Vacances en Bretagne.txt", "Plan");
    stage.model->startBatch(stage.downloads);
    EXPECT_TRUE(World::eventually([&] { return !stage.model->batch()->isAnalysing(); }));
    BatchWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.resize(640, 440);
    stage.picture(window, "batch-nothing-found");
    // A folder with more than a window shows.
    const auto scans = stage.home / "Numérisations";
    std::filesystem::create_directory(scans);
    for (int number = 1; number <= 250; ++number)
        write(scans / ("scan_" + std::to_string(number) + ".pdf"),
              "kind pdf\ntitle Facture numéro " + std::to_string(number) + "\nFacture numéro " +
                  std::to_string(number));
    stage.model->startBatch(scans);
    EXPECT_TRUE(World::eventually([&] { return !stage.model->batch()->isAnalysing(); }));
    window.resize(1040, 720);
    stage.picture(window, "batch-large");
}

// ---- Evidence ----

void evidence(Stage& stage) {
    stage.addUsual();
    stage.start(AppModel::Watching::none);
    PanelWindow window(*stage.model, stage.settings, stage.shell, stage.memory());
    window.openAsWindow();
    World::pass(std::chrono::milliseconds(300));
    QTest::keyClick(&window.panel().pendingList(), Qt::Key_F1);
    QWidget* popup = QApplication::activePopupWidget();
    EXPECT_NE(popup, nullptr);
    if (popup == nullptr)
        return;
    stage.picture(window, *popup, "evidence");
    popup->close();
}

} // namespace

std::vector<Scene> windowScenes() {
    return {{"history", history},
            {"settings", settings},
            {"batch-review", batchReview},
            {"batch-others", batchOthers},
            {"evidence", evidence}};
}

} // namespace vesto
