#include "core/files/FileStabilizer.h"

#include "tests/core/files/FakeDisk.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using End = FileStabilizer::End;

/// Time passes in sleep alone, and nothing sleeps too long.
class SteppingClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override { return wallTime; }
    [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override { return time; }
    [[nodiscard]] bool sleepUntil(std::chrono::nanoseconds until,
                                  const std::stop_token& stop) const override {
        time = until;
        if (passed)
            passed();
        return !stop.stop_requested();
    }
    Instant wallTime = referenceDate;
    mutable std::chrono::nanoseconds time = 1h;
    std::function<void()> passed;
};

struct Settled {
    End end;
    milliseconds after;
    bool operator==(const Settled&) const = default;
};

void PrintTo(const Settled& settled, std::ostream* stream) {
    *stream << "end " << static_cast<int>(settled.end) << " after " << settled.after.count() << " ms";
}

constexpr const char* path = "/d/a.odt";
constexpr const char* lockPath = "/d/.~lock.a.odt#";

/// As the application waits, beside an office program that runs.
FileStabilizer besideOffice() {
    FileStabilizer stabilizer;
    stabilizer.officeProgramRuns = [] { return true; };
    return stabilizer;
}

/// `script` plays the other program: it is called after each sleep with the time since the start.
Settled settle(FakeDisk& disk, const std::function<void(milliseconds)>& script,
               const FileStabilizer& stabilizer = besideOffice(),
               std::optional<FileStabilizer::Look> earlier = std::nullopt) {
    SteppingClock clock;
    const auto start = clock.time;
    const auto sinceStart = [&] { return std::chrono::duration_cast<milliseconds>(clock.time - start); };
    std::stop_source stop;
    clock.passed = [&] {
        if (script)
            script(sinceStart());
        if (!disk.files.contains("/stop"))
            return;
        stop.request_stop();
    };
    const auto settling = stabilizer.settle(path, stop.get_token(), earlier, disk, clock);
    return {settling.end, sinceStart()};
}

TEST(FileStabilizer, WaitsAsLongAsItMustAndNoLonger) {
    using Script = std::function<void(milliseconds, FakeDisk&)>;
    const auto touch = [](FakeDisk& disk) { ++disk.files[path]->status.modified.nanoseconds; };
    struct Row {
        const char* what;
        Script script;
        Settled expected;
        std::string content = "text";
        FileStabilizer stabilizer = besideOffice();
    };
    for (const Row& row : std::vector<Row>{
             {"complete when it appeared", {}, {End::stable, 2000ms}},
             {"a new time alone begins the wait again",
              [&](milliseconds at, FakeDisk& disk) {
                  if (at == 1500ms)
                      touch(disk);
              },
              {End::stable, 3500ms}},
             {"as does a new size",
              [](milliseconds at, FakeDisk& disk) {
                  if (at == 2000ms)
                      ++disk.files[path]->status.size;
              },
              {End::stable, 4000ms}},
             {"an empty file is told after the quiet period", {}, {End::empty, 2000ms}, ""},
             {"what never stands still",
              [&](milliseconds, FakeDisk& disk) { touch(disk); },
              {End::restless, 120000ms}},
             {"quiet just as the time runs out",
              [&](milliseconds at, FakeDisk& disk) {
                  if (at <= 118000ms)
                      touch(disk);
              },
              {End::stable, 120000ms}},
             {"deleted",
              [](milliseconds at, FakeDisk& disk) {
                  if (at == 1000ms)
                      disk.files.erase(path);
              },
              {End::gone, 1000ms}},
             {"no time at all", {}, {End::restless, 0ms}, "text", {.timeout = 0s}},
             {"the sleep ends early",
              [](milliseconds at, FakeDisk& disk) {
                  if (at == 500ms)
                      disk.add("/stop", "");
              },
              {End::cancelled, 500ms}},
             {"open in an office program",
              [](milliseconds at, FakeDisk& disk) {
                  if (at == 1000ms)
                      disk.add(lockPath, "");
              },
              {End::held, 2000ms}},
             {"closed there in time",
              [](milliseconds at, FakeDisk& disk) {
                  if (at == 500ms)
                      disk.add(lockPath, "");
                  if (at == 1500ms)
                      disk.files.erase(lockPath);
              },
              {End::stable, 2000ms}},
         }) {
        SCOPED_TRACE(row.what);
        FakeDisk disk;
        disk.add(path, row.content);
        EXPECT_EQ(settle(
                      disk, [&](milliseconds at) { return row.script ? row.script(at, disk) : void(); },
                      row.stabilizer),
                  row.expected);
    }
}

TEST(FileStabilizer, AFirstLookThatFailsIsNotTheLast) {
    FakeDisk disk;
    const auto appear = [&](milliseconds at) {
        if (at == 500ms)
            disk.add(path, "text");
    };
    EXPECT_EQ(settle(disk, appear), (Settled{End::stable, 2500ms}));
    disk.files.clear();
    EXPECT_EQ(settle(disk, {}), (Settled{End::gone, 500ms}));
}

TEST(FileStabilizer, NeedNotWaitForWhatStoodStillBefore) {
    FakeDisk disk;
    disk.add(path, "text");
    const FileStatus& status = disk.files[path]->status;
    const FileState state{status.size, status.modified};
    const auto after = [&](milliseconds ago, FileState seen) {
        return settle(disk, {}, besideOffice(), FileStabilizer::Look{seen, 1h - ago});
    };
    EXPECT_EQ(after(2000ms, state), (Settled{End::stable, 0ms}));
    EXPECT_EQ(after(1200ms, state), (Settled{End::stable, 1000ms}));
    EXPECT_EQ(after(9000ms, {1, status.modified}), (Settled{End::stable, 2000ms}));
    disk.add(lockPath, "");
    EXPECT_EQ(after(9000ms, state), (Settled{End::held, 0ms}));
}

TEST(OfficeLock, SaysNothingOnceItsProgramIsGone) {
    struct Row {
        const char* what;
        bool programRuns;
        std::chrono::seconds age;
        std::chrono::seconds sinceBoot;
        bool isHeld;
    };
    for (const Row& row : std::vector<Row>{{"held", true, 2h, 3h, true},
                                           {"by a clock that goes ahead", true, -1min, 3h, true},
                                           {"no such program runs", false, 2h, 3h, false},
                                           {"the machine was started since", true, 3h, 2h, false},
                                           {"for more than a day", true, 25h, 100h, false}}) {
        SCOPED_TRACE(row.what);
        FakeDisk disk;
        disk.add(lockPath, "");
        SteppingClock clock;
        clock.time = row.sinceBoot;
        clock.wallTime =
            Instant(std::chrono::seconds(disk.files[lockPath]->status.modified.seconds)) + row.age;
        const OfficeLock lock(path, row.programRuns ? +[] { return true; } : +[] { return false; });
        EXPECT_EQ(lock.isHeld(disk, clock), row.isHeld);
        EXPECT_FALSE(OfficeLock("/d/b.odt", [] { return true; }).isHeld(disk, clock));
    }
}

} // namespace
} // namespace vesto
