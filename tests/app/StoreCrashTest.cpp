#include "app/model/Store.h"
#include "tests/app/FaultyVfs.h"
#include "tests/app/StoreSamples.h"
#include "tests/core/files/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace vesto {
namespace {

/// All that a store says.
struct Everything {
    std::vector<RenameRecord> rows;
    std::vector<RenameRecord> found;
    std::vector<WatchedFolder> folders;
    std::vector<PendingProposal> pending;
    std::optional<ProcessedMarker::Marker> remembered;

    bool operator==(const Everything&) const = default;

    static Everything of(const Store& store) {
        Everything everything = withoutSearch(store);
        everything.found = store.history("facture", 50).value();
        return everything;
    }
    static Everything withoutSearch(const Store& store) { // which takes most of the time
        return {store.history("", 50).value(),
                {},
                store.folders().value(),
                store.pending().value(),
                store.remembered(identity(1)).value()};
    }
};

using Step = std::function<Store::Result<void>(Store&)>;

/// One of every change, on a store that is about to write a block of names.
std::vector<Step> everyChange() {
    const RenameRecord added = record("Facture ajoutée", 2'000);
    RenameRecord changed = added;
    changed.newName = "Facture ajoutée 2";
    changed.status = RenameRecord::Status::done;
    WatchedFolder folder;
    folder.addedAt = at(1);
    const PendingProposal waiting = proposal();
    std::vector<RenameRecord> many;
    for (int number = 0; number < 30; ++number)
        many.push_back(record("Facture groupée", 3'000 + number));
    return {
        [=](Store& store) { return store.save(added); },
        [=](Store& store) { return store.save(changed); },
        [=](Store& store) { return store.save(many); },
        [=](Store& store) { return store.save(folder); },
        [=](Store& store) { return store.save(waiting); },
        [=](Store& store) { return store.remember(identity(1), {.originalName = "x", .date = at(1)}); },
        [=](Store& store) { return store.removeRecord(added.id); },
        [=](Store& store) { return store.removePending(waiting.proposal.id); },
        [=](Store& store) { return store.forget(identity(1)); },
        [=](Store& store) { return store.removeFolder(folder.id); },
    };
}

std::filesystem::path makeStore(const std::filesystem::path& folder) {
    const auto file = folder / "history.sqlite";
    std::vector<RenameRecord> rows;
    for (int number = 0; number < 500; ++number)
        rows.push_back(record(number % 2 == 0 ? "Facture" : "Relevé", number));
    EXPECT_TRUE(Store::open(file).value().save(rows));
    return file;
}

void copyStore(const std::filesystem::path& from, const std::filesystem::path& folder) {
    std::filesystem::create_directory(folder);
    for (const char* ending : {"", "-wal"})
        if (std::filesystem::exists(from.native() + ending))
            std::filesystem::copy_file(from.native() + ending,
                                       folder / (std::string("history.sqlite") + ending));
}

TEST(StoreCrash, HoldsWhatItSaidItHeldWhenTheMachineStops) {
    const TestFolder folder;
    Store store = Store::open(makeStore(folder.path())).value();
    int image = 0;
    for (const Step& step : everyChange()) {
        ASSERT_TRUE(step(store));
        // What stands on the disk now, without a word of farewell.
        const auto expected = Everything::of(store);
        const auto copy = folder / std::to_string(++image);
        copyStore(folder / "history.sqlite", copy);
        EXPECT_EQ(Everything::of(Store::open(copy / "history.sqlite").value()), expected) << image;
    }
}

TEST(StoreCrash, IsAsBeforeOrAfterWhenAnyWriteFails) {
    const TestFolder folder;
    const auto original = makeStore(folder.path());
    const auto steps = everyChange();
    int failures = 0;
    for (const FaultyVfs::Fault fault :
         {FaultyVfs::Fault::full, FaultyVfs::Fault::writeError, FaultyVfs::Fault::syncError})
        for (int fatal = 1;; ++fatal) {
            const auto copy = folder / "copy";
            std::filesystem::remove_all(copy);
            copyStore(original, copy);
            FaultyVfs vfs(fault, fatal);
            auto opened = Store::open(copy / "history.sqlite");
            if (!opened) {
                EXPECT_TRUE(vfs.hasFailed());
                EXPECT_FALSE(opened.error().isDamaged) << opened.error().description;
                opened = Store::open(copy / "history.sqlite");
            }
            ASSERT_TRUE(opened);
            Store& store = *opened;
            auto before = Everything::withoutSearch(store);
            for (std::size_t number = 0; number < steps.size(); ++number) {
                SCOPED_TRACE("fault " + std::to_string(static_cast<int>(fault)) + " at " +
                             std::to_string(fatal) + ", step " + std::to_string(number));
                if (const auto done = steps[number](store); !done) {
                    ++failures;
                    EXPECT_FALSE(done.error().isDamaged) << done.error().description;
                    EXPECT_FALSE(done.error().description.empty());
                    EXPECT_EQ(Everything::withoutSearch(store), before);
                    ASSERT_TRUE(steps[number](store)); // it failed once
                }
                before = Everything::withoutSearch(store);
            }
            const auto last = Everything::of(store);
            {
                const Store gone = std::move(store);
            }
            EXPECT_EQ(Everything::of(Store::open(copy / "history.sqlite").value()), last);
            if (!vfs.hasFailed())
                break;
        }
    EXPECT_GT(failures, 20); // else nothing was tried
}

TEST(StoreCrash, SurvivesKills) {
    const TestFolder folder;
    const auto file = folder / "history.sqlite";
    for (int round = 0; round < 20; ++round) {
        int announced[2];
        ASSERT_EQ(::pipe(announced), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) { // says each row's name once it is saved
            auto store = Store::open(file);
            for (int number = 0; store; ++number) {
                if (!store->save(record("Facture", round * 10'000 + number)))
                    break;
                if (::write(announced[1], &number, sizeof number) != sizeof number)
                    break;
            }
            ::_exit(1);
        }
        ::close(announced[1]);
        int last = -1;
        while (last < round && ::read(announced[0], &last, sizeof last) == sizeof last) {
        }
        ::usleep(static_cast<useconds_t>(round) * 137);
        ::kill(child, SIGKILL);
        while (::read(announced[0], &last, sizeof last) == sizeof last) {
        }
        ::close(announced[0]);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        const Store store = Store::open(file).value();
        const auto rows = store.history("", 100'000);
        std::set<Instant> dates;
        for (const RenameRecord& row : rows.value())
            dates.insert(row.date);
        for (int number = 0; number <= last; ++number)
            ASSERT_TRUE(dates.contains(at(round * 10'000 + number))) << "round " << round;
        EXPECT_EQ(store.history("facture", 100'000)->size(), dates.size());
    }
}

TEST(StoreCrash, IsSharedByTwoPrograms) {
    const TestFolder folder;
    const auto file = folder / "new" / "history.sqlite";
    constexpr int rows = 40;
    const auto writeRows = [&](int first) {
        auto store = Store::open(file); // both may be the one that makes it
        for (int number = 0; store && number < rows; ++number)
            if (!store->save(record("Facture", first + number)))
                return false;
        return store.has_value();
    };
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(writeRows(10'000) ? 0 : 1);
    EXPECT_TRUE(writeRows(20'000));
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const Store store = Store::open(file).value();
    EXPECT_EQ(store.history("", 10'000)->size(), 2U * rows);
    EXPECT_EQ(store.history("facture", 10'000)->size(), 2U * rows);
}

} // namespace
} // namespace vesto
