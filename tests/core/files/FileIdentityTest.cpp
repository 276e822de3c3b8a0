#include "core/files/FileIdentity.h"

#include "tests/core/files/FakeDisk.h"
#include "tests/core/files/TestFolder.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <thread>

namespace vesto {
namespace {

FileIdentity real(std::uint64_t device, std::uint64_t inode, std::optional<FileTime> birth) {
    FileIdentity identity;
    identity.device = device;
    identity.inode = inode;
    identity.birth = birth;
    return identity;
}

FileIdentity invented(std::uint64_t device, std::string name, std::string volume, FileState state) {
    FileIdentity identity = real(device, 99, FileTime{1, 10});
    identity.name = std::move(name);
    identity.volume = std::move(volume);
    identity.state = state;
    return identity;
}

TEST(FileIdentity, RelationsRelyOnWhatEachMay) {
    const FileState state{5, {100, 0}};
    const FileState written{6, {101, 0}};
    struct Row {
        const char* what;
        FileIdentity left, right;
        bool equal, stored, renamed, storedRenamed;
    };
    for (const auto& [what, left, right, equal, stored, renamed, storedRenamed] : std::vector<Row>{
             {"same", real(1, 2, FileTime{3}), real(1, 2, FileTime{3}), true, true, true, true},
             {"inode handed out again", real(1, 2, FileTime{3}), real(1, 2, FileTime{3, 1}), false, false,
              false, false},
             {"other device number after a restart", real(1, 2, FileTime{3}), real(9, 2, FileTime{3}), false,
              true, false, true},
             {"stored without birth", real(1, 2, {}), real(9, 2, FileTime{3}), false, true, false, true},
             {"other inode", real(1, 2, {}), real(1, 3, {}), false, false, false, false},
             {"invented", invented(1, "a", "v", state), invented(1, "a", "v", state), true, true, true, true},
             {"invented, written to", invented(1, "a", "v", state), invented(1, "a", "v", written), true,
              true, false, false},
             {"invented, renamed", invented(1, "a", "v", state), invented(1, "b", "v", state), false, false,
              true, true},
             {"invented, restarted", invented(1, "a", "v", state), invented(2, "a", "v", state), false, true,
              false, true},
             {"invented, other volume", invented(1, "a", "v", state), invented(2, "a", "w", state), false,
              false, false, false},
             {"only one invented", invented(1, "a", "v", state), real(1, 99, FileTime{1, 10}), false, false,
              false, false},
         }) {
        SCOPED_TRACE(what);
        EXPECT_EQ(left == right, equal);
        EXPECT_EQ(isSameStoredFile(left, right), stored);
        EXPECT_EQ(isSameAcrossRename(left, right), renamed);
        EXPECT_EQ(isSameStoredAcrossRename(left, right), storedRenamed);
        if (equal) {
            EXPECT_EQ(std::hash<FileIdentity>{}(left), std::hash<FileIdentity>{}(right));
        }
    }
}

TEST(FileIdentity, RecordRequiresDeviceAndInodeOnly) {
    const FileIdentity full = invented(1, "é.pdf", "uuid:1", {5, {-100, 999'999'999}});
    const auto back = fileIdentityFromJson(toJson(full));
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, full);
    EXPECT_EQ(back->state, full.state);
    EXPECT_EQ(back->volume, full.volume);
    const auto bare = fileIdentityFromJson(*parseJson(R"({"device":18446744073709551615,"inode":2})"));
    ASSERT_TRUE(bare);
    EXPECT_EQ(*bare, real(UINT64_MAX, 2, {}));
    for (const std::string_view bad :
         {R"({"device":1})", R"({"inode":1})", R"({"device":-1,"inode":2})", "[]",
          R"({"device":1,"inode":2,"birth":3})", R"({"device":1,"inode":2,"birth":[1]})",
          R"({"device":1,"inode":2,"birth":[1,1000000000]})", R"({"device":1,"inode":2,"name":3})",
          R"({"device":1,"inode":2,"size":3})"})
        EXPECT_FALSE(fileIdentityFromJson(*parseJson(bad))) << bad;
}

TEST(FileIdentity, OutlivesARenameAndTellsAReplacementWithTheSameInode) {
    const TestFolder folder;
    const auto path = write(folder / "a", "1");
    const auto before = FileIdentity::of(path);
    ASSERT_TRUE(before && before->birth);
    std::filesystem::rename(path, folder / "b");
    std::filesystem::create_symlink("b", path);
    EXPECT_EQ(FileIdentity::of(folder / "b"), before);
    EXPECT_NE(FileIdentity::of(path), before) << "a link's identity is its own";
    EXPECT_FALSE(FileIdentity::of(folder / "none"));

    // ext4 hands the number out again at once; other disks may take many tries or never do.
    bool cameBack = false;
    for (int attempt = 0; attempt < 200 && !cameBack; ++attempt) {
        std::filesystem::remove(folder / "b");
        // Births are stamped by the kernel's tick, which a busy machine may miss.
        std::this_thread::sleep_for(std::chrono::milliseconds(attempt == 0 ? 100 : 10));
        write(folder / "b", "2");
        const auto after = FileIdentity::of(folder / "b");
        ASSERT_TRUE(after);
        cameBack = after->inode == before->inode;
        EXPECT_NE(after, before);
    }
    if (!cameBack)
        GTEST_SKIP() << "this disk did not hand the inode out again";
}

TEST(FileIdentity, TakesTheNameWhereInodesAreInvented) {
    FakeDisk disk;
    disk.invents = true;
    disk.add("/d/a", "1");
    const auto before = FileIdentity::of("/d/a", disk);
    EXPECT_EQ(before->name, "a");
    EXPECT_EQ(before->volume, "uuid:CAFE-0001");
    disk.files["/d/b"] = disk.files["/d/a"];
    EXPECT_NE(FileIdentity::of("/d/b", disk), before);
    EXPECT_TRUE(isSameAcrossRename(*before, *FileIdentity::of("/d/b", disk)));
    disk.files["/e/a"] = disk.files["/d/a"];
    EXPECT_NE(FileIdentity::of("/e/a", disk), before);
    EXPECT_TRUE(isSameStoredFile(*before, *FileIdentity::of("/e/a", disk)));
}

TEST(FileIdentity, KnowsRealDisksThatInventInodes) {
    const TestMount mount(MountKind::bindfs);
    if (!mount.path)
        GTEST_SKIP() << "bindfs may not be mounted here; the fake disk above invents inodes";
    const auto identity = FileIdentity::of(write(*mount.path / "a", "1"));
    ASSERT_TRUE(identity);
    EXPECT_EQ(identity->name, "a");
    ASSERT_TRUE(identity->volume);
    EXPECT_TRUE(identity->volume->starts_with("fuse")) << *identity->volume;
    std::filesystem::create_directory_symlink(*mount.path, *mount.path / "link");
    EXPECT_EQ(FileIdentity::of(*mount.path / "link" / "a"), identity);
}

} // namespace
} // namespace vesto
