#include "core/files/FileEligibility.h"

#include "core/files/ProcessedMarker.h"
#include "core/support/Clock.h"
#include "core/support/UniqueFd.h"
#include "tests/core/files/FakeDisk.h"
#include "tests/core/files/TestFolder.h"

#include <linux/fs.h>
#include <sys/ioctl.h>

namespace vesto {
namespace {

using FileEligibility::check;
using FileEligibility::Options;
using FileEligibility::Rejection;

/// Each rule alone, and against the rules after it: a file that breaks them all from one rule on.
TEST(FileEligibility, TakesTheFirstRuleThatRejects) {
    const Options strict{.genericOnly = true, .notBefore = Instant(std::chrono::seconds(2'000'000'000))};
    struct Row {
        std::string name;
        std::optional<Rejection> plain, withOptions;
        bool exists = true, regular = true, immutable = false, marked = false;
    };
    const auto nothing = std::nullopt;
    for (const Row& row : std::vector<Row>{
             {".DS_Store", Rejection::hidden, Rejection::hidden, false},
             {".a.part", Rejection::hidden, Rejection::hidden, false},
             {"rapport.pdf.crdownload", Rejection::temporary, Rejection::temporary, false},
             {".~lock.rapport.odt#", Rejection::hidden, Rejection::hidden},
             {"~$rapport.docx", Rejection::temporary, Rejection::temporary},
             {"notes.txt.kate-swp", Rejection::temporary, Rejection::temporary},
             {"notes.swp", Rejection::temporary, Rejection::temporary},
             {"film.PART", Rejection::temporary, Rejection::temporary, false},
             {"rapport.pdf", Rejection::missing, Rejection::missing, false},
             {"rapport.pdf", Rejection::notRegularFile, Rejection::notRegularFile, true, false, true, true},
             {"rapport.inconnu", Rejection::locked, Rejection::locked, true, true, true, true},
             {"rapport.inconnu", Rejection::unsupported, Rejection::unsupported, true, true, false, true},
             {"rapport.pdf", Rejection::processed, Rejection::processed, true, true, false, true},
             {"Vacances en Bretagne.jpg", nothing, Rejection::notGeneric},
             {"IMG_1234.jpg", nothing, Rejection::tooOld},
             {"part.pdf", nothing, Rejection::notGeneric},
         }) {
        SCOPED_TRACE(row.name);
        FakeDisk disk;
        const std::string path = "/d/" + row.name;
        if (row.exists) {
            disk.add(path, "x");
            disk.files[path]->status.isRegular = row.regular;
            disk.files[path]->status.isImmutable = row.immutable;
            if (row.marked)
                disk.files[path]->attributes[ProcessedMarker::attributeName] = "?";
        }
        EXPECT_EQ(check(path, {}, disk), row.plain);
        EXPECT_EQ(check(path, strict, disk), row.withOptions);
        if (row.plain == Rejection::hidden || row.plain == Rejection::temporary) {
            EXPECT_EQ(disk.calls, 0);
        }
    }
}

TEST(FileEligibility, AgeCountsWholeSecondsAndTwoMore) {
    FakeDisk disk;
    disk.add("/a.pdf", "x");
    FileStatus& status = disk.files["/a.pdf"]->status;
    const auto at = [](std::int64_t seconds) {
        return Options{.notBefore = Instant(std::chrono::seconds(seconds))};
    };
    status.birth = FileTime{998, 900'000'000};
    EXPECT_EQ(check("/a.pdf", at(1000), disk), std::nullopt);
    EXPECT_EQ(check("/a.pdf", {.notBefore = Instant(std::chrono::microseconds(1'000'000'001))}, disk),
              Rejection::tooOld);
    status.birth = FileTime{997, 999'999'999};
    EXPECT_EQ(check("/a.pdf", at(1000), disk), Rejection::tooOld);
    status.birth = std::nullopt;
    status.changed = {998};
    EXPECT_EQ(check("/a.pdf", at(1000), disk), std::nullopt);
    status.birth = FileTime{INT64_MIN}; // a damaged disk
    EXPECT_EQ(check("/a.pdf", at(1000), disk), Rejection::tooOld);
}

TEST(FileEligibility, SeesARealFolderAsItIs) {
    const TestFolder folder;
    const Instant before = systemClock().now();
    const auto file = write(folder / "a.pdf", "%PDF-1.7");
    std::filesystem::create_symlink("a.pdf", folder / "link.pdf");
    std::filesystem::create_directory(folder / "folder.pdf");
    EXPECT_EQ(check(file, {.notBefore = before}), std::nullopt);
    EXPECT_EQ(check(folder / "link.pdf", {}), Rejection::notRegularFile);
    EXPECT_EQ(check(folder / "folder.pdf", {}), Rejection::notRegularFile);
    EXPECT_EQ(check(folder / "none.pdf", {}), Rejection::missing);
    EXPECT_EQ(check(write(folder / "sans extension", "%PDF-1.7 and more"), {}), std::nullopt);
    EXPECT_EQ(check(write(folder / "pas encore écrit", ""), {}), std::nullopt);
    EXPECT_EQ(check(write(folder / "autre", "\x01\x02\x03"), {}), Rejection::unsupported);
    ASSERT_TRUE(ProcessedMarker::write(file, ProcessedMarker::State::skipped, "a.pdf", systemClock().now()));
    EXPECT_EQ(check(file, {}), Rejection::processed);

    const auto locked = write(folder / "verrou.pdf", "x");
    const UniqueFd fd(::open(locked.c_str(), O_RDONLY | O_CLOEXEC));
    int flags = FS_IMMUTABLE_FL;
    if (::ioctl(fd.get(), FS_IOC_SETFLAGS, &flags) != 0)
        GTEST_SKIP() << "no file may be made immutable here; the table above has one";
    EXPECT_EQ(check(locked, {}), Rejection::locked);
    flags = 0;
    EXPECT_EQ(::ioctl(fd.get(), FS_IOC_SETFLAGS, &flags), 0);
}

} // namespace
} // namespace vesto
