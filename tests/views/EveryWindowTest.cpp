#include "app/views/BatchWindow.h"
#include "app/views/EvidenceView.h"
#include "app/views/HistoryWindow.h"
#include "app/views/MenuPanel.h"
#include "app/views/PanelWindow.h"
#include "app/views/SettingsWindow.h"
#include "app/views/TitleEditor.h"
#include "app/views/WelcomeWindow.h"
#include "tests/views/support/Accessible.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QListView>
#include <QTreeView>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vesto {
namespace {

/// A user with something of everything: proposals, renames, a batch, an error, no language model.
class EveryWindowWithWorkers : public ::testing::Test {
protected:
    struct Window {
        const char* name;
        std::function<std::unique_ptr<QWidget>()> make;
        int leastNamed = 0;
    };

    EveryWindowWithWorkers() {
        world.start();
        world.watch();
        for (const auto& [name, content] : {std::pair{"scan_1.txt", "Facture annuelle de la ville"},
                                            {"scan_2.txt", "Contrat de location"},
                                            {"scan_3.txt", "Bulletin de paie"}})
            world.proposal(name, content);
        world.model->accept(world.model->pending().back().proposal.id);
        EXPECT_TRUE(World::eventually([&] { return world.history().size() == 1 && world.isQuiet(); }));
        const auto old = world.home / "Documents";
        std::filesystem::create_directory(old);
        write(old / "scan_4.txt", "Devis de toiture à Nantes");
        write(old / "Vacances en Bretagne.txt", "Plan de route");
        world.model->startBatch(old);
        EXPECT_TRUE(World::eventually([&] { return !world.model->batch()->isAnalysing(); }));
        world.model->showError("Le disque est plein.");
        QApplication::setCursorFlashTime(0);
    }

    [[nodiscard]] std::vector<Window> windows() {
        const auto settings = [this](SettingsPage page) {
            return [this, page] {
                auto window = std::make_unique<SettingsWindow>(*world.model, world.settings, world.shell,
                                                               world.memory());
                window->showPage(page);
                return window;
            };
        };
        return {
            {"panel", [this] { return panel(); }, 15},
            {"history",
             [this] { return std::make_unique<HistoryWindow>(*world.model, world.shell, world.memory()); },
             8},
            {"batch",
             [this] {
                 return std::make_unique<BatchWindow>(*world.model, world.settings, world.shell,
                                                      world.memory());
             },
             9},
            {"folders", settings(SettingsPage::folders), 10},
            {"naming", settings(SettingsPage::naming), 10},
            {"general", settings(SettingsPage::general), 7},
            {"welcome",
             [this] { return std::make_unique<WelcomeWindow>(*world.model, world.settings, world.shell); },
             3}};
    }

    [[nodiscard]] std::unique_ptr<QWidget> panel() {
        auto window =
            std::make_unique<PanelWindow>(*world.model, world.settings, world.shell, world.memory());
        window->openAsWindow();
        window->panel().edit(world.model->pending().front().proposal.id);
        return window;
    }

    static void activate(QWidget& window) {
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    WindowWorld world;
};

TEST_F(EveryWindowWithWorkers, HasANameForAllThatCanBeUsed) {
    for (const Window& each : windows()) {
        SCOPED_TRACE(each.name);
        const auto window = each.make();
        activate(*window);
        EXPECT_GE(expectNamed(*window), each.leastNamed);
    }
    // Titles that are being written are found from the window down.
    const auto window = panel();
    activate(*window);
    TitleEditor* editor = static_cast<PanelWindow&>(*window).panel().editor();
    ASSERT_NE(editor, nullptr);
    EXPECT_TRUE(isInTree(QAccessible::queryAccessibleInterface(window.get()), &editor->field()));
    EXPECT_EQ(editor->geometry().height(), editor->sizeHint().height());
}

TEST_F(EveryWindowWithWorkers, KnowsTheKeysOfAllWindows) {
    for (const Window& each : windows()) {
        SCOPED_TRACE(each.name);
        const auto window = each.make();
        activate(*window);
        world.shell.calls.clear();
        for (const auto key : {Qt::Key_H, Qt::Key_Comma, Qt::Key_Q})
            QTest::keyClick(window.get(), key, Qt::ControlModifier);
        EXPECT_EQ(world.shell.calls, (std::vector<std::string>{"history", "settings", "quit"}));
        QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
        EXPECT_FALSE(window->isVisible());
        activate(*window);
        for (int press = 0; press < 2 && window->isVisible(); ++press) // the first may leave an editor
            QTest::keyClick(window.get(), Qt::Key_Escape);
        EXPECT_FALSE(window->isVisible());
    }
}

TEST_F(EveryWindowWithWorkers, IsNoWiderForAPathWithoutSpaces) {
    const std::string endless(200, 'x');
    ASSERT_TRUE(world.settings.setGenericOnly(false));
    std::filesystem::create_directories(world.home / endless / endless);
    world.watch(world.home / endless / endless);
    for (const char* name : {"scan_5_", "scan_6_"}) {
        const std::string content = "Facture " + endless.substr(150);
        write(world.home / endless / endless / (name + endless + ".txt"), content);
    }
    ASSERT_TRUE(World::eventually([&] { return world.model->pending().size() == 4; }));
    world.model->accept(world.model->pending().front().proposal.id);
    ASSERT_TRUE(World::eventually([&] { return world.history().size() == 2 && world.isQuiet(); }));
    world.model->startBatch(world.home / endless / endless);
    ASSERT_TRUE(World::eventually([&] { return !world.model->batch()->isAnalysing(); }));
    world.model->showError("Le fichier est ici : /" + endless + endless);
    for (const Window& each : windows()) {
        SCOPED_TRACE(each.name);
        const auto window = each.make();
        const int width = window->width();
        activate(*window);
        World::pass(std::chrono::milliseconds(50));
        EXPECT_LE(window->width(), width);
        EXPECT_LE(window->minimumSizeHint().width(), 640);
        for (const QWidget* child : window->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
            EXPECT_LE(child->geometry().right(), window->width()) << child->metaObject()->className();
    }
}

TEST_F(EveryWindowWithWorkers, TakesAnotherPaletteAsIfItHadBegunWithIt) {
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(0x3c, 0x3c, 0x3c), QColor(0x32, 0x32, 0x32));
    dark.setColor(QPalette::Highlight, QColor(0x30, 0x8c, 0xc6));
    const auto picture = [](QWidget& window) {
        activate(window);
        World::pass(std::chrono::milliseconds(400)); // what is asked of the folder has come
        return window.grab().toImage();
    };
    for (const Window& each : windows()) {
        SCOPED_TRACE(each.name);
        QImage changed, fresh;
        for (int tries = 0; tries < 3 && (tries == 0 || changed != fresh); ++tries) { // it may come late
            {
                const auto window = each.make();
                (void)picture(*window);
                QApplication::setPalette(dark);
                changed = picture(*window);
            }
            fresh = picture(*each.make());
            QApplication::setPalette(before);
        }
        EXPECT_EQ(changed, fresh);
    }
}

} // namespace
} // namespace vesto
