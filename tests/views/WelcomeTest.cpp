#include "app/views/WelcomeWindow.h"
#include "app/views/Words.h"
#include "tests/views/support/WindowWorld.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>
#include <QTest>
#include <string>
#include <vector>

namespace vesto {
namespace {

TEST(Welcome, IsFinishedOnceAndClosedAtWill) {
    WindowWorld world;
    world.start();
    WelcomeWindow window(*world.model, world.settings, world.shell);
    WindowWorld::expose(window);
    EXPECT_EQ(window.focusWidget(), window.watchButton());
    window.close();
    EXPECT_FALSE(world.settings.onboarded());

    WindowWorld::expose(window);
    for (QPushButton* next : {window.desktopButton(), window.downloadsButton(), window.finishButton()}) {
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(window.focusWidget(), next);
    }
    QTest::keyClick(window.finishButton(), Qt::Key_Return);
    EXPECT_TRUE(world.settings.onboarded());
    EXPECT_FALSE(window.isVisible());
}

TEST(Welcome, SaysWhichFolderIsWatched) {
    WindowWorld world;
    world.start();
    WelcomeWindow window(*world.model, world.settings, world.shell);
    WindowWorld::expose(window);
    for (QPushButton* button :
         {window.watchButton(), window.watchButton(), window.desktopButton(), window.downloadsButton()})
        QTest::mouseClick(button, Qt::LeftButton);
    const auto at = [](QStandardPaths::StandardLocation location) {
        return utf8(QStandardPaths::writableLocation(location));
    };
    const std::string downloads = at(QStandardPaths::DownloadLocation);
    EXPECT_EQ(world.shell.calls,
              (std::vector<std::string>{"watch " + downloads, "choose " + at(QStandardPaths::DesktopLocation),
                                        "choose " + downloads}));
    ASSERT_EQ(world.shell.added.size(), 3U);
    world.shell.added.front()(world.watch().id);
    bool isSaid = false;
    for (const QLabel* label : window.findChildren<QLabel*>())
        isSaid = isSaid || label->text().endsWith(QStringLiteral("est surveillé."));
    EXPECT_TRUE(isSaid);
    EXPECT_EQ(window.focusWidget(), window.finishButton());
}

} // namespace
} // namespace vesto
