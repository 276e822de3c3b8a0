#include "app/model/RenamedFiles.h"
#include "tests/app/support/World.h"

#include <gmock/gmock.h>

namespace vesto {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// A disk that tells neither inodes nor times of birth, and takes no marks.
class PoorDisk final : public PickyDisk {
public:
    PoorDisk() { refusesAttributes = true; }
    bool inventsInodes(const fs::path&) override { return true; }
    std::expected<FileStatus, int> status(const fs::path& path) override {
        return poor(PickyDisk::status(path));
    }
    std::expected<FileStatus, int> statusNow(const fs::path& path) override {
        return poor(PickyDisk::statusNow(path));
    }

private:
    static std::expected<FileStatus, int> poor(std::expected<FileStatus, int> told) {
        if (told)
            told->birth.reset();
        return told;
    }
};

/// A file that was renamed in one folder, and what happened then in another.
TEST(RenamedFilesThreads, UndoesTheFileThatWasRenamedAndNoOther) {
    struct Row {
        const char* what;
        bool isPoorDisk;
        void (*happen)(const fs::path& renamed, const fs::path& other);
        const char* error; // null: is undone
        const char* told;  // the row's folder and new name afterwards
    };
    const auto move = [](const fs::path& renamed, const fs::path& other) { fs::rename(renamed, other); };
    for (const Row& row : {
             Row{"moved", false, move, nullptr, "there, scan0001.txt -> Bail meublé.txt"},
             Row{"moved to where the old name is taken", false,
                 [](const fs::path& renamed, const fs::path& other) {
                     fs::rename(renamed, other);
                     write(other.parent_path() / "scan0001.txt", "another");
                 },
                 "Un fichier porte déjà ce nom", "here, scan0001.txt -> Bail meublé.txt"},
             Row{"a second name", false,
                 [](const fs::path& renamed, const fs::path& other) { fs::create_hard_link(renamed, other); },
                 "", "here, scan0001.txt -> Bail meublé.txt"},
             Row{"moved", true, move, nullptr, "there, scan0001.txt -> Bail meublé.txt"},
             Row{"another file of that name", true,
                 [](const fs::path&, const fs::path& other) { write(other, "another"); }, "",
                 "here, scan0001.txt -> Bail meublé.txt"},
             Row{"another file of that name, and the renamed one gone", true,
                 [](const fs::path& renamed, const fs::path& other) {
                     fs::remove(renamed);
                     write(other, "another");
                 },
                 "", "here, scan0001.txt -> Bail meublé.txt"},
         }) {
        SCOPED_TRACE(std::string(row.what) + (row.isPoorDisk ? ", poor disk" : ""));
        World world;
        PoorDisk poor;
        if (row.isPoorDisk)
            world.usedDisk = &poor;
        const TestFolder there;
        const fs::path renamed = write(world.folder / "Bail meublé.txt", "Bail meublé");
        const fs::path other = there / "Bail meublé.txt";
        RenameRecord record;
        record.date = systemClock().now();
        record.folderPath = world.folder.path().native();
        record.originalName = "scan0001.txt";
        record.newName = renamed.filename().native();
        record.identity = FileIdentity::of(renamed, *world.usedDisk).value();
        record.status = RenameRecord::Status::done;
        ASSERT_TRUE(world.store->save(record));
        const ProcessedMarker::Marker mark{
            .state = ProcessedMarker::State::renamed, .originalName = "scan0001.txt", .date = record.date};
        if (row.isPoorDisk) {
            ASSERT_TRUE(world.store->remember(record.identity, mark));
        } else {
            ASSERT_TRUE(ProcessedMarker::write(renamed, mark.state, mark.originalName, mark.date));
        }
        world.start(AppModel::Watching::none);
        row.happen(renamed, other);
        const std::string content = contentOf(other);

        std::optional<std::expected<RenameRecord, std::string>> answer;
        bool isUnknown = false;
        world.model->renamedFiles().find(other, [&](const RenamedFiles::Found& found) {
            isUnknown = found && !*found;
            if (!isUnknown)
                world.model->renamedFiles().undo(**found, [&](const auto& undone) { answer = undone; });
        });
        ASSERT_TRUE(world.eventually([&] { return isUnknown || answer; }));
        if (row.error == nullptr) {
            EXPECT_TRUE(answer && *answer);
            EXPECT_EQ(contentOf(there / "scan0001.txt"), content);
        } else {
            EXPECT_TRUE(isUnknown || !*answer);
            EXPECT_EQ(contentOf(other), content);
            if (!isUnknown) {
                EXPECT_THAT(answer->error(), HasSubstr(row.error));
            }
        }
        const RenameRecord told = world.history().at(0);
        const bool isThere = told.folderPath == there.path().native();
        EXPECT_EQ((isThere ? "there, " : "here, ") + told.originalName + " -> " + told.newName, row.told);
        EXPECT_EQ(told.status, row.error ? RenameRecord::Status::done : RenameRecord::Status::undone);
    }
}

/// A file that somebody put where a renamed one stood has its own rename.
TEST(RenamedFilesThreads, GoByTheFileWhereAnotherStoodBefore) {
    World world;
    ASSERT_TRUE(world.settings.setAutoThreshold(0.0));
    world.start();
    world.watch(true);
    for (const char* name : {"scan0001.txt", "scan0002.txt"}) {
        write(world.folder / name, name[7] == '1' ? "Bail meublé" : "Devis de toiture Montpellier");
        ASSERT_TRUE(world.eventually([&] { return !fs::exists(world.folder / name) && world.isQuiet(); }));
    }
    const fs::path place = world.folder / "Bail meublé.txt";
    fs::remove(place);
    fs::rename(world.folder / "Devis de toiture Montpellier.txt", place);
    const auto find = [&] {
        std::optional<RenameRecord> record;
        world.model->renamedFiles().find(
            place, [&](const RenamedFiles::Found& found) { record = found.value().value(); });
        EXPECT_TRUE(world.eventually([&] { return record.has_value(); }));
        return record.value_or(RenameRecord{});
    };
    EXPECT_EQ(find().originalName, "scan0002.txt");

    SCOPED_TRACE("a copy that has taken its mark along, as of a backup");
    const fs::path copy = write(world.folder / "copie", "Devis de toiture Montpellier");
    ASSERT_TRUE(
        ProcessedMarker::write(copy, ProcessedMarker::State::renamed, "scan0002.txt", systemClock().now()));
    fs::rename(copy, place);
    EXPECT_FALSE(find().id.empty()) << "would be undone behind the back of the place's row";
}

} // namespace
} // namespace vesto
