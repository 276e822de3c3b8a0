#include "app/views/BatchModel.h"
#include "app/views/BatchPreview.h"
#include "app/views/BatchWindow.h"
#include "app/views/EvidenceView.h"
#include "app/views/HistoryWindow.h"
#include "app/views/RecordModel.h"
#include "app/views/SettingsWindow.h"
#include "app/views/SkippedSummary.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QTabWidget>
#include <QTableView>
#include <QToolButton>
#include <QTreeView>
#include <QWheelEvent>

namespace vesto {
namespace {

using Tester = QAbstractItemModelTester;

QStringList column(const QAbstractItemModel& model, int column, int role = Qt::DisplayRole) {
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts.push_back(model.index(row, column).data(role).toString());
    return texts;
}

void rename(WindowWorld& world, std::string_view name, std::string_view content) {
    const PendingProposal pending = world.proposal(name, content);
    bool isDone = false;
    world.model->accept(pending.proposal.id, [&](const auto&) { isDone = true; });
    ASSERT_TRUE(world.eventually([&] { return isDone; }));
}

// ---- History ----

TEST(HistoryWindowWithWorkers, FindsUndoesAndReveals) {
    WindowWorld world;
    world.start();
    world.watch();
    rename(world, "scan0001.txt", "Facture EDF octobre Montpellier");
    rename(world, "scan0002.txt", "Devis de toiture Nantes");
    HistoryWindow window(*world.model, world.shell, world.memory());
    WindowWorld::expose(window);
    auto* table = window.findChild<QTableView*>();
    auto* field = window.findChild<QLineEdit*>();
    const Tester tester(table->model(), Tester::FailureReportingMode::Fatal);
    EXPECT_EQ(table->model()->rowCount(), 2);
    EXPECT_TRUE(field->hasFocus());

    QTest::keyClicks(field, QStringLiteral("factuRE"));
    ASSERT_TRUE(world.eventually([&] { return table->model()->rowCount() == 1; }));
    QTest::keyClick(field, Qt::Key_Down);
    EXPECT_TRUE(table->hasFocus());
    QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("Facture EDF octobre Montpellier.txt"));
    QTest::keyClick(table, Qt::Key_Return);
    EXPECT_EQ(world.shell.calls.back(),
              "reveal " + (world.folder / "Facture EDF octobre Montpellier.txt").native());
    QTest::keyClick(&window, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(world.eventually([&] { return std::filesystem::exists(world.folder / "scan0001.txt"); }));
    EXPECT_TRUE(world.eventually([&] {
        return !WindowWorld::button<QPushButton>(window, QStringLiteral("Annuler le renommage"))->isEnabled();
    }));

    QTest::keyClicks(field, QStringLiteral(" absent"));
    ASSERT_TRUE(world.eventually([&] { return table->model()->rowCount() == 0; }));
    EXPECT_FALSE(table->isVisible());
    QTest::keyClick(field, Qt::Key_Escape);
    ASSERT_TRUE(world.eventually([&] { return table->model()->rowCount() == 2; }));
    rename(world, "scan0003.txt", "Recette de cuisine"); // while it is looked at
    EXPECT_TRUE(world.eventually([&] { return table->model()->rowCount() == 3; }));
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
}

TEST(HistoryWindow, KeepsItsColumnsInSight) {
    WindowWorld world;
    world.start(AppModel::Watching::none);
    RenameRecord record;
    record.newName = "2026-11-21 Billet.png";
    ASSERT_TRUE(world.store->save(record));
    const auto widths = [](const QTableView& table) {
        std::vector<int> all(RecordModel::columns);
        for (int section = 0; section < RecordModel::columns; ++section)
            all[static_cast<std::size_t>(section)] = table.horizontalHeader()->sectionSize(section);
        return all;
    };
    const auto expectFit = [&](const QTableView& table, int least) {
        EXPECT_EQ(table.horizontalHeader()->length(), table.viewport()->width());
        for (const int section : {RecordModel::newNameColumn, RecordModel::oldNameColumn})
            EXPECT_GE(table.horizontalHeader()->sectionSize(section), least);
    };
    std::vector<int> left;
    {
        HistoryWindow window(*world.model, world.shell, world.memory());
        WindowWorld::expose(window);
        const auto& table = *window.findChild<QTableView*>();
        for (const int width : {1040, 640, 1400, 900}) {
            SCOPED_TRACE(width);
            window.resize(width, 400);
            World::pass(std::chrono::milliseconds(20));
            expectFit(table, 80);
            EXPECT_EQ(table.horizontalHeader()->isSectionHidden(RecordModel::confidenceColumn), width < 800);
        }
        // Dragged by its edge the one grows and the other gives way; a column of its own width takes from
        // both.
        const int before = table.horizontalHeader()->sectionSize(RecordModel::oldNameColumn);
        table.horizontalHeader()->resizeSection(
            RecordModel::newNameColumn,
            table.horizontalHeader()->sectionSize(RecordModel::newNameColumn) + 40);
        EXPECT_EQ(table.horizontalHeader()->sectionSize(RecordModel::oldNameColumn), before - 40);
        table.horizontalHeader()->resizeSection(RecordModel::dateColumn, 200);
        table.horizontalHeader()->resizeSection(RecordModel::oldNameColumn, 5'000);
        expectFit(table, 48);
        left = widths(table);
    }
    HistoryWindow again(*world.model, world.shell, world.memory());
    WindowWorld::expose(again);
    const auto& table = *again.findChild<QTableView*>();
    for (std::size_t section = 0; section < left.size(); ++section)
        EXPECT_NEAR(widths(table)[section], left[section], 1) << section;
}

TEST(HistoryWindow, SaysThatThereIsNothing) {
    WindowWorld world;
    world.start(AppModel::Watching::none);
    HistoryWindow window(*world.model, world.shell, world.memory());
    WindowWorld::expose(window);
    EXPECT_FALSE(window.findChild<QTableView*>()->isVisible());
    bool isSaid = false;
    for (const QLabel* label : window.findChildren<QLabel*>())
        isSaid = isSaid || (label->isVisible() && label->text() == QStringLiteral("Aucun renommage"));
    EXPECT_TRUE(isSaid);
}

// ---- Batch ----

class BatchWindowWithWorkers : public testing::Test {
protected:
    void analyse() {
        write(world.folder / "scan0001.txt", "Facture EDF octobre Montpellier");
        write(world.folder / "scan0002.txt", "Devis de toiture Nantes");
        write(world.folder / "scan0003.txt", "Recette de cuisine lyonnaise");
        write(world.folder / "scan0004.txt", "rien");
        write(world.folder / "Vacances en Bretagne.txt", "Plan de route");
        write(world.folder / "Mon titre.txt", "Celui-là est déjà là");
        ASSERT_TRUE(world.settings.setAutoThreshold(0.55));
        world.start(AppModel::Watching::none);
        window = std::make_unique<BatchWindow>(*world.model, world.settings, world.shell, world.memory());
        WindowWorld::expose(*window);
        world.model->startBatch(world.folder.path());
        ASSERT_TRUE(world.eventually([&] { return !world.model->batch()->isAnalysing(); }));
        list = window->findChild<QTreeView*>();
        tester = std::make_unique<Tester>(list->model(), Tester::FailureReportingMode::Fatal);
        ASSERT_EQ(list->model()->rowCount(), 3);
        window->activateWindow();
        list->setFocus();
    }

    QPushButton* renameButton() {
        for (auto* each : window->findChildren<QPushButton*>())
            if (each->isDefault())
                return each;
        return nullptr;
    }
    BatchPreview& preview() { return *window->findChild<BatchPreview*>(); }

    WindowWorld world;
    std::unique_ptr<BatchWindow> window;
    std::unique_ptr<Tester> tester;
    QTreeView* list = nullptr;
};

TEST_F(BatchWindowWithWorkers, IsReviewedByKeys) {
    analyse();
    EXPECT_EQ(renameButton()->text(), QStringLiteral("Renommer (3)"));
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_EQ(renameButton()->text(), QStringLiteral("Renommer (2)"));
    QTest::simulateEvent(list, true, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "), true); // held
    EXPECT_EQ(renameButton()->text(), QStringLiteral("Renommer (2)"));
    QTest::keyClick(list, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(list, Qt::Key_Space); // ticks all, since one was not
    EXPECT_EQ(renameButton()->text(), QStringLiteral("Renommer (3)"));
    QTest::keyClick(list, Qt::Key_Home);

    QTest::keyClick(list, Qt::Key_F2);
    auto* editor = list->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->selectedText(), QStringLiteral("Facture EDF octobre Montpellier"));
    QTest::keyClicks(editor, QStringLiteral("Mon titre"));
    EXPECT_EQ(preview().finalName(), QStringLiteral("Mon titre.txt"));
    EXPECT_TRUE(world.eventually([&] { return preview().finalName() == QStringLiteral("Mon titre 2.txt"); }));
    QTest::keyClick(editor, Qt::Key_Return); // to the next title
    ASSERT_TRUE(world.eventually([&] { return list->currentIndex().row() == 1; }));
    ASSERT_TRUE(world.eventually([&] {
        editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        return editor != nullptr && editor->text().startsWith(QStringLiteral("Devis"));
    }));
    QTest::keyClicks(editor, QStringLiteral("Mon titre")); // which goes to the row above
    EXPECT_TRUE(world.eventually([&] { return preview().finalName() == QStringLiteral("Mon titre 3.txt"); }));
    QTest::keyClick(editor, Qt::Key_Escape);
    EXPECT_EQ(column(*list->model(), BatchModel::titleColumn),
              QStringList({QStringLiteral("Mon titre"), QStringLiteral("Devis de toiture Nantes"),
                           QStringLiteral("Recette de cuisine lyonnaise")}));
    EXPECT_EQ(list->model()->index(0, BatchModel::confidenceColumn).data().toString(),
              QStringLiteral("Modifié"));

    const auto isCounted = [&] {
        return std::ranges::any_of(window->findChildren<QLabel*>(), [](const QLabel* label) {
            return label->text() == QStringLiteral("3 propositions");
        });
    };
    EXPECT_TRUE(isCounted());
    QTest::keyClick(window.get(), Qt::Key_Return, Qt::ControlModifier);
    ASSERT_TRUE(world.eventually([&] { return !world.model->batch()->isRenaming; }));
    EXPECT_TRUE(std::filesystem::exists(world.folder / "Mon titre 2.txt"));
    EXPECT_FALSE(isCounted()); // they are names by now
    EXPECT_EQ(renameButton()->text(), QStringLiteral("Renommer (0)"));
    EXPECT_FALSE(renameButton()->isEnabled());
    QTest::mouseClick(WindowWorld::button<QPushButton>(*window, QStringLiteral("Annuler ce lot")),
                      Qt::LeftButton);
    EXPECT_TRUE(world.eventually(
        [&] { return std::ranges::all_of(world.model->batch()->items, &Batch::Item::isProposed); }));
    EXPECT_TRUE(std::filesystem::exists(world.folder / "scan0001.txt"));
    EXPECT_EQ(column(*list->model(), BatchModel::titleColumn).front(), QStringLiteral("Mon titre"));
    QTest::keyClick(list, Qt::Key_Home);
    QTest::keyClick(list, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(column(*list->model(), BatchModel::titleColumn).front(),
              QStringLiteral("Facture EDF octobre Montpellier"));
}

TEST_F(BatchWindowWithWorkers, IsSortedOnceAndTakesWhatComesLater) {
    analyse();
    list->header()->setSortIndicator(BatchModel::titleColumn, Qt::AscendingOrder);
    EXPECT_TRUE(column(*list->model(), BatchModel::titleColumn).front().startsWith(QStringLiteral("Devis")));
    const QPersistentModelIndex current = list->currentIndex();
    const QString title = current.data().toString();
    QTest::mouseClick(WindowWorld::button<QPushButton>(*window, QStringLiteral("Analyser aussi")),
                      Qt::LeftButton);
    ASSERT_TRUE(world.eventually([&] { return list->model()->rowCount() == 5; }));
    EXPECT_EQ(current.data().toString(), title);
    EXPECT_TRUE(column(*list->model(), BatchModel::titleColumn)[2].startsWith(QStringLiteral("Recette")));
    list->header()->setSortIndicator(-1, Qt::AscendingOrder);
    EXPECT_TRUE(
        column(*list->model(), BatchModel::titleColumn).front().startsWith(QStringLiteral("Facture")));
}

TEST_F(BatchWindowWithWorkers, ShowsPicturesAndAsksForThemInTurn) {
    const Preview picture{.width = 2, .height = 2, .rgba = std::vector<std::uint8_t>(16, 255)};
    world.shell.pictures["scan0001.txt"] = picture;
    analyse();
    QTest::keyClick(list, Qt::Key_Home);
    EXPECT_TRUE(world.eventually([&] { return world.shell.previewed.size() == 3; })); // with its neighbours
    EXPECT_EQ(std::ranges::count(world.shell.previewed, "scan0001.txt"), 1);
    EXPECT_TRUE(preview().picture().isSettled());
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_TRUE(preview().picture().isSettled()); // it was asked for before
    window->hide();
    const std::size_t asked = world.shell.previewed.size();
    world.model->setItemsSelected({world.model->batch()->items.front().proposal.id}, false);
    World::pass(std::chrono::milliseconds(150));
    EXPECT_EQ(world.shell.previewed.size(), asked); // nobody would see it
    WindowWorld::expose(*window);
    QTest::mouseClick(WindowWorld::button<QPushButton>(*window, QStringLiteral("Fermer")), Qt::LeftButton);
    EXPECT_EQ(world.model->batch(), nullptr);
    EXPECT_FALSE(window->isVisible());
}

TEST(SkippedSummary, KeepsItsButtonsWhileItCounts) {
    using Counter = BatchLine::Counter;
    const BatchLine wellNamed{Counter::wellNamed, 2, "Nom déjà parlant : 2 fichiers"};
    SkippedSummary summary;
    summary.show({wellNamed});
    WindowWorld::expose(summary);
    auto* button = WindowWorld::button<QPushButton>(summary, QStringLiteral("Analyser aussi"));
    ASSERT_NE(button, nullptr);
    QTest::mousePress(button, Qt::LeftButton);
    summary.show({wellNamed, {Counter::noTitle, 1, "Sans titre exploitable : 1 fichier"}});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(WindowWorld::button<QPushButton>(summary, QStringLiteral("Analyser aussi"))->isDown());
    summary.show({{Counter::noTitle, 1, "Sans titre exploitable : 1 fichier"}});
    EXPECT_FALSE(button->isVisible());
}

TEST(BatchWindow, LeadsToTheSettingsWhereThereIsNoBatch) {
    WindowWorld world;
    world.start(AppModel::Watching::none);
    BatchWindow window(*world.model, world.settings, world.shell, world.memory());
    WindowWorld::expose(window);
    QTest::mouseClick(WindowWorld::button<QPushButton>(window, QStringLiteral("Réglages…")), Qt::LeftButton);
    EXPECT_EQ(world.shell.calls, std::vector<std::string>{"settings"});
}

// ---- Settings ----

TEST(SettingsWindowWithWorkers, ChangesFolders) {
    WindowWorld world;
    world.start();
    const WatchedFolder folder = world.watch();
    SettingsWindow window(*world.model, world.settings, world.shell, world.memory());
    WindowWorld::expose(window);
    auto* mode = window.findChild<QComboBox*>();
    ASSERT_NE(mode, nullptr);
    mode->setFocus();
    QTest::keyClick(mode, Qt::Key_Down);
    EXPECT_TRUE(world.model->folders().front().automatic);
    QPointer<QCheckBox> enabled;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->accessibleName().startsWith(QStringLiteral("Surveiller")))
            enabled = box;
    ASSERT_NE(enabled, nullptr);
    QTest::keyClick(enabled, Qt::Key_Space);
    EXPECT_FALSE(world.model->folders().front().enabled);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ASSERT_FALSE(enabled.isNull()); // the row is still the same one
    QTest::keyClick(enabled, Qt::Key_F5);
    EXPECT_EQ(world.shell.calls.back(), "batch");
    EXPECT_NE(world.model->batch(), nullptr);
    QTest::simulateEvent(enabled, true, Qt::Key_Delete, Qt::NoModifier, {}, true); // held since another row
    EXPECT_EQ(world.model->folders().size(), 1U);
    QTest::keyClick(enabled, Qt::Key_Delete);
    EXPECT_TRUE(world.model->folders().empty());

    auto* slider = window.findChild<QSlider*>();
    QTest::keyClick(slider, Qt::Key_Home);
    EXPECT_EQ(world.settings.autoThreshold(), 0.4);
    QTest::keyClick(slider, Qt::Key_PageUp);
    EXPECT_EQ(world.settings.autoThreshold(), 0.45);
    QTest::keyClick(slider, Qt::Key_End);
    EXPECT_EQ(world.settings.autoThreshold(), 0.95);
}

TEST(SettingsWindowWithWorkers, SaysWhatADiskCannotDo) {
    WindowWorld world;
    world.disk.refusesAttributes = true;
    world.start();
    world.watch();
    SettingsWindow window(*world.model, world.settings, world.shell, world.memory());
    WindowWorld::expose(window);
    const auto says = [&](const QString& words) {
        return std::ranges::any_of(window.findChildren<QLabel*>(),
                                   [&](const QLabel* label) { return label->text().contains(words); });
    };
    EXPECT_TRUE(world.eventually([&] { return says(QStringLiteral("disque sans attributs")); }));
    world.disk.refusesAttributes = false;
    window.hide();
    window.show(); // another disk, perhaps
    EXPECT_TRUE(world.eventually([&] { return !says(QStringLiteral("disque sans attributs")); }));
}

class NamingPageInSettings : public testing::Test {
protected:
    NamingPageInSettings() {
        window.showPage(SettingsPage::naming);
        WindowWorld::expose(window);
    }

    struct StartedWorld : WindowWorld {
        StartedWorld() { start(AppModel::Watching::none); }
    };
    StartedWorld world;
    SettingsWindow window{*world.model, world.settings, world.shell, world.memory()};
    QLineEdit* field = window.findChild<QLineEdit*>();
};

TEST_F(NamingPageInSettings, KeepsOnlyValidPatternsAndTellsOfThem) {
    int told = 0;
    QObject::connect(world.model.get(), &AppModel::settingsChanged, &window, [&] { ++told; });
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, QStringLiteral("{titel}"));
    EXPECT_EQ(field->accessibleDescription(), QStringLiteral("Jeton inconnu : {titel}."));
    EXPECT_EQ(world.settings.nameTemplate(), "{date:yyyy-MM-dd} {title}");
    EXPECT_EQ(told, 0);
    field->selectAll();
    QTest::mouseClick(WindowWorld::button<QPushButton>(window, QStringLiteral("{title}")), Qt::LeftButton);
    EXPECT_EQ(world.settings.nameTemplate(), "{title}");
    EXPECT_GT(told, 0); // a name that is shown may be another
    EXPECT_TRUE(field->accessibleDescription().isEmpty());
}

TEST_F(NamingPageInSettings, ShowsWhatWasChangedElsewhereAndStoresNothingByItself) {
    auto* generic =
        WindowWorld::button<QCheckBox>(window, QStringLiteral("Ne renommer que les noms génériques"));
    window.close();
    ASSERT_TRUE(world.settings.setNameTemplate("{title} {kind}"));
    ASSERT_TRUE(world.settings.setGenericOnly(false));
    ASSERT_TRUE(world.settings.setAutoThreshold(0.32));
    WindowWorld::expose(window);
    EXPECT_EQ(world.settings.nameTemplate(), "{title} {kind}");
    EXPECT_EQ(field->text(), QStringLiteral("{title} {kind}"));
    EXPECT_FALSE(generic->isChecked());
    field->setText(QStringLiteral("{titel}")); // unfinished: it is still there afterwards
    window.close();
    WindowWorld::expose(window);
    EXPECT_EQ(field->text(), QStringLiteral("{titel}"));
    window.showPage(SettingsPage::folders);
    EXPECT_EQ(window.findChild<QSlider*>()->accessibleName(),
              QStringLiteral("Confiance minimale, 32\u202F%"));
    EXPECT_EQ(world.settings.autoThreshold(), 0.32); // also where the slider does not reach
}

TEST(SettingsWindowWithWorkers, AreNotChangedByTheWheel) {
    WindowWorld world;
    world.start();
    world.watch();
    SettingsWindow window(*world.model, world.settings, world.shell, world.memory());
    WindowWorld::expose(window);
    const double before = world.settings.autoThreshold();
    auto* mode = window.findChild<QComboBox*>();
    auto* slider = window.findChild<QSlider*>();
    ASSERT_NE(mode, nullptr);
    for (QWidget* control : {static_cast<QWidget*>(mode), static_cast<QWidget*>(slider)})
        for (const int turn : {-120, 120}) {
            control->setFocus();
            const QPointF place = control->rect().center();
            QWheelEvent wheel(place, control->mapToGlobal(place), {}, QPoint(0, turn), Qt::NoButton,
                              Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(control, &wheel);
            EXPECT_FALSE(world.model->folders().front().automatic) << turn;
            EXPECT_EQ(world.settings.autoThreshold(), before) << turn;
        }
}

TEST(SettingsWindow, TellsTheTruthAboutLoginAndWalls) {
    WindowWorld world;
    world.shell.fault = "La prison du lecteur ne tient pas.";
    world.start(AppModel::Watching::none);
    SettingsWindow window(*world.model, world.settings, world.shell, world.memory());
    window.showPage(SettingsPage::general);
    WindowWorld::expose(window);
    auto* login = WindowWorld::button<QCheckBox>(window, QStringLiteral("Ouvrir à la connexion"));
    QTest::keyClick(login, Qt::Key_Space);
    EXPECT_EQ(world.shell.login, true);
    world.shell.isLoginRefused = true;
    world.shell.onLoginRefused = [&] { world.model->showError("Le disque est plein."); };
    QTest::keyClick(login, Qt::Key_Space);
    EXPECT_TRUE(login->isChecked()); // as it is, not as it was wished
    EXPECT_EQ(world.model->lastError(), "Le disque est plein.");
    const auto says = [&](const QString& words) {
        return std::ranges::any_of(window.findChildren<QLabel*>(),
                                   [&](const QLabel* label) { return label->text() == words; });
    };
    const QString fault = QStringLiteral("La prison du lecteur ne tient pas.");
    EXPECT_TRUE(says(fault));
    QTest::mouseClick(WindowWorld::button<QPushButton>(window, QStringLiteral("Vérifier à nouveau")),
                      Qt::LeftButton);
    ASSERT_EQ(world.shell.checks.size(), 2U); // the first when it was shown
    world.shell.fault.clear();
    world.shell.checks.back()();
    EXPECT_FALSE(says(fault));
    auto* notify =
        WindowWorld::button<QCheckBox>(window, QStringLiteral("Notifier les renommages automatiques"));
    QTest::keyClick(notify, Qt::Key_Space);
    EXPECT_FALSE(world.settings.notifyAutomatic());
}

// ---- Evidence ----

TEST(EvidenceView, PopsUpAndLeavesByEscape) {
    QWidget anchor;
    anchor.resize(300, 200);
    WindowWorld::expose(anchor);
    Proposal proposal;
    proposal.title = "Facture EDF";
    proposal.confidence = 0.9;
    proposal.summary.lines = {"Facture EDF du mois d'octobre 2026"};
    EvidenceView::popUp(anchor, QRect(0, 0, 16, 12), evidenceSheet(proposal, proposal.title), 0.6);
    QWidget* popup = QApplication::activePopupWidget();
    ASSERT_NE(popup, nullptr);
    QStringList texts;
    for (const QLabel* label : popup->findChildren<QLabel*>())
        texts.push_back(label->text());
    EXPECT_TRUE(texts.contains(QStringLiteral("Sûr")));
    EXPECT_TRUE(texts.contains(QStringLiteral("2 mots du titre sur 2 retrouvés dans le texte du fichier")));
    QTest::keyClick(popup, Qt::Key_Escape);
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

} // namespace
} // namespace vesto
