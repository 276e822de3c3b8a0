#include "core/files/Renamer.h"

#include "core/files/ExclusiveRename.h"
#include "core/files/ProcessedMarker.h"
#include "core/files/UndoService.h"
#include "tests/core/files/FakeDisk.h"
#include "tests/core/files/TestFolder.h"

#include <fmt/format.h>

#include <algorithm>

namespace vesto {
namespace {

using Case = RenameError::Case;
using State = ProcessedMarker::State;

TEST(Renamer, RenamesMarksAndUndoes) {
    const TestFolder folder;
    const auto path = write(folder / "IMG_0042.HEIC", "cat");
    const auto identity = FileIdentity::of(path);
    const auto result = Renamer().rename(path, "Chat sur le canapé", identity, true);
    ASSERT_TRUE(result) << result.error().message();
    EXPECT_EQ(*result, (RenameResult{path, folder / "Chat sur le canapé.HEIC", *identity, true}));
    const auto marker = ProcessedMarker::read(result->to);
    ASSERT_TRUE(marker);
    EXPECT_EQ(marker->state, State::renamed);
    EXPECT_EQ(marker->originalName, "IMG_0042.HEIC");

    write(result->to, "cat, written to since");
    const auto undone = UndoService().undo(result->to, marker->originalName, result->identity);
    ASSERT_TRUE(undone) << undone.error().message();
    EXPECT_EQ(undone->to, path);
    EXPECT_EQ(ProcessedMarker::read(path)->state, State::undone);
    EXPECT_EQ(namesIn(folder.path()), (std::set<std::string>{"IMG_0042.HEIC"}));
}

TEST(Renamer, RefusesInOrder) {
    const TestFolder folder;
    const auto path = write(folder / "facture.pdf", "x");
    const auto notText = write(folder / "re\xE7u.pdf", "x");
    auto other = *FileIdentity::of(path);
    other.inode += 1;
    auto written = *FileIdentity::of(path);
    written.state->modified.nanoseconds ^= 1U;
    struct Row {
        std::filesystem::path path;
        std::string_view base;
        std::optional<FileIdentity> expected;
        Case error;
    };
    for (const auto& [from, base, expected, error] : std::vector<Row>{
             {folder / "none.pdf", "", other, Case::sourceMissing},
             {path, "...", other, Case::identityMismatch},
             {path, "Facture", written, Case::identityMismatch},
             {path, "...", {}, Case::invalidName},
             {path, " . ", {}, Case::invalidName},
             {path, "Facture", {}, Case::unchanged},
             {path, "facture", {}, Case::unchanged},
             {notText, "Reçu", {}, Case::invalidName},
         }) {
        SCOPED_TRACE(base);
        const auto result = Renamer().rename(from, base, expected, true);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error(), error);
    }
    EXPECT_EQ(namesIn(folder.path()).size(), 2);
    EXPECT_EQ(Renamer().rename(path, "///", {}, false)->to, folder / "---.pdf");
}

TEST(Renamer, NumbersTakenNamesAndGivesUp) {
    const TestFolder folder;
    write(folder / "Facture.pdf", "1");
    const auto second = Renamer().rename(write(folder / "a.pdf", "2"), "Facture", {}, false);
    const auto third = Renamer().rename(write(folder / "b.pdf", "3"), "Facture", {}, false);
    EXPECT_EQ(second->to, folder / "Facture 2.pdf");
    EXPECT_EQ(third->to, folder / "Facture 3.pdf");
    EXPECT_FALSE(third->marked);
    EXPECT_EQ(Renamer({}, 3).rename(write(folder / "c.pdf", "4"), "Facture", {}, true).error(),
              Case::tooManyCollisions);
    EXPECT_EQ(UndoService().undo(third->to, "Facture.pdf", {}).error(), Case::targetExists);
    EXPECT_EQ(contentOf(folder / "Facture.pdf") + contentOf(third->to) + contentOf(folder / "c.pdf"), "134");
}

TEST(Renamer, UndoTakesTheNameAsItStands) {
    const TestFolder folder;
    const auto path = write(folder / "a.pdf", "x");
    for (const std::string_view name :
         {std::string_view(""), std::string_view("."), std::string_view(".."), std::string_view("a/b"),
          std::string_view("a\0b", 3), std::string_view("\xE9")})
        EXPECT_EQ(UndoService().undo(path, name, {}).error(), Case::invalidName) << name;
    EXPECT_EQ(UndoService().undo(folder / "none", "b", {}).error(), Case::sourceMissing);
    EXPECT_EQ(UndoService().undo(path, std::string(300, 'a'), {}).error(), RenameError::system(ENAMETOOLONG));
    EXPECT_EQ(UndoService().undo(path, " :*?\n.", {})->to, folder / " :*?\n.");
}

TEST(Renamer, PermissionsOfOrdinaryPeople) {
    const TestFolder folder;
    const auto readOnly = write(folder / "a.pdf", "x");
    ASSERT_EQ(::chmod(readOnly.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
    EXPECT_TRUE(asOrdinaryUser([&] {
        const auto mine = write(folder / "b.pdf", "y");
        ::chmod(mine.c_str(), 0444);
        const auto result = Renamer().rename(mine, "Reçu", {}, true);
        return result && !result->marked && contentOf(result->to) == "y";
    })) << "a read-only file refuses the mark, and the rename stands";
    ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser([&] {
        const auto result = Renamer().rename(readOnly, "Facture", {}, true);
        return !result && result.error() == RenameError::system(EACCES);
    }));
    EXPECT_EQ(namesIn(folder.path()), (std::set<std::string>{"Reçu.pdf", "a.pdf"}));
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
}

TEST(Renamer, WorksOnDisksOfOtherKinds) {
    for (const auto& [kind, marks] :
         {std::pair{MountKind::bindfs, true}, {MountKind::ntfs3g, true}, {MountKind::ramfs, false}}) {
        SCOPED_TRACE(static_cast<int>(kind));
        const TestMount mount(kind);
        if (!mount.path) {
            fmt::print("disk kind {} may not be mounted here; the fake disks stand for it\n",
                       static_cast<int>(kind));
            continue;
        }
        write(*mount.path / "Facture.pdf", "1");
        const auto path = write(*mount.path / "a.pdf", "2");
        const auto result = Renamer().rename(path, "Facture", FileIdentity::of(path), true);
        ASSERT_TRUE(result) << result.error().message();
        EXPECT_EQ(result->marked, marks);
        EXPECT_EQ(namesIn(*mount.path), (std::set<std::string>{"Facture.pdf", "Facture 2.pdf"}));
        EXPECT_EQ(UndoService().undo(result->to, "a.pdf", result->identity)->to, path);
        EXPECT_EQ(contentOf(*mount.path / "Facture.pdf") + contentOf(path), "12");
        EXPECT_EQ(namesIn(*mount.path).size(), 2);
    }
}

// ---- Disks of every kind, each call failing or raced in its turn ----

struct DiskKind {
    const char* name;
    int exclusiveAnswer;
    bool invents;
};
constexpr DiskKind diskKinds[] = {{"ext4", 0, false}, {"NFS", EINVAL, false}, {"FUSE", ENOSYS, true}};

FakeDisk diskOf(const DiskKind& kind) {
    FakeDisk disk;
    disk.exclusiveAnswer = kind.exclusiveAnswer;
    disk.invents = kind.invents;
    disk.add("/d/a.pdf", "mine");
    disk.add("/d/Facture.pdf", "taken");
    return disk;
}

std::vector<std::string> visibleNames(const FakeDisk& disk) {
    std::vector<std::string> found;
    for (const auto& [path, file] : disk.files)
        if (!lastComponentOf(path).starts_with('.'))
            found.push_back(path);
    return found;
}

TEST(RenamerFaults, EachCallFailsOnceAndNothingIsLost) {
    for (const DiskKind& kind : diskKinds) {
        for (const int code :
             {ENOSPC, EIO, EACCES, EROFS, ENAMETOOLONG, EINVAL, ENOSYS, EPERM, ENOENT, EEXIST}) {
            bool reached = true;
            for (int fatal = 1; reached; ++fatal) {
                SCOPED_TRACE(fmt::format("{}, error {} at call {}", kind.name, code, fatal));
                FakeDisk disk = diskOf(kind);
                disk.beforeCall = [&](int call) { return call == fatal ? code : 0; };
                const auto result = Renamer({}, 99, disk).rename("/d/a.pdf", "Facture", {}, true);
                reached = disk.calls >= fatal;
                disk.beforeCall = nullptr;
                EXPECT_EQ(disk.contents(), (std::multiset<std::string>{"mine", "taken"}));
                EXPECT_EQ(disk.files["/d/Facture.pdf"]->content, "taken");
                if (result) {
                    EXPECT_FALSE(disk.files.contains("/d/a.pdf"));
                    ASSERT_TRUE(disk.files.contains(result->to));
                    EXPECT_EQ(disk.files[result->to]->content, "mine");
                    EXPECT_EQ(result->leftover == Leftover::hiddenName, disk.files.size() == 3);
                    continue;
                }
                EXPECT_NE(result.error().value(), Case::unchanged);
                std::vector<std::string> expected{"/d/Facture.pdf"};
                for (const std::string& name : result.error().keptNames())
                    EXPECT_TRUE(disk.files.contains("/d/" + name)) << name << " is named and not there";
                if (result.error().keptNames().empty()) // else the error says where it is
                    expected.emplace_back("/d/a.pdf");
                for (const std::string& path : expected)
                    EXPECT_TRUE(disk.files.contains(path)) << path << ": " << result.error().message();
            }
        }
    }
}

/// What another program may do to the file, between any two calls.
TEST(RenamerFaults, RacesLoseNothing) {
    using Files = std::map<std::string, std::shared_ptr<FakeDisk::File>>;
    struct Race {
        const char* name;
        std::function<void(FakeDisk&)> act;
        bool mineMayGo;            // the other program may itself do away with it
        bool takesNewName = false; // at the last moment perhaps
    };
    const Race races[] = {
        {"an editor saves over the old name", [](FakeDisk& disk) { disk.add("/d/a.pdf", "theirs"); }, true},
        {"moved away, a new one comes",
         [](FakeDisk& disk) {
             if (auto node = disk.files.extract("/d/a.pdf")) {
                 node.key() = "/d/elsewhere.pdf";
                 disk.files.insert(std::move(node));
             }
             disk.add("/d/a.pdf", "theirs");
         },
         false},
        {"deleted",
         [](FakeDisk& disk) {
             disk.files.erase("/d/a.pdf");
             disk.add("/d/x.pdf", "theirs");
         },
         true},
        {"a file comes under the new name",
         [](FakeDisk& disk) {
             if (!disk.files.contains("/d/Facture 2.pdf"))
                 disk.add("/d/Facture 2.pdf", "theirs");
             else
                 disk.add("/d/x.pdf", "theirs");
         },
         false},
        {"the new name is replaced", [](FakeDisk& disk) { disk.add("/d/Facture 2.pdf", "theirs"); }, true,
         true},
    };
    for (const DiskKind& kind : diskKinds) {
        for (const Race& race : races) {
            bool reached = true;
            for (int moment = 1; reached; ++moment) {
                SCOPED_TRACE(fmt::format("{}, {}, before call {}", kind.name, race.name, moment));
                FakeDisk disk = diskOf(kind);
                const auto expected = FileIdentity::of("/d/a.pdf", disk);
                disk.calls = 0;
                Files afterRace;
                disk.beforeCall = [&](int call) {
                    if (call == moment) {
                        race.act(disk);
                        afterRace = disk.files;
                    }
                    return 0;
                };
                const auto result = Renamer({}, 99, disk).rename("/d/a.pdf", "Facture", expected, true);
                reached = disk.calls >= moment;
                disk.beforeCall = nullptr;
                if (!reached)
                    break;
                // What stood after the race stands at the end, whole.
                std::set<std::shared_ptr<FakeDisk::File>> before, after;
                for (const auto& [path, file] : afterRace)
                    before.insert(file);
                for (const auto& [path, file] : disk.files)
                    after.insert(file);
                if (race.mineMayGo) {
                    const auto isMine = [](const auto& file) { return file->content == "mine"; };
                    std::erase_if(before, isMine);
                    std::erase_if(after, isMine);
                }
                EXPECT_EQ(before, after);
                for (const auto& [path, file] : disk.files)
                    EXPECT_FALSE(lastComponentOf(path).starts_with(temporaryNamePrefix)) << path;
                if (result && !race.takesNewName) {
                    EXPECT_EQ(disk.files[result->to]->content, "mine");
                }
                if (!result) {
                    for (const std::string& name : result.error().keptNames())
                        EXPECT_TRUE(disk.files.contains("/d/" + name)) << name;
                    // Nothing has a name that nobody gave it and the error does not tell.
                    for (const std::string& path : visibleNames(disk))
                        EXPECT_TRUE(path == "/d/a.pdf" || afterRace.contains(path) ||
                                    std::ranges::count(result.error().keptNames(), lastComponentOf(path)) > 0)
                            << path << ": " << result.error().message();
                }
            }
        }
    }
}

TEST(RenamerFaults, TheMarkIsThereBeforeTheWaitForTheDisk) {
    for (const DiskKind& kind : diskKinds) {
        SCOPED_TRACE(kind.name);
        FakeDisk disk = diskOf(kind);
        std::optional<State> atLastSync;
        const auto watch = [&](const std::string& path) {
            atLastSync.reset();
            disk.beforeSync = [&disk, &atLastSync, path] {
                const auto marker = ProcessedMarker::read(path, disk);
                atLastSync = marker ? std::optional(marker->state) : std::nullopt;
            };
        };
        watch("/d/Facture 2.pdf");
        ASSERT_TRUE(Renamer({}, 99, disk).rename("/d/a.pdf", "Facture", {}, true));
        EXPECT_EQ(atLastSync, State::renamed);
        watch("/d/a.pdf");
        ASSERT_TRUE(UndoService(disk).undo("/d/Facture 2.pdf", "a.pdf", {}));
        EXPECT_EQ(atLastSync, State::undone);
    }
}

TEST(ExclusiveRename, AReplacementUnderTheOldNameStaysAndWhatCannotGoBackIsNamed) {
    FakeDisk disk = diskOf(diskKinds[1]);
    const auto before = *FileIdentity::of("/d/a.pdf", disk);
    disk.add("/d/a.pdf", "theirs");
    bool movedAside = false;
    disk.beforeCall = [&](int) {
        if (!movedAside && !disk.files.contains("/d/a.pdf")) { // the old name is free for an instant
            movedAside = true;
            disk.add("/d/a.pdf", "a third");
        }
        return 0;
    };
    const auto result = renameExclusively("/d/a.pdf", "/d/b.pdf", before, disk);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().value(), Case::identityMismatch);
    EXPECT_EQ(result.error().keptNames(), (std::vector<std::string>{"a 2.pdf"}));
    EXPECT_TRUE(result.error().message().find("« a 2.pdf »") != std::string::npos)
        << result.error().message();
    EXPECT_EQ(disk.files["/d/a.pdf"]->content, "a third");
    EXPECT_EQ(disk.files["/d/a 2.pdf"]->content, "theirs");
}

TEST(ExclusiveRename, TheLastNameOfAFileIsNeverRemoved) {
    FakeDisk disk = diskOf(diskKinds[1]);
    disk.beforeCall = [&](int) {
        if (disk.files.contains("/d/b.pdf") && disk.contents().count("theirs") == 0)
            disk.add("/d/b.pdf", "theirs"); // over the name that the file has just been given
        return 0;
    };
    const auto result = renameExclusively("/d/a.pdf", "/d/b.pdf", *FileIdentity::of("/d/a.pdf", disk), disk);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), Case::identityMismatch);
    EXPECT_EQ(disk.files["/d/a.pdf"]->content, "mine");
    EXPECT_EQ(disk.files["/d/b.pdf"]->content, "theirs");
    EXPECT_EQ(disk.files.size(), 3);
}

TEST(ExclusiveRename, WithoutLinksItFailsRatherThanRisk) {
    FakeDisk disk = diskOf(diskKinds[1]);
    disk.linkAnswer = EPERM;
    const auto before = disk.files;
    const auto result = Renamer({}, 99, disk).rename("/d/a.pdf", "Reçu", {}, true);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), RenameError::system(EINVAL));
    EXPECT_TRUE(adviceFor(result.error().code()));
    EXPECT_EQ(disk.files, before);
}

} // namespace
} // namespace vesto
