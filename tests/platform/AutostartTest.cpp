#include "app/platform/Autostart.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace vesto {
namespace {

namespace fs = std::filesystem;

class AutostartTest : public testing::Test {
protected:
    void TearDown() override { fs::remove_all(m_folder); }

    void write(const std::string& entry) const {
        fs::create_directories(file().parent_path());
        std::ofstream(file()) << entry;
    }
    [[nodiscard]] std::string content() const {
        std::ostringstream text;
        text << std::ifstream(file()).rdbuf();
        return text.str();
    }
    [[nodiscard]] fs::path file() const { return m_folder / "autostart" / "fr.vesto.Vesto.desktop"; }
    [[nodiscard]] Autostart autostart(const fs::path& program = "/usr/bin/vesto-desktop") const {
        return {m_folder / "autostart", program};
    }

private:
    std::string m_name = fs::temp_directory_path() / "vesto-autostart-XXXXXX";
    fs::path m_folder = ::mkdtemp(m_name.data());
};

TEST_F(AutostartTest, TellsWhatAnEntrySwitchesOn) {
    EXPECT_FALSE(autostart().isOn());
    const std::string group = "[Desktop Entry]\nExec=vesto-desktop\n";
    const std::vector<std::pair<std::string, bool>> rows{
        {group, true},
        {"[Desktop Entry]\r\nExec = vesto-desktop\r\nHidden = false\r\n", true},
        {group + "Hidden=true\n", false},
        {group + "Hidden = true", false},
        {group + "X-GNOME-Autostart-enabled=false\n", false},
        {group + "[Desktop Action x]\nHidden=true\n", true},
        {"[Other]\nExec=vesto-desktop\n", false},
        {"[Desktop Entry]\nType=Application\n", false},
        {"", false},
        {std::string(100'000, '\n') + group, false}, // none of ours
    };
    for (const auto& [entry, isOn] : rows) {
        SCOPED_TRACE(entry.substr(0, 100));
        write(entry);
        EXPECT_EQ(autostart().isOn(), isOn);
    }
}

TEST_F(AutostartTest, IsSwitchedOnAndOff) {
    ASSERT_TRUE(autostart().set(true));
    EXPECT_TRUE(autostart().isOn());
    EXPECT_NE(content().find("\nExec=\"/usr/bin/vesto-desktop\" --hidden\n"), std::string::npos);
    ASSERT_TRUE(autostart().set(false));
    EXPECT_FALSE(autostart().isOn());
    EXPECT_FALSE(fs::exists(file()));
    ASSERT_TRUE(autostart().set(false));

    write("[Desktop Entry]\nExec=vesto-desktop\nHidden=true\n");
    ASSERT_TRUE(autostart().set(true));
    EXPECT_TRUE(autostart().isOn());
}

TEST_F(AutostartTest, QuotesTheProgramsPath) {
    ASSERT_TRUE(autostart("/o p/100%/a\"b$c`d\\e").set(true));
    EXPECT_NE(content().find(R"(Exec="/o p/100%%/a\\"b\\$c\\`d\\\\e" --hidden)"), std::string::npos)
        << content();
}

TEST_F(AutostartTest, SaysWhyItCannotBeSwitched) {
    write("");
    fs::remove(file());
    fs::create_directory(file());
    EXPECT_FALSE(autostart().set(true));
    EXPECT_FALSE(autostart().set(false));
    EXPECT_FALSE(autostart().isOn());
}

} // namespace
} // namespace vesto
