#include "app/views/Announcer.h"
#include "app/views/MenuPanel.h"
#include "app/views/PanelParts.h"
#include "app/views/PanelWindow.h"
#include "app/views/SectionHeader.h"
#include "app/views/StatusLine.h"
#include "app/views/TitleEditor.h"
#include "app/views/Words.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace vesto {
namespace {

/// A watched folder, and the panel over it in its window.
class Panel : public ::testing::Test {
protected:
    void open(const std::vector<std::pair<std::string, std::string>>& files = {}) {
        world.start();
        world.watch();
        for (const auto& [name, content] : files)
            world.proposal(name, content);
        show();
    }
    void show() {
        window = std::make_unique<PanelWindow>(*world.model, world.settings, world.shell, world.memory());
        window->openAsWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }
    void TearDown() override { window.reset(); }

    [[nodiscard]] MenuPanel& panel() const { return window->panel(); }
    [[nodiscard]] QListView& pending() const { return panel().pendingList(); }
    [[nodiscard]] QListView& recent() const { return panel().recentList(); }
    [[nodiscard]] QWidget* focus() const { return QApplication::focusWidget(); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::keyClick(focus() == nullptr ? window.get() : focus(), key, modifiers);
    }
    /// As the system sends a key that is not let go.
    void hold(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        for (const bool isRepeated : {false, true, true})
            QTest::simulateEvent(focus(), true, key, modifiers, {}, isRepeated);
    }
    [[nodiscard]] bool exists(std::string_view ending) const {
        for (const auto& entry : std::filesystem::directory_iterator(world.folder.path()))
            if (entry.path().native().ends_with(ending))
                return true;
        return false;
    }
    /// Where a part of a pending row can be clicked.
    [[nodiscard]] QPoint place(int row, PendingRows::Part part) const {
        QStyleOptionViewItem option;
        option.initFrom(&pending());
        option.font = pending().font();
        option.fontMetrics = QFontMetrics(option.font);
        const QModelIndex index = pending().model()->index(row, 0);
        option.rect = pending().visualRect(index);
        const auto* rows = static_cast<const PendingRows*>(pending().itemDelegate());
        return rows->parts(option, index)[static_cast<std::size_t>(part)].place.center();
    }
    void click(QPoint where, int patience) const {
        QTest::mouseMove(pending().viewport(), where);
        QTest::qWait(patience);
        QTest::mouseClick(pending().viewport(), Qt::LeftButton, {}, where);
    }
    static constexpr int longEnough = PaintedRows::clickGuard + 50;

    WindowWorld world;
    std::unique_ptr<PanelWindow> window;
};

TEST_F(Panel, AnswersEverythingByKeyboard) {
    open({{"scan_1.txt", "Facture annuelle de la ville"},
          {"scan_2.txt", "Contrat de location"},
          {"scan_3.txt", "Bulletin de paie"},
          {"scan_4.txt", "Relevé bancaire"}});
    ASSERT_EQ(focus(), &pending());
    EXPECT_EQ(pending().currentIndex().row(), 0);
    press(Qt::Key_Return);
    EXPECT_EQ(pending().model()->rowCount(), 3);
    EXPECT_EQ(pending().currentIndex().row(), 0); // the next one
    EXPECT_TRUE(World::eventually([&] { return recent().model()->rowCount() == 1; }));
    EXPECT_TRUE(exists("Relevé bancaire.txt"));
    press(Qt::Key_Delete);
    EXPECT_EQ(pending().model()->rowCount(), 2);
    EXPECT_TRUE(exists("scan_3.txt"));

    // Another title; an empty one is refused on the spot.
    press(Qt::Key_F2);
    ASSERT_NE(panel().editor(), nullptr);
    QLineEdit& field = panel().editor()->field();
    ASSERT_EQ(focus(), &field);
    EXPECT_EQ(field.selectedText(), QStringLiteral("Contrat de location"));
    press(Qt::Key_Backspace);
    press(Qt::Key_Return);
    EXPECT_EQ(world.errors, std::vector<std::string>{"Titre vide."});
    ASSERT_NE(panel().editor(), nullptr);
    QTest::keyClicks(&field, QStringLiteral("Bail meuble"));
    EXPECT_TRUE(field.accessibleDescription().endsWith(QStringLiteral("Bail meuble.txt")));
    press(Qt::Key_Return);
    EXPECT_EQ(panel().editor(), nullptr);
    EXPECT_TRUE(World::eventually([&] { return exists("Bail meuble.txt"); }));
    EXPECT_EQ(focus(), &pending());

    // Down into the other list, and back; Enter reveals there, Ctrl+Z undoes.
    EXPECT_TRUE(World::eventually([&] { return recent().model()->rowCount() == 2; }));
    press(Qt::Key_Down);
    ASSERT_EQ(focus(), &recent());
    EXPECT_EQ(recent().currentIndex().row(), 0);
    EXPECT_FALSE(pending().currentIndex().isValid());
    press(Qt::Key_Return);
    ASSERT_FALSE(world.shell.calls.empty());
    EXPECT_TRUE(world.shell.calls.back().ends_with("Bail meuble.txt")) << world.shell.calls.back();
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(World::eventually([&] { return exists("scan_2.txt"); }));
    press(Qt::Key_Up);
    EXPECT_EQ(focus(), &pending());
    // From here the newest that is still done is meant.
    press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(World::eventually([&] { return exists("scan_4.txt"); }));
    press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(world.model->paused());
    press(Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(Panel, AHeldKeyAnswersOneRow) {
    open({{"scan_1.txt", "Facture annuelle de la ville"},
          {"scan_2.txt", "Contrat de location"},
          {"scan_3.txt", "Bulletin de paie"},
          {"scan_4.txt", "Relevé bancaire"}});
    hold(Qt::Key_Delete);
    EXPECT_EQ(world.model->pending().size(), 3U);
    hold(Qt::Key_Return);
    EXPECT_EQ(world.model->pending().size(), 2U);
    press(Qt::Key_F2);
    hold(Qt::Key_Return); // in the editor first, then in the list
    EXPECT_EQ(world.model->pending().size(), 1U);
    const auto renamed = [&](RenameRecord::Status status) {
        return std::ranges::count(world.history(), status, &RenameRecord::status);
    };
    EXPECT_TRUE(World::eventually([&] { return recent().model()->rowCount() == 2; }));
    EXPECT_TRUE(World::eventually([&] { return renamed(RenameRecord::Status::done) == 2; }));
    hold(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(World::eventually([&] { return renamed(RenameRecord::Status::undone) > 0; }));
    World::pass(std::chrono::milliseconds(50));
    EXPECT_EQ(renamed(RenameRecord::Status::done), 1);
}

TEST_F(Panel, ADraftOutlivesAClosedPanel) {
    open({{"scan_1.txt", "Facture annuelle de la ville"}, {"scan_2.txt", "Contrat de location"}});
    press(Qt::Key_F2);
    QTest::keyClicks(&panel().editor()->field(), QStringLiteral("Bail"));
    window->close();
    window->openAsWindow();
    ASSERT_NE(panel().editor(), nullptr);
    EXPECT_EQ(panel().editor()->text(), QStringLiteral("Bail"));
    // Answered elsewhere meanwhile: the editor goes with it.
    bool isRenamed = false;
    world.model->accept(world.model->pending().front().proposal.id, [&](const auto&) { isRenamed = true; });
    EXPECT_EQ(panel().editor(), nullptr);
    EXPECT_EQ(world.errors, std::vector<std::string>{"Cette proposition n'est plus d'actualité."});
    ASSERT_TRUE(World::eventually([&] { return isRenamed; }));
    World::pass(std::chrono::milliseconds(300)); // the watcher has seen that the name is free
    // Another file comes under that name, and a notification's "Modifier" comes here.
    window->openEditing(world.proposal("scan_2.txt", "Devis de toiture").proposal.id);
    ASSERT_NE(panel().editor(), nullptr);
    EXPECT_EQ(panel().editor()->text(), QStringLiteral("Devis de toiture"));
    press(Qt::Key_Tab); // to a button of the editor
    press(Qt::Key_Escape);
    EXPECT_EQ(panel().editor(), nullptr);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(world.model->pending().size(), 2U);
}

TEST_F(Panel, AClickCountsOnlyOnARowThatWasThere) {
    open({{"scan_1.txt", "Facture annuelle de la ville"}, {"scan_2.txt", "Contrat de location"}});
    const QPoint accept = place(0, PendingRows::acceptPart);
    QTest::mouseMove(pending().viewport(), accept);
    QTest::qWait(longEnough);
    // A third arrives under the pointer just before the click. A busy machine may click so late that it
    // counts.
    QElapsedTimer isThere;
    QObject::connect(pending().model(), &QAbstractItemModel::rowsInserted, &pending(),
                     [&isThere] { isThere.start(); });
    for (const char* name : {"scan_3.txt", "scan_4.txt", "scan_5.txt"}) {
        world.proposal(name, "Bulletin de paie");
        QCoreApplication::processEvents();
        QTest::mouseClick(pending().viewport(), Qt::LeftButton, {}, accept);
        if (world.model->pending().size() == 3 || isThere.elapsed() < PaintedRows::clickGuard)
            break;
        QTest::qWait(longEnough);
    }
    EXPECT_EQ(world.model->pending().size(), 3U);
    click(accept, longEnough);
    EXPECT_TRUE(World::eventually([&] { return exists("Bulletin de paie.txt"); }));
    EXPECT_EQ(world.model->pending().size(), 2U);
    // A finger comes from nowhere. The window fits its contents meanwhile, and moves rows for a moment.
    for (int attempt = 0; attempt < 3 && world.model->pending().size() == 2; ++attempt) {
        QTest::qWait(longEnough);
        const QPoint ignore = place(1, PendingRows::ignorePart);
        QTest::mouseClick(pending().viewport(), Qt::LeftButton, {}, ignore);
    }
    EXPECT_EQ(world.model->pending().size(), 1U);
    EXPECT_EQ(world.model->pending().front().proposal.title, "Contrat de location");
    click(place(0, PendingRows::editPart), longEnough);
    ASSERT_NE(panel().editor(), nullptr);
    EXPECT_EQ(panel().editor()->text(), QStringLiteral("Contrat de location"));
}

TEST_F(Panel, AClickCountsOnNoRowThatAnErrorMoved) {
    open({{"scan_1.txt", "Facture annuelle de la ville"}, {"scan_2.txt", "Contrat de location"}});
    QTest::mouseMove(pending().viewport(), place(0, PendingRows::acceptPart));
    QTest::qWait(longEnough);
    QElapsedTimer sinceMoved;
    sinceMoved.start();
    world.model->showError("Le disque est plein."); // above all rows
    QCoreApplication::processEvents();
    QTest::mouseClick(pending().viewport(), Qt::LeftButton, {}, place(1, PendingRows::acceptPart));
    const bool isLate = sinceMoved.elapsed() >= PaintedRows::clickGuard; // on a busy machine
    EXPECT_TRUE(isLate || world.model->pending().size() == 2);
}

TEST_F(Panel, AsksBeforeItIgnoresAll) {
    open({{"scan_1.txt", "Facture annuelle de la ville"}, {"scan_2.txt", "Contrat de location"}});
    const SectionHeader& header = panel().pendingHeader();
    QTest::mouseClick(header.actButton(), Qt::LeftButton);
    EXPECT_TRUE(header.isAsking());
    EXPECT_EQ(focus(), header.noButton());
    press(Qt::Key_Escape);
    EXPECT_FALSE(header.isAsking());
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(world.model->pending().size(), 2U);
    QTest::mouseClick(header.actButton(), Qt::LeftButton);
    const auto asks = [&](const char* question) {
        const auto labels = header.findChildren<QLabel*>();
        return std::ranges::any_of(labels,
                                   [&](const QLabel* each) { return each->text() == shown(question); });
    };
    EXPECT_TRUE(asks("Ignorer les 2 propositions ?"));
    const std::string later = world.proposal("scan_3.txt", "Bulletin de paie").proposal.id;
    EXPECT_TRUE(asks("Ignorer les 2 propositions ?")); // that one nobody was asked about
    QTest::mouseClick(header.yesButton(), Qt::LeftButton);
    ASSERT_EQ(world.model->pending().size(), 1U);
    EXPECT_EQ(world.model->pending().front().proposal.id, later);
    EXPECT_TRUE(world.model->reject(later));
    EXPECT_TRUE(World::eventually([&] { return header.isHidden(); }));
}

TEST_F(Panel, LeavesTheKeyboardToOtherWindowsAndFitsItsContents) {
    open();
    EXPECT_FALSE(window->closePopup());
    EXPECT_TRUE(window->isVisible());
    const int empty = window->height();
    window->close();
    for (const char* name : {"scan_1.txt", "scan_2.txt", "scan_3.txt", "scan_4.txt", "scan_5.txt"})
        world.proposal(name, "Contrat de location");
    window->openAsWindow();
    const int full = window->height();
    EXPECT_GT(full, empty); // what came while it was closed

    window->resize(window->width(), full + 50);
    window->close();
    show();                                 // another one, at another start
    EXPECT_EQ(window->height(), full + 50); // as the user left it
    window->openBeside(QRect(100, 100, 22, 22));
    EXPECT_EQ(QApplication::activePopupWidget(), window.get());
    EXPECT_TRUE(window->closePopup());
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

TEST_F(Panel, KnowsWhetherThereIsAModelWhenItIsLookedAt) {
    FoundationNameGenerator::Availability now;
    world.modelAvailability = [&] { return now; };
    open();
    const auto* line = panel().findChild<SimpleModeLine*>();
    ASSERT_NE(line, nullptr);
    EXPECT_TRUE(line->isHidden());
    window->close();
    now.message = "Le modèle est désactivé.";
    window->openAsWindow();
    EXPECT_TRUE(line->isVisible());
    now = {};
    world.proposal("scan_1.txt", "Contrat de location"); // whose title it wrote
    EXPECT_TRUE(line->isHidden());
}

TEST_F(Panel, SaysWhatIsGoingOn) {
    world.start();
    show();
    auto* link = WindowWorld::button<QToolButton>(*window, french("Choisir des dossiers"));
    ASSERT_NE(link, nullptr);
    const QWidget* empty = link->parentWidget();
    const auto* status = panel().findChild<StatusLine*>();
    ASSERT_TRUE(empty->isVisible());
    EXPECT_EQ(focus(), panel().footer().addButton());
    QTest::mouseClick(link, Qt::LeftButton);
    press(Qt::Key_N, Qt::ControlModifier);
    press(Qt::Key_H, Qt::ControlModifier);
    press(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(world.shell.calls, (std::vector<std::string>{"settings", "choose ", "history", "settings"}));

    world.watch();
    EXPECT_TRUE(empty->isVisible());
    EXPECT_TRUE(link->isHidden());
    EXPECT_TRUE(status->isHidden());
    QTest::mouseClick(panel().footer().pauseButton(), Qt::LeftButton);
    EXPECT_TRUE(world.model->paused());
    ASSERT_TRUE(status->isVisible());
    QTest::mouseClick(status->resumeButton(), Qt::LeftButton);
    EXPECT_FALSE(world.model->paused());
    EXPECT_FALSE(panel().footer().pauseButton()->isChecked());

    world.reading->isHeld = true;
    write(world.folder / "scan_1.txt", "Facture annuelle de la ville");
    EXPECT_TRUE(World::eventually([&] { return status->isVisible(); }));
    world.reading->isHeld = false;
    EXPECT_TRUE(World::eventually([&] { return status->isHidden() && pending().isVisible(); }));
    EXPECT_FALSE(empty->isVisible());

    world.model->undo("inconnu");
    auto* strip = panel().findChild<QWidget*>(QStringLiteral("errorStrip"));
    EXPECT_TRUE(World::eventually([&] { return strip->isVisible(); }));
    QTest::mouseClick(strip->findChild<QToolButton*>(), Qt::LeftButton);
    EXPECT_FALSE(strip->isVisible());
    EXPECT_FALSE(world.model->lastError());
}

TEST_F(Panel, AnnouncesWhatArrives) {
    open();
    world.proposal("scan_1.txt", "Contrat de location");
    const auto* announcer = panel().findChild<Announcer*>();
    EXPECT_TRUE(announcer->text().startsWith(QStringLiteral("Nouvelle proposition : ")));
    EXPECT_TRUE(announcer->text().endsWith(QStringLiteral("Contrat de location.txt")));

    QWidget parent;
    auto* many = new Announcer(&parent);
    for (const char* name : {"a.txt", "b.txt", "c.txt"})
        many->announceProposal(shown(name));
    EXPECT_TRUE(many->text().endsWith(QStringLiteral("a.txt"))); // the others wait for their turn
    EXPECT_TRUE(
        World::eventually([&] { return many->text() == QStringLiteral("2 nouvelles propositions"); }));
}

TEST(PanelWindow, StandsBesideTheIconWithinTheScreen) {
    const QRect screen(0, 0, 1920, 1040); // a bar of 40 below
    const QSize popup(480, 700);
    struct Row {
        QRect icon;
        QPoint expected;
    };
    for (const Row& row : std::vector<Row>{{QRect(1500, 1048, 24, 24), {1271, 340}},
                                           {QRect(1890, 1048, 24, 24), {1440, 340}},
                                           {QRect(10, 1048, 24, 24), {0, 340}},
                                           {QRect(1500, -30, 24, 24), {1271, 0}},
                                           {QRect(1930, 500, 24, 24), {1435, 161}}}) {
        const QPoint corner = PanelWindow::placeBeside(row.icon, popup, screen);
        EXPECT_EQ(corner, row.expected) << corner.x() << " " << corner.y();
        EXPECT_TRUE(screen.contains(QRect(corner, popup)));
    }
}

} // namespace
} // namespace vesto
