#include "app/model/CurrentModel.h"

#include "core/support/Text.h"
#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace vesto {
namespace {

TEST(CurrentModel, SaysWhyThereIsNone) {
    const TestFolder home;
    std::filesystem::create_directory(home / "models");
    const ModelFolder models(home / "models", SettingsFile(home / "vesto.conf"));
    CurrentModel current(Locale("fr_FR"), models);
    const std::string none(text("Modèle indisponible."));
    const std::string off(text("Apple Intelligence est désactivée dans Réglages Système."));
    EXPECT_EQ(current.availability().message, none);
    std::ofstream(home / "models" / "essai.gguf") << "GGUF";
    for (const bool isEnabled : {false, true, false}) {
        ASSERT_TRUE(models.setEnabled(isEnabled));
        EXPECT_EQ(current.availability().message, isEnabled ? none : off); // these tests have no host
        EXPECT_EQ(current.generatorIn(Locale("en_US")), nullptr);
    }
}

} // namespace
} // namespace vesto
