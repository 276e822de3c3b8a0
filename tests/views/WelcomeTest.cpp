#include "app/views/WelcomeWindow.h"
#include "app/views/Words.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QTest>

namespace vesto {
namespace {

TEST(Welcome, IsFinishedOnceAndClosedAtWill) {
    WindowWorld world;
    world.start();
    WelcomeWindow window(*world.model, world.settings, world.shell);
    WindowWorld::expose(window);
    EXPECT_EQ(window.focusWidget(), window.downloadsButton());
    window.close();
    EXPECT_FALSE(world.settings.onboarded());

    WindowWorld::expose(window);
    QTest::keyClick(window.downloadsButton(), Qt::Key_Tab);
    EXPECT_EQ(window.focusWidget(), window.finishButton());
    QTest::keyClick(window.finishButton(), Qt::Key_Return);
    EXPECT_TRUE(world.settings.onboarded());
    EXPECT_FALSE(window.isVisible());
}

TEST(Welcome, SaysWhichFolderIsWatched) {
    WindowWorld world;
    world.start();
    WelcomeWindow window(*world.model, world.settings, world.shell);
    WindowWorld::expose(window);
    QTest::mouseClick(window.desktopButton(), Qt::LeftButton);
    ASSERT_EQ(world.shell.added.size(), 1U);
    const WatchedFolder folder = world.watch();
    world.shell.added.front()(folder.id);
    bool isSaid = false;
    for (const QLabel* label : window.findChildren<QLabel*>())
        isSaid = isSaid || label->text().endsWith(QStringLiteral("est surveillé."));
    EXPECT_TRUE(isSaid);
    EXPECT_EQ(window.focusWidget(), window.finishButton());
}

} // namespace
} // namespace vesto
