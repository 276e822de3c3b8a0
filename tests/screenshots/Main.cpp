#include "app/views/FusionStyle.h"
#include "tests/screenshots/Stage.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

// As in the tests of the windows.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "leak:libfontconfig\n";
}

namespace vesto {
namespace {

QPalette dark() {
    QPalette palette;
    const auto set = [&palette](QPalette::ColorRole role, const char* colour) {
        palette.setColor(role, QColor(QLatin1String(colour)));
    };
    set(QPalette::Window, "#323232");
    set(QPalette::WindowText, "#f0f0f0");
    set(QPalette::Base, "#242424");
    set(QPalette::AlternateBase, "#2a2a2a");
    set(QPalette::Text, "#f0f0f0");
    set(QPalette::Button, "#3c3c3c");
    set(QPalette::ButtonText, "#f0f0f0");
    set(QPalette::Mid, "#262626");
    set(QPalette::Light, "#4b4b4b");
    set(QPalette::Dark, "#212121");
    set(QPalette::Highlight, "#308cc6");
    set(QPalette::HighlightedText, "#ffffff");
    set(QPalette::Link, "#7fc1ea");
    set(QPalette::PlaceholderText, "#9a9a9a");
    set(QPalette::ToolTipBase, "#3c3c3c");
    set(QPalette::ToolTipText, "#f0f0f0");
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x80));
    return palette;
}

int takeAll(const std::filesystem::path& target, const std::string& wanted) {
    const QPalette light = QApplication::palette();
    const std::string scale = qEnvironmentVariable("QT_SCALE_FACTOR") == QLatin1String("2") ? "-200" : "";
    std::vector<Scene> scenes = panelScenes();
    std::ranges::move(windowScenes(), std::back_inserter(scenes));
    for (const auto& [suffix, palette] : {std::pair{"-light", light}, std::pair{"-dark", dark()}}) {
        QApplication::setPalette(palette);
        for (const Scene& scene : scenes) {
            if (!std::string_view(scene.name).starts_with(wanted))
                continue;
            Stage stage(target, suffix + scale);
            scene.play(stage);
        }
    }
    return ::testing::Test::HasFailure() ? 1 : 0;
}

} // namespace
} // namespace vesto

/// screenshots FOLDER [SCENE…]: a picture of every window in its states, made without a display.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (argc < 2) {
        std::cerr << "screenshots FOLDER [BEGINNING OF A SCENE]\n";
        return 2;
    }
    std::filesystem::create_directories(argv[1]);
    const std::filesystem::path screen = std::filesystem::path(argv[1]) / "screen.json";
    std::ofstream(screen) << R"({"screens": [{"name": "screen", "x": 0, "y": 0, "width": 3200, "height": 2000,
                                 "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})";
    setenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screen.native()).c_str(), 1);
    const QApplication application(argc, argv);
    std::filesystem::remove(screen);
    QApplication::setStyle(QStringLiteral("Fusion"));
    vesto::FusionStyle::use();
    return vesto::takeAll(argv[1], argc > 2 ? argv[2] : "");
}
