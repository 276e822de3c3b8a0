#include "app/model/Settings.h"

#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

namespace vesto {
namespace {

TEST(Settings, HasDefaultsWhereTheFileSaysNothingOrNonsense) {
    const TestFolder folder;
    const Settings settings{SettingsFile(folder.path() / "vesto.conf")};
    for (const char* content :
         {"", "[General]\ntemplate={titel}\nautoThreshold=2\ngenericOnly=peut-être\n"}) {
        SCOPED_TRACE(content);
        std::ofstream(folder.path() / "vesto.conf") << content;
        EXPECT_EQ(settings.nameTemplate(), "{date:yyyy-MM-dd} {title}");
        EXPECT_EQ(settings.autoThreshold(), 0.6);
        EXPECT_TRUE(settings.genericOnly());
        EXPECT_FALSE(settings.paused());
        EXPECT_FALSE(settings.onboarded());
        EXPECT_TRUE(settings.notifyAutomatic());
    }
}

TEST(Settings, KeepsWhatIsValidAndRefusesTheRest) {
    const TestFolder folder;
    const Settings settings{SettingsFile(folder.path() / "vesto.conf")};
    ASSERT_TRUE(settings.setNameTemplate("{kind} {title}"));
    ASSERT_TRUE(settings.setAutoThreshold(0.1 + 0.3)); // 0.4 and a little
    EXPECT_EQ(settings.setNameTemplate("{titel}").error(), EINVAL);
    EXPECT_EQ(settings.setAutoThreshold(1.01).error(), EINVAL);
    const Settings other{SettingsFile(folder.path() / "vesto.conf")};
    EXPECT_EQ(other.nameTemplate(), "{kind} {title}");
    EXPECT_EQ(other.autoThreshold(), 0.4);
}

} // namespace
} // namespace vesto
