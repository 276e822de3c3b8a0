#include "app/views/FusionStyle.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QFont>
#include <cstdlib>

// What the libraries under the windows keep until the end. The sanitizer calls it by this name.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "leak:libfontconfig\n";                     // its cache of patterns, kept for the process's life
}

/// The windows' tests need no display: they paint into memory.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    vesto::FusionStyle::use();
    QApplication::setEffectEnabled(Qt::UI_AnimateTooltip, false);
    return RUN_ALL_TESTS();
}
