#include "core/support/SettingsFile.h"

#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vesto {
namespace {

TEST(SettingsFile, ReadsWhatQtWrites) {
    const TestFolder folder;
    const SettingsFile settings(
        write(folder / "vesto.conf", "; a comment\n[other]\nmodel=no\n[General]\n"
                                     "model=qwen.gguf\nspaced = \" a, b \" \r\n"
                                     "accents=\\xe9t\\xe9 d\xc3\xa9j\xc3\xa0\nat=@@x\nslashes=a\\\\b\\\"\\n\n"
                                     "paused=true\nbad=\\xd800\\\nempty=\nmodel=last.gguf ; why\n"
                                     "[more]\nmodel=no"));
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"model", "last.gguf"},  {"spaced", " a, b "},      {"accents", "été déjà"}, {"at", "@x"},
        {"slashes", "a\\b\"\n"}, {"bad", "\xef\xbf\xbd\\"}, {"empty", ""},           {"absent", std::nullopt},
    };
    for (const auto& [key, expected] : rows)
        EXPECT_EQ(settings.value(key), expected) << key;
    EXPECT_TRUE(settings.flag("paused", false));
    EXPECT_TRUE(settings.flag("absent", true));
    EXPECT_FALSE(settings.flag("model", false));
}

TEST(SettingsFile, ChangesOneLineAndKeepsTheRest) {
    const TestFolder folder;
    const auto path = folder / "vesto.conf";
    struct Row {
        std::string_view before;
        std::optional<std::string> value;
        std::string_view after;
    };
    const Row rows[] = {
        {"", "a.gguf", "[General]\nmodel=\"a.gguf\"\n"},
        {"[x]\nmodel=1\n", "a", "[x]\nmodel=1\n[General]\nmodel=\"a\"\n"},
        {"# mine\n[General]\ntemplate={title}\nmodel=old\n[x]\nk=1", "new",
         "# mine\n[General]\nmodel=\"new\"\ntemplate={title}\n[x]\nk=1\n"},
        {"model=0\n[General]\nmodel=1\nmodel=2\n", std::nullopt, "[General]\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        write(path, row.before);
        ASSERT_TRUE(SettingsFile(path).set("model", row.value));
        EXPECT_EQ(contentOf(path), row.after);
        EXPECT_EQ(SettingsFile(path).value("model"), row.value);
    }
    for (const std::string& value : {std::string("@a;b,c=\"\\x41\" "), std::string(" é\n\r\0", 6)}) {
        ASSERT_TRUE(SettingsFile(path).set("model", value));
        EXPECT_EQ(SettingsFile(path).value("model"), value);
    }
}

TEST(SettingsFile, IsMadePrivateKeepsLinksAndLeavesForeignFilesAlone) {
    const TestFolder folder;
    const auto path = folder.path() / "config" / "vesto" / "vesto.conf";
    ASSERT_TRUE(SettingsFile(path).set("model", "a"));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));

    const auto link = folder / "link.conf";
    std::filesystem::create_symlink(path, link);
    ASSERT_TRUE(SettingsFile(link).set("model", "b"));
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(SettingsFile(path).value("model"), "b");

    const auto huge = write(folder / "huge.conf", std::string((1 << 20) + 1, '\n'));
    EXPECT_EQ(SettingsFile(huge).set("model", "a"), std::unexpected(EFBIG));
    EXPECT_EQ(std::filesystem::file_size(huge), (1U << 20) + 1);
    EXPECT_FALSE(SettingsFile(folder.path()).set("model", "a")); // a folder
}

} // namespace
} // namespace vesto
