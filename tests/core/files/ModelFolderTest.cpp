#include "core/files/ModelFolder.h"

#include "tests/core/files/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

namespace vesto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Code = ModelFileError::Code;
using Way = ModelFolder::Way;

constexpr std::string_view model = "GGUF and the rest of a model";

class ModelFolderTest : public testing::Test {
protected:
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& found : models.models())
            result.push_back(found.name);
        return result;
    }
    std::string used() const {
        const auto found = models.used();
        return found ? found->name : "none";
    }

    TestFolder downloads;
    TestFolder home;
    std::filesystem::path folder = home.path() / "data" / "models";
    SettingsFile settings{home.path() / "config" / "vesto.conf"};
    ModelFolder models{folder, settings};
};

TEST_F(ModelFolderTest, AddsCopiesAndLinks) {
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(used(), "none");
    const auto small = write(downloads / "Small.GGUF", model);
    const auto blob = write(downloads / "sha256-été", model);
    std::filesystem::create_symlink(small, downloads / "linked.gguf");
    EXPECT_EQ(models.add(small, Way::copy), "Small.GGUF");
    EXPECT_EQ(models.add(blob, Way::link), "sha256-été.gguf");
    EXPECT_EQ(models.add(downloads / "linked.gguf", Way::copy), "linked.gguf");
    std::filesystem::remove(small); // the copies stand alone
    EXPECT_EQ(contentOf(folder / "Small.GGUF"), model);
    EXPECT_EQ(contentOf(folder / "linked.gguf"), model);
    EXPECT_FALSE(std::filesystem::is_symlink(folder / "linked.gguf"));
    EXPECT_EQ(std::filesystem::read_symlink(folder / "sha256-été.gguf"), blob);
    EXPECT_THAT(models.models(), ElementsAre(ModelFolder::Model{"Small.GGUF", model.size(), false},
                                             ModelFolder::Model{"linked.gguf", model.size(), false},
                                             ModelFolder::Model{"sha256-été.gguf", model.size(), true}));
}

TEST_F(ModelFolderTest, RefusesAndChangesNothing) {
    const auto good = write(downloads / "good.gguf", model);
    ASSERT_TRUE(models.add(good, Way::copy));
    struct Row {
        std::filesystem::path file;
        Code code;
    };
    const Row rows[] = {
        {good, Code::nameTaken},
        {downloads / "absent.gguf", Code::missing},
        {downloads.path(), Code::notRegular},
        {"/dev/zero", Code::notRegular},
        {write(downloads / "empty.gguf", ""), Code::noModel},
        {write(downloads / "short.gguf", "GGU"), Code::noModel},
        {write(downloads / "other.gguf", "GGML and so on"), Code::noModel},
        {write(downloads / ".hidden.gguf", model), Code::nameUnusable},
        {write(downloads / "a\nb.gguf", model), Code::nameUnusable},
        {write(downloads / "\xff.gguf", model), Code::nameUnusable},
    };
    for (const Row& row : rows)
        for (const Way way : {Way::copy, Way::link}) {
            SCOPED_TRACE(row.file);
            const auto added = models.add(row.file, way);
            ASSERT_FALSE(added);
            EXPECT_EQ(added.error().code, row.code);
            EXPECT_NE(added.error().message(), "");
        }
    EXPECT_THAT(namesIn(folder), ElementsAre("good.gguf"));
    EXPECT_EQ(contentOf(folder / "good.gguf"), model);
}

TEST_F(ModelFolderTest, LeavesNothingWhereTheDiskIsFullOrAFileTooLarge) {
    const auto large = write(downloads / "large.gguf", std::string(model) + std::string(3 << 20, 'x'));
    std::filesystem::create_directories(folder);
    // SIGXFSZ would end the test; ignored, the call fails.
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{.rlim_cur = 1 << 20, .rlim_max = limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const auto added = models.add(large, Way::copy);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    static_cast<void>(std::signal(SIGXFSZ, before));
    ASSERT_FALSE(added);
    EXPECT_EQ(added.error().code, Code::tooLarge);
    EXPECT_THAT(namesIn(folder), IsEmpty());

    const TestMount full(MountKind::smallTmpfs);
    if (!full.path)
        GTEST_SKIP() << "this machine does not let a test mount a small disk";
    const ModelFolder there(*full.path / "models", settings);
    const auto refused = there.add(large, Way::copy);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, Code::noSpace);
    EXPECT_THAT(namesIn(*full.path / "models"), IsEmpty());
    EXPECT_EQ(there.add(write(downloads / "fits.gguf", model), Way::copy),
              "fits.gguf"); // by hand: another disk
    EXPECT_EQ(contentOf(*full.path / "models" / "fits.gguf"), model);
}

TEST_F(ModelFolderTest, UsesTheChosenElseTheFirstThatIsThere) {
    for (const char* name : {"b.gguf", "c.gguf", "a.gguf"})
        ASSERT_TRUE(models.add(write(downloads / name, model), name[0] == 'a' ? Way::link : Way::copy));
    EXPECT_EQ(used(), "a.gguf");
    std::filesystem::remove(downloads / "a.gguf"); // its link leads nowhere now
    EXPECT_EQ(used(), "b.gguf");
    ASSERT_TRUE(models.use("c"));
    EXPECT_EQ(used(), "c.gguf");
    EXPECT_EQ(settings.value("model"), "c.gguf");
    EXPECT_EQ(models.use("d").error().code, Code::notInFolder);
    EXPECT_EQ(models.remove("../vesto.conf").error().code, Code::notInFolder);
    ASSERT_TRUE(models.remove("c.gguf"));
    EXPECT_EQ(settings.value("model"), std::nullopt);
    EXPECT_EQ(used(), "b.gguf");
    ASSERT_TRUE(models.remove("a"));
    EXPECT_THAT(names(), ElementsAre("b.gguf"));
    EXPECT_TRUE(models.isEnabled());
    ASSERT_TRUE(models.setEnabled(false));
    EXPECT_FALSE(models.isEnabled());
}

TEST_F(ModelFolderTest, TheOneOfSpeechStandsApart) {
    const auto sound = write(downloads / "ggml-base", "lmgg and the rest");
    EXPECT_EQ(models.speech(), std::nullopt);
    EXPECT_EQ(models.add(sound, Way::copy), "speech.bin");
    EXPECT_EQ(models.speech(), (ModelFolder::Model{"speech.bin", 17, false}));
    EXPECT_EQ(models.add(sound, Way::link).error().code, Code::nameTaken);
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_EQ(used(), "none");
    EXPECT_EQ(models.use("speech.bin").error().code, Code::notInFolder);
    ASSERT_TRUE(models.remove("speech"));
    EXPECT_EQ(models.add(sound, Way::link), "speech.bin");
    EXPECT_EQ(models.speech(), (ModelFolder::Model{"speech.bin", 17, true}));
}

TEST_F(ModelFolderTest, ClearsWhatAKilledCopyLeft) {
    std::filesystem::create_directories(folder);
    write(folder / ".vesto-add-abcdef", "half");
    write(folder / ".other", "mine");
    ASSERT_TRUE(models.add(write(downloads / "a.gguf", model), Way::copy));
    EXPECT_THAT(namesIn(folder), ElementsAre(".other", "a.gguf"));
}

} // namespace
} // namespace vesto
