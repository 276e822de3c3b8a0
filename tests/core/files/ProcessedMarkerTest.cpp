#include "core/files/ProcessedMarker.h"

#include "tests/core/RandomText.h"
#include "tests/core/files/FakeDisk.h"
#include "tests/core/files/TestFolder.h"

#include <optional>

namespace vesto {
namespace {

using ProcessedMarker::Marker;
using ProcessedMarker::State;

constexpr std::string_view sample =
    R"({"version":1,"state":"renamed","originalName":"IMG_0042.HEIC","date":763042312.52})";
const Instant sampleDate = referenceDate + std::chrono::milliseconds(763'042'312'520);

TEST(ProcessedMarker, IsFourKeysInOrder) {
    EXPECT_EQ(ProcessedMarker::encode({1, State::renamed, "IMG_0042.HEIC", sampleDate}), sample);
}

TEST(ProcessedMarker, ReadsOnlyAWholeMarker) {
    const Marker marker{1, State::skipped, "é\"", referenceDate - std::chrono::seconds(2)};
    EXPECT_EQ(ProcessedMarker::decode(ProcessedMarker::encode(marker)), marker);
    EXPECT_TRUE(ProcessedMarker::decode(
        R"( {"more":[],"date":0,"originalName":"","state":"ignored","version":-3} )"));
    for (const std::string_view bad :
         {"", "{}", "null", "\xFF\xFE", R"({"version":1,"state":"renamed","originalName":"a"})",
          R"({"version":1,"state":"renamed","date":1})", R"({"version":1,"originalName":"a","date":1})",
          R"({"state":"renamed","originalName":"a","date":1})",
          R"({"version":1,"state":"moved","originalName":"a","date":1})",
          R"({"version":"1","state":"renamed","originalName":"a","date":1})",
          R"({"version":1,"state":"renamed","originalName":"a","date":1e300})"})
        EXPECT_FALSE(ProcessedMarker::decode(bad)) << bad;
}

TEST(ProcessedMarker, TakesAnyBytes) {
    RandomText random(2);
    for (int round = 0; round < 5000; ++round) {
        std::string bytes(sample);
        for (std::size_t edits = 1 + random.below(4); edits > 0; --edits)
            bytes.replace(random.below(bytes.size()), random.below(3), random.bytes(3));
        if (const auto marker = ProcessedMarker::decode(bytes)) {
            EXPECT_EQ(ProcessedMarker::decode(ProcessedMarker::encode(*marker)), marker) << bytes;
        }
    }
}

TEST(ProcessedMarker, StandsOnTheFileItself) {
    const TestFolder folder;
    const auto file = write(folder / "a", "1");
    const auto damaged = write(folder / "b", "1");
    EXPECT_FALSE(ProcessedMarker::isMarked(file));
    EXPECT_FALSE(ProcessedMarker::read(file));
    ASSERT_TRUE(ProcessedMarker::write(file, State::ignored, "x", sampleDate));
    ASSERT_TRUE(ProcessedMarker::write(file, State::renamed, "IMG_0042.HEIC", sampleDate));
    std::string raw(200, '\0');
    const auto size = ::getxattr(file.c_str(), "user.com.vesto.processed", raw.data(), raw.size());
    EXPECT_EQ(raw.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0))), sample);
    EXPECT_EQ(ProcessedMarker::read(file), (Marker{1, State::renamed, "IMG_0042.HEIC", sampleDate}));

    ::setxattr(damaged.c_str(), ProcessedMarker::attributeName, "", 0, 0);
    EXPECT_FALSE(ProcessedMarker::isMarked(damaged));
    ::setxattr(damaged.c_str(), ProcessedMarker::attributeName, "?", 1, 0);
    EXPECT_TRUE(ProcessedMarker::isMarked(damaged));
    EXPECT_FALSE(ProcessedMarker::read(damaged));

    std::filesystem::create_symlink("b", folder / "link");
    EXPECT_EQ(ProcessedMarker::write(folder / "link", State::renamed, "x", sampleDate).error(),
              RenameError::system(EPERM)); // the kernel allows no user attribute on a link
    EXPECT_EQ(contentOf(damaged), "1");
    EXPECT_EQ(ProcessedMarker::write(folder / "none", State::renamed, "x", sampleDate).error(),
              RenameError::system(ENOENT));
}

TEST(ProcessedMarker, AValueThatChangesWhileItIsReadIsNone) {
    FakeDisk disk;
    disk.add("/a", "");
    ASSERT_TRUE(ProcessedMarker::write("/a", State::renamed, "x", sampleDate, disk));
    EXPECT_TRUE(ProcessedMarker::read("/a", disk));
    disk.beforeCall = [&](int call) {
        if (call == disk.calls && disk.files.contains("/a"))
            disk.files["/a"]->attributes[ProcessedMarker::attributeName] += ' ';
        return 0;
    };
    EXPECT_FALSE(ProcessedMarker::read("/a", disk));
}

TEST(ProcessedMarker, ADiskWithoutAttributesSaysSo) {
    FakeDisk disk;
    disk.add("/a", "");
    disk.attributeAnswer = EOPNOTSUPP;
    EXPECT_EQ(ProcessedMarker::write("/a", State::renamed, "x", sampleDate, disk).error(),
              RenameError::system(EOPNOTSUPP));
    const TestMount mount(MountKind::ramfs);
    if (!mount.path)
        GTEST_SKIP() << "ramfs may not be mounted here; the fake disk above has no attributes";
    EXPECT_EQ(ProcessedMarker::write(write(*mount.path / "a", "1"), State::renamed, "x", sampleDate).error(),
              RenameError::system(EOPNOTSUPP));
}

} // namespace
} // namespace vesto
