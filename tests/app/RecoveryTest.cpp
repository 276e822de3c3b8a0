#include "app/model/Recovery.h"

#include "app/model/Store.h"
#include "core/files/Renamer.h"
#include "core/files/UndoService.h"
#include "core/naming/NamingPolicy.h"
#include "tests/app/StoreSamples.h"
#include "tests/core/files/FakeDisk.h"
#include "tests/core/files/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace vesto {
namespace {

using Status = RenameRecord::Status;
using testing::IsEmpty;
// Name to content: 'o' is the row's file, 't' one of the same size and time that was renamed before, another
// letter another's.
using Names = std::map<std::string, char>;

/// "o old.pdf, x New.pdf" for a folder with these two.
Names listed(std::string_view list) {
    Names names;
    for (std::size_t at = 0; at < list.size();) {
        const std::size_t end = std::min(list.find(", ", at), list.size());
        names.emplace(list.substr(at + 2, end - at - 2), list[at]);
        at = end + 2;
    }
    return names;
}

/// What a run left behind, and what is to come of it.
struct Situation {
    const char* description;
    std::string before;
    bool isUndo;
    enum class Kind { exclusive, fallback, invents } disk;
    Status status;
    const char* newName;
    const char* after;
};

using enum Situation::Kind;

const std::vector<Situation>& situations() {
    static const std::vector<Situation> list{
        {"not begun", "o old.pdf", false, exclusive, Status::failed, "New.pdf", "o old.pdf"},
        {"done", "o New.pdf", false, exclusive, Status::done, "New.pdf", "o New.pdf"},
        {"done under a number", "x New.pdf, o New 3.pdf", false, exclusive, Status::done, "New 3.pdf",
         "x New.pdf, o New 3.pdf"},
        {"done, and a new file under the old name", "o New.pdf, x old.pdf", false, exclusive, Status::done,
         "New.pdf", "o New.pdf, x old.pdf"},
        {"renamed by hand since", "o Mine.pdf", false, exclusive, Status::done, "Mine.pdf", "o Mine.pdf"},
        {"a hard link of the user's beside the old name", "o old.pdf, o Mine.pdf", false, exclusive,
         Status::failed, "New.pdf", "o old.pdf, o Mine.pdf"},
        {"the user's hard link bears the new name", "o old.pdf, o New.pdf", false, exclusive, Status::failed,
         "New.pdf", "o old.pdf, o New.pdf"},
        {"gone", "x New.pdf", false, exclusive, Status::failed, "New.pdf", "x New.pdf"},
        {"linked, the old name still there", "o old.pdf, o New 2.pdf, x New.pdf", false, fallback,
         Status::done, "New 2.pdf", "o New 2.pdf, x New.pdf"},
        {"the same where inodes are invented", "o old.pdf, o New.pdf", false, invents, Status::done,
         "New.pdf", "o New.pdf"},
        {"not begun, and a twin bears the new name", "o old.pdf, t New.pdf", false, invents, Status::failed,
         "New.pdf", "o old.pdf, t New.pdf"},
        {"done beside a twin", "t New.pdf, o New 2.pdf", false, invents, Status::done, "New 2.pdf",
         "t New.pdf, o New 2.pdf"},
        {"undo not begun, and a twin bears the old name", "t old.pdf, o New.pdf", true, invents, Status::done,
         "New.pdf", "t old.pdf, o New.pdf"},
        {"the old name moved aside", "o .vesto-rename-1, o New.pdf", false, fallback, Status::done, "New.pdf",
         "o New.pdf"},
        {"only the temporary is left", "o .vesto-rename-1", false, fallback, Status::failed, "New.pdf",
         "o old.pdf"},
        // So that it has another name after all.
        {"only the temporary is left, the old name taken", "o .vesto-rename-1, x old.pdf", false, fallback,
         Status::done, "old 2.pdf", "o old 2.pdf, x old.pdf"},
        {"a temporary of another file", "x .vesto-rename-1, o New.pdf", false, fallback, Status::done,
         "New.pdf", "x .vesto-rename-1, o New.pdf"},
        {"undo not begun", "o New.pdf", true, exclusive, Status::done, "New.pdf", "o New.pdf"},
        {"undone", "o old.pdf", true, exclusive, Status::undone, "New.pdf", "o old.pdf"},
        {"undo linked", "o old.pdf, o New.pdf", true, fallback, Status::undone, "New.pdf", "o old.pdf"},
        {"undo of a file with a hard link of the user's", "o old.pdf, o New.pdf", true, exclusive,
         Status::undone, "New.pdf", "o old.pdf, o New.pdf"},
        {"undo left a temporary", "o .vesto-rename-1, o old.pdf", true, fallback, Status::undone, "New.pdf",
         "o old.pdf"},
        {"undo left only a temporary", "o .vesto-rename-1", true, fallback, Status::done, "New.pdf",
         "o New.pdf"},
        {"undo of a file that is gone", "x old.pdf", true, exclusive, Status::done, "New.pdf", "x old.pdf"},
    };
    return list;
}

/// A situation on a disk in memory.
struct Scene {
    explicit Scene(const Situation& situation) {
        disk.exclusiveAnswer = situation.disk == exclusive ? 0 : EINVAL;
        disk.invents = situation.disk == invents;
        std::map<char, std::shared_ptr<FakeDisk::File>> contents;
        disk.add("/d/old.pdf", "o");
        contents['o'] = disk.files["/d/old.pdf"];
        disk.add("/d/other", "x");
        contents['x'] = disk.files["/d/other"];
        disk.add("/d/twin", "t");
        contents['t'] = disk.files["/d/twin"];
        contents['t']->status.birth = contents['o']->status.birth;
        contents['t']->status.modified = contents['o']->status.modified;
        EXPECT_TRUE(
            ProcessedMarker::write("/d/twin", ProcessedMarker::State::renamed, "scan.pdf", at(0), disk));
        row = {.date = at(1),
               .folderPath = "/d",
               .originalName = "old.pdf",
               .newName = "New.pdf",
               .identity = FileIdentity::of("/d/old.pdf", disk).value(),
               .status = situation.isUndo ? Status::done : Status::pending,
               .errorMessage = {},
               .batchID = {},
               .undoing = situation.isUndo};
        row.identity.device += 4; // since the restart
        disk.files.clear();
        for (const auto& [name, content] : listed(situation.before))
            disk.files["/d/" + name] = contents[content];
        all = disk.contents();
    }

    Recovery::Outcome settle() {
        return Recovery::settle(std::vector{row}, disk, systemClock(),
                                [](const RenameRecord&, Disk&) { return true; });
    }

    [[nodiscard]] Names names() const {
        Names found;
        for (const auto& [path, file] : disk.files)
            found[std::filesystem::path(path).filename()] = file->content[0];
        return found;
    }

    FakeDisk disk;
    RenameRecord row;
    std::multiset<std::string> all;
};

void expectEnd(const Situation& situation, const Scene& scene, const RenameRecord& settled) {
    EXPECT_EQ(settled.status, situation.status);
    EXPECT_EQ(settled.newName, situation.newName);
    EXPECT_FALSE(settled.undoing);
    EXPECT_EQ(scene.names(), listed(situation.after));
    EXPECT_EQ(settled.errorMessage.has_value(), situation.status == Status::failed);
}

TEST(Recovery, TellsWhatAnInterruptedRunDid) {
    for (const Situation& situation : situations()) {
        SCOPED_TRACE(situation.description);
        Scene scene(situation);
        const auto outcome = scene.settle();
        ASSERT_EQ(outcome.settled.size(), 1U);
        const RenameRecord& settled = outcome.settled.front();
        expectEnd(situation, scene, settled);
        EXPECT_THAT(outcome.unmarked, IsEmpty());
        const bool isUndone = settled.status == Status::undone;
        if (scene.names()[isUndone ? settled.originalName : settled.newName] == 't')
            continue; // which has a mark of its own
        const auto marker =
            ProcessedMarker::read("/d/" + (isUndone ? settled.originalName : settled.newName), scene.disk);
        const bool isMarked = isUndone || (settled.status == Status::done && !situation.isUndo);
        ASSERT_EQ(marker.has_value(), isMarked);
        if (marker) {
            EXPECT_EQ(marker->state,
                      isUndone ? ProcessedMarker::State::undone : ProcessedMarker::State::renamed);
            EXPECT_EQ(marker->originalName, "old.pdf");
        }
    }
}

/// Each call in turn fails, or is the last before the process is killed; then it runs again undisturbed.
TEST(Recovery, LosesNothingWhenItFailsOrIsKilled) {
    struct Killed : std::exception {};
    for (const Situation& situation : situations())
        for (const bool isKilled : {false, true})
            for (int fatal = 1;; ++fatal) {
                SCOPED_TRACE(std::string(situation.description) + (isKilled ? ", killed at " : ", EIO at ") +
                             std::to_string(fatal));
                Scene scene(situation);
                scene.disk.beforeCall = [&](int call) {
                    if (call != fatal)
                        return 0;
                    return isKilled ? throw Killed() : EIO;
                };
                Recovery::Outcome first;
                try {
                    first = scene.settle();
                } catch (const Killed&) {
                    EXPECT_TRUE(isKilled);
                }
                const bool wasLast = scene.disk.calls < fatal;
                scene.disk.beforeCall = {};
                EXPECT_EQ(scene.disk.contents(), scene.all);
                if (!first.settled.empty()) { // what could not be marked is remembered, and the row is true
                    const RenameRecord& settled = first.settled.front();
                    EXPECT_EQ(settled.status == Status::failed && scene.names().contains("New.pdf") &&
                                  !scene.names().contains("old.pdf") && scene.names().at("New.pdf") == 'o',
                              false);
                    if (settled.status == Status::done &&
                        scene.disk.files.contains("/d/" + settled.newName)) {
                        EXPECT_EQ(scene.names().at(settled.newName), 'o');
                    }
                } else {
                    const auto second = scene.settle();
                    ASSERT_EQ(second.settled.size(), 1U);
                    expectEnd(situation, scene, second.settled.front());
                }
                if (wasLast)
                    break;
            }
}

/// What was done is written down, but a hidden name could not be removed.
TEST(Recovery, TakesAwayWhatAFinishedRenameLeft) {
    struct Row {
        Status status;
        std::string name; // that the file has
    };
    for (const Row& row : {Row{Status::done, "New.pdf"}, Row{Status::undone, "old.pdf"},
                           Row{Status::undone, "mine.pdf"}, Row{Status::done, "mine.pdf"}}) {
        SCOPED_TRACE(row.name);
        Scene scene({"", "o .vesto-rename-1, o " + row.name, true, fallback, row.status, "New.pdf", ""});
        scene.row.status = row.status;
        const auto settled = scene.settle().settled;
        ASSERT_EQ(settled.size(), 1U);
        EXPECT_EQ(settled.front().status, row.status);
        EXPECT_FALSE(settled.front().undoing);
        EXPECT_EQ(scene.names(), (Names{{row.name, 'o'}}));
    }
}

TEST(Recovery, KnowsTheNumberOfANameWithoutExtension) {
    Scene scene({"", "o scan, x Bail v2.0, o Bail v2.0 2", false, fallback, Status::pending, "", ""});
    scene.row.originalName = "scan";
    scene.row.newName = "Bail v2.0";
    const auto settled = scene.settle().settled;
    ASSERT_EQ(settled.size(), 1U);
    EXPECT_EQ(settled.front().newName, "Bail v2.0 2");
    EXPECT_EQ(scene.names(), (Names{{"Bail v2.0", 'x'}, {"Bail v2.0 2", 'o'}}));
}

TEST(Recovery, LeavesARowThatItCannotJudge) {
    Scene scene(situations().front());
    const auto settleWhere = [&](bool isThere) {
        return Recovery::settle(std::vector{scene.row}, scene.disk, systemClock(),
                                [=](const RenameRecord&, Disk&) { return isThere; })
            .settled;
    };
    EXPECT_THAT(settleWhere(false), IsEmpty());
    scene.disk.listAnswer = EACCES;
    EXPECT_THAT(settleWhere(true), IsEmpty());
    scene.disk.listAnswer = ENOENT; // the folder was deleted
    ASSERT_EQ(settleWhere(true).size(), 1U);
}

TEST(Recovery, HandsOverWhatCouldNotBeMarked) {
    Scene scene({"", "o New.pdf", false, exclusive, Status::done, "New.pdf", ""});
    scene.disk.attributeAnswer = EOPNOTSUPP;
    const auto outcome = scene.settle();
    ASSERT_EQ(outcome.unmarked.size(), 1U);
    EXPECT_EQ(outcome.unmarked.front().file, FileIdentity::of("/d/New.pdf", scene.disk));
    EXPECT_EQ(outcome.unmarked.front().marker.originalName, "old.pdf");
}

TEST(Recovery, KnowsAnEmptyMountPointFromAFolder) {
    const TestFolder folder;
    const auto mine = folder / "mine";
    std::filesystem::create_directory(mine);
    RenameRecord row = record("New.pdf", 1);
    row.folderPath = mine;
    row.identity = FileIdentity::of(write(mine / "New.pdf", "x")).value();
    EXPECT_TRUE(Recovery::isVolumeThere(row));
    row.identity.device += 1; // the numbers of devices have changed
    EXPECT_TRUE(Recovery::isVolumeThere(row));
    std::filesystem::remove(mine / "New.pdf");
    EXPECT_FALSE(Recovery::isVolumeThere(row));
    row.identity.device -= 1;
    row.folderPath = (mine / "deleted").native();
    EXPECT_TRUE(Recovery::isVolumeThere(row));
    row.identity.device += 1;
    EXPECT_FALSE(Recovery::isVolumeThere(row));
    const auto volume = systemDisk().volumeName(row.identity.device - 1);
    if (volume) {
        row.identity.volume = volume;
        EXPECT_TRUE(Recovery::isVolumeThere(row));
        row.identity.volume = "uuid:none";
        EXPECT_FALSE(Recovery::isVolumeThere(row));
    }
}

/// The whole way on real disks: recorded in the store, half done, settled after a restart.
TEST(Recovery, SettlesOnRealDisks) {
    const TestFolder folder;
    const TestMount mount(MountKind::bindfs);
    std::vector<std::filesystem::path> folders{folder.path()};
    if (mount.path)
        folders.push_back(*mount.path);
    for (const auto& place : folders) {
        SCOPED_TRACE(place.native());
        const bool isFallback = place != folder.path();
        std::filesystem::create_directory(place / "d");
        const auto old = write(place / "d" / "scan0001.pdf", "content");
        RenameRecord row = record("Facture.pdf", 1);
        row.folderPath = (place / "d").native();
        row.identity = FileIdentity::of(old).value();
        {
            Store store = Store::open(folder / "history.sqlite").value();
            ASSERT_TRUE(store.save(row));
        }
        std::filesystem::create_hard_link(old, place / "d" / "Facture.pdf");
        Store store = Store::open(folder / "history.sqlite").value();
        const auto outcome = Recovery::settle(store.unsettled().value());
        ASSERT_EQ(outcome.settled.size(), 1U);
        EXPECT_EQ(outcome.settled.front().status, isFallback ? Status::done : Status::failed);
        EXPECT_EQ(namesIn(place / "d"), isFallback ? std::set<std::string>{"Facture.pdf"}
                                                   : (std::set<std::string>{"Facture.pdf", "scan0001.pdf"}));
        EXPECT_EQ(contentOf(place / "d" / "Facture.pdf"), "content");
        ASSERT_TRUE(store.save(outcome.settled));
        EXPECT_THAT(store.unsettled().value(), IsEmpty());
        ASSERT_TRUE(store.removeRecord(row.id));
    }
    if (!mount.path)
        GTEST_SKIP() << "no bindfs here: only one of the two disks was tried";
}

} // namespace
} // namespace vesto
