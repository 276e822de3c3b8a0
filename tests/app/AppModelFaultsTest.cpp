#include "core/files/RenameError.h"
#include "tests/app/FaultyVfs.h"
#include "tests/app/support/Deeds.h"
#include "tests/app/support/Truth.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <atomic>
#include <memory>

namespace vesto {
namespace {

using Call = HookedDisk::Call;

using Names = std::multimap<std::string, std::string>;

const std::string oldName = "scan.txt";
const std::string content = "Facture eau avril\n";

bool isUndo(const Deed& deed) {
    return deed.of == Deed::Of::renamedFile;
}

/// An application that runs, whose disk can be made to fail or be raced, and a folder for each deed.
class Faults : public testing::Test {
protected:
    void SetUp() override {
        settle(m_home, false);
        begin();
    }

    void begin() {
        m_life = std::make_unique<Life>(m_home, m_disk);
        ASSERT_TRUE(m_life->start());
    }

    /// As an earlier life left it.
    void leaveProposal(const std::filesystem::path& file) {
        m_life.reset();
        PendingProposal waiting;
        waiting.folderID = "folder";
        waiting.proposal.id = randomUuid();
        waiting.proposal.url = file;
        waiting.proposal.identity = FileIdentity::of(file);
        waiting.proposal.title = waiting.proposal.baseName = "Facture eau avril";
        ASSERT_TRUE(Store::open(m_home.storeFile()).value().save(waiting));
        begin();
    }

    /// A new folder with one file, which is all that the deed needs it to be.
    std::filesystem::path fileFor(const Deed& deed, DiskTrait trait) {
        m_folder = m_home.files / std::to_string(++m_folders);
        std::filesystem::create_directory(m_folder);
        auto file = write(m_folder / oldName, content);
        m_disk.setHook([trait](Call call, const std::filesystem::path&) { return answerOf(trait, call); });
        if (deed.of == Deed::Of::proposal)
            leaveProposal(file);
        if (deed.of != Deed::Of::renamedFile)
            return file;
        const Outcome renamed = nameFile(*m_life, file);
        EXPECT_TRUE(renamed.name) << renamed.message;
        return m_folder / renamed.name.value_or(oldName);
    }

    /// Does the deed; `beforeCall` is asked before each call on the disk that it takes, by their number
    /// from 1.
    Outcome act(const Deed& deed, const std::filesystem::path& file, DiskTrait trait,
                const std::function<int(int number, Call call)>& beforeCall) {
        m_life->model().clearLastError();
        m_calls = 0;
        m_disk.setHook([&, trait](Call call, const std::filesystem::path&) {
            const int error = beforeCall(++m_calls, call);
            return error != 0 ? error : answerOf(trait, call);
        });
        Outcome outcome = deed.act(*m_life, file);
        m_disk.setHook([trait](Call call, const std::filesystem::path&) { return answerOf(trait, call); });
        return outcome;
    }

    TestFolder m_root;
    Home m_home{m_root / "files", m_root / "data"};
    HookedDisk m_disk;
    std::unique_ptr<Life> m_life;
    std::filesystem::path m_folder;
    int m_folders = 0;
    int m_calls = 0;
};

class AppModelFaults : public Faults {};
class AppModelRaces : public Faults {};

TEST_F(AppModelFaults, EachCallOnTheDiskFailsOnceAndTheHistoryStaysTrue) {
    int tried = 0;
    for (const Deed& deed : {deeds[0], deeds[1], deeds[2], acceptance})
        for (const DiskTrait trait : {DiskTrait::none, DiskTrait::needsLinks})
            for (const int code : {ENOSPC, EIO, EACCES, EROFS, ENAMETOOLONG})
                for (int fatal = 1;; ++fatal) {
                    SCOPED_TRACE(fmt::format("{}, {}, error {} at call {}", deed.name,
                                             trait == DiskTrait::none ? "plainly" : "by links", code, fatal));
                    const auto file = fileFor(deed, trait);
                    std::optional<Call> failed;
                    const Outcome outcome = act(deed, file, trait, [&](int number, Call call) {
                        if (number != fatal)
                            return 0;
                        failed = call;
                        return code;
                    });
                    if (!failed)
                        break; // the deed takes no further call
                    ++tried;
                    // The name that the user sees is right, even where a hidden one could not be removed.
                    for (const std::string& fault :
                         Truth(Names{{content, oldName}}).faults(m_folder, m_life->store(), m_disk))
                        EXPECT_EQ(failed, Call::unlink) << fault;
                    if (failed == Call::unlink) {
                        m_life.reset();
                        begin();
                        EXPECT_THAT(
                            Truth(Names{{content, oldName}}).faults(m_folder, m_life->store(), m_disk),
                            testing::IsEmpty());
                    }
                    EXPECT_EQ(contentOf(m_folder / outcome.name.value_or(lastComponentOf(file).data())),
                              content);
                    const auto decisive = trait == DiskTrait::none ? Call::renameExclusively : Call::link;
                    if (failed == decisive && !outcome.name) {
                        EXPECT_EQ(outcome.message, (isUndo(deed) ? "Annulation impossible : " : "") +
                                                       RenameError::system(code).message());
                    }
                    if (outcome.wasTried && !outcome.name) {
                        EXPECT_EQ(m_life->model().lastError(), outcome.message);
                    }
                }
    fmt::print("{} failures\n", tried);
    EXPECT_GT(tried, 300);
}

TEST(AppModelStoreFaults, EachWriteOfTheStoreFailsOnceAndTheNextStartTellsTheTruth) {
    using Fault = FaultyVfs::Fault;
    int tried = 0;
    for (const Deed& deed : deeds)
        for (const Fault fault : {Fault::full, Fault::syncError}) {
            bool hasFailed = true;
            for (int fatal = 1; hasFailed; ++fatal) {
                SCOPED_TRACE(fmt::format("{}, fault {} at {}", deed.name, static_cast<int>(fault), fatal));
                const TestFolder root;
                const Home home{root / "files", root / "data"};
                HookedDisk disk;
                settle(home, false);
                auto file = write(home.files / oldName, content);
                if (isUndo(deed)) {
                    Life life(home, disk);
                    ASSERT_TRUE(life.start());
                    file = home.files / nameFile(life, file).name.value();
                }
                {
                    const FaultyVfs vfs(fault, fatal);
                    if (auto store = Store::open(home.storeFile())) {
                        Life life(home, disk, *std::move(store));
                        ASSERT_TRUE(life.start());
                        const Outcome outcome = deed.act(life, file);
                        EXPECT_TRUE(
                            std::filesystem::exists(outcome.name ? home.files / *outcome.name : file));
                        if (outcome.wasTried && !outcome.name) {
                            EXPECT_NE(life.model().lastError().value_or("").find("Journal non enregistré : "),
                                      std::string::npos);
                        }
                    }
                    hasFailed = vfs.hasFailed();
                }
                tried += hasFailed ? 1 : 0;
                Life next(home, disk);
                ASSERT_TRUE(next.start());
                for (const std::string& found :
                     Truth(Names{{content, oldName}}).faults(home.files, next.store(), disk))
                    ADD_FAILURE() << found;
            }
        }
    fmt::print("{} failures\n", tried);
    EXPECT_GT(tried, 30);
}

/// What another program does to a file.
struct Race {
    const char* name;
    void (*act)(const std::filesystem::path& file);
};

constexpr Race races[] = {
    {"deleted and made anew",
     [](const std::filesystem::path& file) { // the inode is handed out again
         std::filesystem::remove(file);
         write(file, "theirs");
     }},
    {"saved over by an editor",
     [](const std::filesystem::path& file) {
         write(folderOf(file) / "new.bin", "theirs");
         std::filesystem::rename(folderOf(file) / "new.bin", file);
     }},
    {"moved away and made anew",
     [](const std::filesystem::path& file) {
         std::error_code ignored;
         std::filesystem::rename(file, folderOf(file) / "elsewhere.bin", ignored);
         write(file, "theirs");
     }},
    {"deleted", [](const std::filesystem::path& file) { std::filesystem::remove(file); }},
    {"moved away",
     [](const std::filesystem::path& file) {
         std::error_code ignored;
         std::filesystem::rename(file, folderOf(file) / "elsewhere.bin", ignored);
     }},
    {"appended to",
     [](const std::filesystem::path& file) {
         if (std::filesystem::exists(file))
             std::ofstream(file, std::ios::app) << "Suite\n";
     }},
    {"given a second name",
     [](const std::filesystem::path& file) {
         std::error_code ignored;
         std::filesystem::create_hard_link(file, folderOf(file) / "link.bin", ignored);
     }},
};

std::multiset<std::string> contentsIn(const std::filesystem::path& folder) {
    std::map<ino_t, std::string> files;
    for (const std::string& name : namesIn(folder)) {
        struct stat status{};
        ::stat((folder / name).c_str(), &status);
        files[status.st_ino] = contentOf(folder / name);
    }
    std::multiset<std::string> contents;
    for (const auto& [inode, found] : files)
        contents.insert(found);
    return contents;
}

TEST_F(AppModelRaces, WhatStoodAfterTheRaceStandsAtTheEndAndTheHistoryTellsIt) {
    int tried = 0;
    for (const Deed& deed : {deeds[0], deeds[1], deeds[2], acceptance})
        for (const DiskTrait trait : {DiskTrait::none, DiskTrait::needsLinks})
            for (const Race& race : races)
                for (int moment = 1;; ++moment) {
                    SCOPED_TRACE(fmt::format("{}, {}, {} before call {}", deed.name,
                                             trait == DiskTrait::none ? "plainly" : "by links", race.name,
                                             moment));
                    const auto file = fileFor(deed, trait);
                    std::multiset<std::string> afterRace;
                    const Outcome outcome = act(deed, file, trait, [&](int number, Call) {
                        if (number == moment) {
                            race.act(file);
                            afterRace = contentsIn(m_folder);
                        }
                        return 0;
                    });
                    if (m_calls < moment)
                        break; // there was no race
                    ++tried;
                    EXPECT_EQ(contentsIn(m_folder), afterRace) << outcome.message;
                    for (const std::string& name : namesIn(m_folder))
                        EXPECT_FALSE(name.starts_with('.')) << name << " was left";
                    if (outcome.name) {
                        // The race may have come before the file was read; then the name is the other one's.
                        EXPECT_EQ(contentOf(m_folder / *outcome.name).starts_with(content),
                                  isUndo(deed) || outcome.name->starts_with("Facture"));
                    }
                    auto rows = m_life->store().history("", 10'000).value();
                    std::erase_if(
                        rows, [&](const RenameRecord& row) { return row.folderPath != m_folder.native(); });
                    using Status = RenameRecord::Status;
                    ASSERT_EQ(rows.size(), isUndo(deed) || outcome.name ? 1 : 0);
                    if (!rows.empty()) {
                        EXPECT_EQ(rows.front().status,
                                  isUndo(deed) && outcome.name ? Status::undone : Status::done);
                        EXPECT_FALSE(rows.front().undoing);
                    }
                }
    fmt::print("{} races\n", tried);
    EXPECT_GT(tried, 300);
}

/// From the first look at it on.
TEST_F(AppModelRaces, AFileThatArrivesGetsNoNameOfAnother) {
    int tried = 0;
    for (const DiskTrait trait : {DiskTrait::none, DiskTrait::needsLinks})
        for (const Race& race : races)
            for (int moment = 1;; ++moment) {
                SCOPED_TRACE(fmt::format("{}, {} before call {}",
                                         trait == DiskTrait::none ? "plainly" : "by links", race.name,
                                         moment));
                const TestFolder root;
                const Home home{root / "files", root / "data"};
                settle(home, true);
                const auto file = write(home.files / oldName, content);
                HookedDisk disk;
                std::atomic<int> calls = 0;
                std::multiset<std::string> afterRace;
                disk.setHook([&](Call call, const std::filesystem::path& path) {
                    if (folderOf(path) == home.files && ++calls == moment) {
                        race.act(file);
                        afterRace = contentsIn(home.files);
                    }
                    return answerOf(trait, call);
                });
                Life life(home, disk);
                ASSERT_TRUE(life.start(AppModel::Watching::asSet));
                ASSERT_TRUE(life.runUntil([&] { return calls > 0 && life.model().jobCount() == 0; }));
                ASSERT_TRUE(life.finish());
                if (calls < moment)
                    break; // there was no race
                ++tried;
                EXPECT_EQ(contentsIn(home.files), afterRace);
                for (const std::string& name : namesIn(home.files)) {
                    const bool isMine = contentOf(home.files / name).starts_with(content);
                    EXPECT_TRUE(name == oldName || name.ends_with(".bin") ||
                                name == (isMine ? "Facture eau avril.txt" : "Theirs.txt"))
                        << name << " says " << contentOf(home.files / name);
                }
                const auto rows = life.store().history("", 10).value();
                for (const RenameRecord& row : rows) {
                    EXPECT_EQ(row.status, RenameRecord::Status::done);
                    EXPECT_TRUE(std::filesystem::exists(home.files / row.newName)) << row.newName;
                }
            }
    fmt::print("{} races\n", tried);
    EXPECT_GT(tried, 100);
}

} // namespace
} // namespace vesto
