// Kills the application before a system call by which it changes a disk, starts it again, and looks whether
// what it says is true. A part of the calls is tried, evenly spread; VESTO_KILLS=each in the environment
// tries every one, and VESTO_KILLS=all every one of the start after it as well.
#include "tests/app/support/Killer.h"
#include "tests/app/support/Life.h"
#include "tests/app/support/Truth.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace vesto {
namespace {

using Watching = AppModel::Watching;
using Names = std::multimap<std::string, std::string>;

const std::string invoice = "Facture eau avril\n";
const std::string receipt = "Quittance eau mai\n";         // of the same size
const std::string copy = "Facture eau avril\nDuplicata\n"; // gets the same title
const std::string poor = "12\n";                           // gets none

/// A piece of a user's day: what came before, and what the process does that is killed.
struct Day {
    const char* name;
    bool automatic;
    DiskTrait trait;
    bool (*before)(Life& life); // null: nothing
    bool (*killed)(Life& life);
    bool hasSecondName = false; // the user's own hard link to a file
};

bool isAtRest(Life& life) {
    return life.model().jobCount() == 0;
}

std::size_t rowsOf(Life& life, RenameRecord::Status status) {
    const auto rows = life.store().history("", 1000).value();
    return static_cast<std::size_t>(std::ranges::count(rows, status, &RenameRecord::status));
}

/// Everything that came is renamed by itself, but for the file without a title.
bool renameAll(Life& life) {
    return life.start(Watching::asSet) &&
           life.runUntil([&] { return rowsOf(life, RenameRecord::Status::done) >= 3 && isAtRest(life); }) &&
           life.finish();
}

bool proposeAll(Life& life) {
    return life.start(Watching::asSet) &&
           life.runUntil([&] { return life.model().pending().size() >= 3 && isAtRest(life); }) &&
           life.finish();
}

bool answerAll(Life& life) {
    if (!life.start() || life.model().pending().size() != 3)
        return false;
    const auto id = [&](std::size_t index) { return life.model().pending()[index].proposal.id; };
    const auto first = life.ask([&](auto done) { life.model().accept(id(0), std::move(done)); });
    const auto second = life.ask([&](auto done) { life.model().accept(id(0), "Un titre", std::move(done)); });
    life.model().rejectAll({id(0)});
    return first && *first && second && *second && life.finish();
}

bool undoAll(Life& life) {
    if (!life.start())
        return false;
    const auto rows = life.store().history("", 1000).value();
    for (const RenameRecord& row : rows)
        if (const auto undone = life.ask([&](auto done) { life.model().undo(row.id, std::move(done)); });
            !undone || !*undone)
            return false;
    return life.finish();
}

bool batch(Life& life) {
    auto& model = life.model();
    if (!life.start())
        return false;
    const std::string id = model.startBatch(model.folders().front().path);
    return life.runUntil([&] { return !model.batch()->isAnalysing(); }) &&
           life.await([&](const auto& done) { model.renameSelected(done); }) &&
           life.await([&](const auto& done) { model.undoBatch(id, done); }) && life.finish();
}

constexpr Day days[] = {
    {"renames by itself", true, DiskTrait::none, nullptr, renameAll},
    {"renames by itself by links", true, DiskTrait::needsLinks, nullptr, renameAll},
    {"renames by itself without marks", true, DiskTrait::noAttributes, nullptr, renameAll},
    {"proposes", false, DiskTrait::none, nullptr, proposeAll},
    {"is answered", false, DiskTrait::none, proposeAll, answerAll},
    {"is answered by links", false, DiskTrait::needsLinks, proposeAll, answerAll},
    {"undoes", true, DiskTrait::none, renameAll, undoAll},
    {"undoes by links", true, DiskTrait::needsLinks, renameAll, undoAll},
    {"undoes without marks", true, DiskTrait::noAttributes, renameAll, undoAll},
    {"renames a batch and undoes it", false, DiskTrait::none, nullptr, batch},
    {"renames beside a link of the user's", true, DiskTrait::none, nullptr, renameAll, true},
};

/// Which kills are tried: before every so many calls of a day, and of the start after it (0: none).
struct Strides {
    int day;
    int start;
};

Strides strides(Strides brief) {
    const char* wish = std::getenv("VESTO_KILLS");
    const std::string_view word = wish == nullptr ? "" : wish;
    if (word == "all")
        return {1, 1};
    return word == "each" ? Strides{1, brief.start} : brief;
}

struct Tally {
    int kills = 0;
    int days = 0;
    std::vector<std::string> faults;
};

/// Leads one day again and again on a disk, each time to another end.
class Matrix {
public:
    /// `files`: a folder on the disk. `data`: where Vesto keeps its own.
    Matrix(const Day& day, std::filesystem::path files, std::filesystem::path data,
           bool forgetsIntentions = false)
        : m_day(day)
        , m_files(std::move(files))
        , m_data(std::move(data))
        , m_forgetsIntentions(forgetsIntentions) {
        m_disk.setHook([trait = day.trait](HookedDisk::Call call, const std::filesystem::path&) {
            return answerOf(trait, call);
        });
    }

    /// False where this machine lets no process be traced.
    bool run(Tally& tally, Strides strides) {
        ++tally.days;
        for (int fatal = 1 + strides.day / 2;; fatal += strides.day) {
            if (!prepare(tally))
                return true;
            const killer::End end = lead(m_day.killed, fatal);
            if (end.isForbidden)
                return false;
            if (!end.wasKilled) {
                if (end.status != 0)
                    note(tally, fatal, 0, fmt::format("ended with {}", end.status));
                recoverAndCheck(tally, fatal, 0);
                return true;
            }
            ++tally.kills;
            recoverAndCheck(tally, fatal, 0);
            for (int second = 1 + strides.start / 2; strides.start > 0 && prepare(tally);
                 second += strides.start) {
                lead(m_day.killed, fatal);
                const killer::End start = lead(recovery, second);
                recoverAndCheck(tally, fatal, second);
                if (!start.wasKilled)
                    break;
                tally.kills += 2;
            }
        }
    }

private:
    static bool recovery(Life& life) { return life.start() && life.store().unsettled().value().empty(); }

    /// A fresh home in which nothing has been killed yet.
    bool prepare(Tally& tally) {
        m_home = {m_files / std::to_string(m_count), m_data / std::to_string(m_count)};
        ++m_count;
        settle(m_home, m_day.automatic);
        m_names.clear();
        for (const auto& [name, content] : {std::pair{"scan 1.txt", &invoice},
                                            {"scan 2.txt", &receipt},
                                            {"scan 3.txt", &copy},
                                            {"scan 4.txt", &poor}}) {
            write(m_home.files / name, *content);
            m_names.emplace(*content, name);
        }
        // Where inodes are invented, only care tells these two apart.
        std::filesystem::last_write_time(m_home.files / "scan 2.txt",
                                         std::filesystem::last_write_time(m_home.files / "scan 1.txt"));
        if (m_day.hasSecondName) {
            std::filesystem::create_hard_link(m_home.files / "scan 1.txt", m_home.files / "mine.bin");
            m_names.emplace(invoice, "mine.bin");
        }
        if (m_day.before == nullptr)
            return true;
        const killer::End end = lead(m_day.before, 0);
        if (end.status != 0)
            note(tally, 0, 0, fmt::format("what came before ended with {}", end.status));
        return end.status == 0;
    }

    killer::End lead(bool (*part)(Life& life), int fatal) {
        return killer::run(
            [&] {
                Life life(m_home, m_disk);
                return part(life) ? 0 : 1;
            },
            fatal);
    }

    void recoverAndCheck(Tally& tally, int fatal, int second) {
        if (m_forgetsIntentions)
            forgetIntentions(m_home);
        if (const killer::End end = lead(recovery, 0); end.status != 0)
            note(tally, fatal, second, fmt::format("the next start ended with {}", end.status));
        {
            const auto store = Store::open(m_home.storeFile());
            if (!store)
                note(tally, fatal, second, "the store: " + store.error().description);
            else
                for (const std::string& fault : Truth(m_names).faults(m_home.files, *store, m_disk))
                    note(tally, fatal, second, fault);
        }
        std::filesystem::remove_all(m_home.files);
        std::filesystem::remove_all(m_home.data);
    }

    void note(Tally& tally, int fatal, int second, const std::string& fault) const {
        tally.faults.push_back(
            fmt::format("{}, killed before call {}{}: {}", m_day.name, fatal,
                        second == 0 ? "" : fmt::format(" and at the start before {}", second), fault));
    }

    Day m_day;
    std::filesystem::path m_files;
    std::filesystem::path m_data;
    bool m_forgetsIntentions;
    HookedDisk m_disk;
    Home m_home;
    Names m_names;
    int m_count = 0;
};

/// Where a matrix is run, and what is tried there.
class KillMatrix : public testing::Test {
protected:
    /// Leads all days on a disk; `data` beside the files where it is none.
    static void leadAll(const std::filesystem::path& files, const std::filesystem::path& data,
                        bool isForeign = false, Strides brief = {12, 0}) {
        Tally tally;
        for (const Day& day : days) {
            if (isForeign && day.trait != DiskTrait::none)
                continue; // the disk has traits of its own
            SCOPED_TRACE(day.name);
            Matrix matrix(day, files / std::to_string(tally.days), data / std::to_string(tally.days));
            const int before = tally.kills;
            if (!matrix.run(tally, strides(brief)))
                GTEST_SKIP() << "NOT RUN: this machine lets no process be traced";
            fmt::print("{}: killed {} times\n", day.name, tally.kills - before);
            std::fflush(stdout); // the whole takes long
        }
        for (const std::string& fault : tally.faults)
            ADD_FAILURE() << fault;
        fmt::print("killed {} times in {} kinds of days, {} faults\n", tally.kills, tally.days,
                   tally.faults.size());
        EXPECT_GT(tally.kills, 20) << "hardly anything was tried";
    }

    static void leadAllOn(MountKind kind) {
        const TestFolder data;
        const TestMount mount(kind);
        if (!mount.path)
            GTEST_SKIP() << "NOT RUN: this machine may not mount such a disk";
        leadAll(*mount.path, data.path(), true);
    }
};

TEST_F(KillMatrix, LosesNothingAndTellsTheTruth) {
    const TestFolder folder;
    leadAll(folder / "files", folder / "data");
}

TEST_F(KillMatrix, LosesNothingWhereTheNextStartIsKilledToo) {
    const TestFolder folder;
    leadAll(folder / "files", folder / "data", false, {50, 8});
}

TEST_F(KillMatrix, LosesNothingInMemory) {
    std::string pattern = "/dev/shm/vesto-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr)
        GTEST_SKIP() << "NOT RUN: there is no /dev/shm";
    const std::filesystem::path folder = pattern;
    leadAll(folder / "files", folder / "data");
    std::filesystem::remove_all(folder);
}

TEST_F(KillMatrix, LosesNothingOnBindfs) {
    leadAllOn(MountKind::bindfs);
}

TEST_F(KillMatrix, LosesNothingOnNtfs) {
    leadAllOn(MountKind::ntfs3g);
}

/// What proves the rest: were renames not written down first, this would show.
TEST_F(KillMatrix, FindsFaultsWhereNothingIsWrittenDownFirst) {
    const TestFolder folder;
    Tally tally;
    Matrix matrix(days[0], folder / "files", folder / "data", /*forgetsIntentions=*/true);
    if (!matrix.run(tally, {3, 0}))
        GTEST_SKIP() << "NOT RUN: this machine lets no process be traced";
    fmt::print("killed {} times, {} faults\n", tally.kills, tally.faults.size());
    EXPECT_TRUE(std::ranges::any_of(tally.faults, [](const std::string& fault) {
        return fault.ends_with("and no row says so");
    })) << "a rename that nothing tells of went unseen";
}

} // namespace
} // namespace vesto
