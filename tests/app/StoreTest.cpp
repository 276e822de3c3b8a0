#include "app/model/Store.h"

#include "app/model/StoreSchema.h"
#include "core/support/UnicodeSearch.h"
#include "tests/app/StoreSamples.h"
#include "tests/app/Tamper.h"
#include "tests/core/files/TestFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <limits>
#include <tuple>

namespace vesto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> newNames(const Store::Result<std::vector<RenameRecord>>& rows) {
    std::vector<std::string> names;
    for (const RenameRecord& row : rows.value())
        names.push_back(row.newName);
    return names;
}

TEST(Store, GivesBackWhatItWasGivenAfterItIsClosed) {
    const TestFolder folder;
    const auto file = folder / "data" / "history.sqlite";
    WatchedFolder watched;
    watched.path = "/home/\xFF\xE9t\xE9";
    watched.bookmark = identity(1);
    watched.bookmark->name = "\xFF\xE9t\xE9";
    watched.addedAt = at(3);
    watched.automatic = true;
    RenameRecord extreme = record("a", 7);
    extreme.folderPath = "/media/\xC3\x28 'x'\n";
    extreme.originalName = "\xFE\xFF";
    extreme.identity = {.device = ~0ULL,
                        .inode = 1ULL << 63U,
                        .birth = FileTime{std::numeric_limits<std::int64_t>::min(), 999'999'999},
                        .name = "\xFF",
                        .volume = "",
                        .state = FileState{~0ULL - 1, {-1, 4'000'000'000}}};
    extreme.date = Instant::min();
    extreme.errorMessage = "";
    extreme.batchID = "b";
    extreme.undoing = true;
    extreme.confidence = 0.1 + 0.2;
    const RenameRecord plain = record("b", 8);
    const PendingProposal waiting = proposal();
    {
        Store store = Store::open(file).value();
        ASSERT_TRUE(store.save(watched) && store.save(extreme) && store.save(plain) && store.save(waiting));
    }
    const Store store = Store::open(file).value();
    EXPECT_THAT(store.folders().value(), ElementsAre(watched));
    EXPECT_EQ(store.record(extreme.id).value(), extreme);
    EXPECT_THAT(store.history("", 9).value(), ElementsAre(plain, extreme));
    EXPECT_THAT(store.pending().value(), ElementsAre(waiting));
    EXPECT_EQ(store.record("nobody").value(), std::nullopt);

    const auto modeOf = [](const std::filesystem::path& path) {
        struct stat status{};
        EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 0777U;
    };
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.native() + "-wal"), 0600U);
    EXPECT_EQ(modeOf(file.native() + "-shm"), 0600U);
    EXPECT_EQ(modeOf(file.parent_path()), 0700U);
}

TEST(Store, AnswersEachQuestionInItsOrder) {
    const TestFolder folder;
    Store store = Store::open(folder / "history.sqlite").value();
    RenameRecord late = record("Late", 30);
    RenameRecord early = record("Early", 10);
    RenameRecord twin = record("Twin", 10);
    late.batchID = early.batchID = "one";
    late.status = RenameRecord::Status::pending;
    early.status = twin.status = RenameRecord::Status::done;
    twin.newName = early.newName;
    twin.undoing = true;
    twin.id = "f" + twin.id.substr(1);
    early.id = "0" + early.id.substr(1);
    ASSERT_TRUE(store.save(std::vector{early, twin, late}));

    EXPECT_THAT(store.history("", 9).value(), ElementsAre(late, twin, early));
    EXPECT_THAT(store.history("", 1, Store::Place{late.date, late.id}).value(), ElementsAre(twin));
    EXPECT_THAT(store.history("", 9, Store::Place{twin.date, twin.id}).value(), ElementsAre(early));
    EXPECT_THAT(store.unsettled().value(), ElementsAre(twin, late));
    EXPECT_THAT(store.batch("one").value(), ElementsAre(late, early));
    EXPECT_THAT(store.batch("").value(), ElementsAre());
    EXPECT_EQ(store.lastDone().value(), twin);
    EXPECT_EQ(store.doneAt(early.folderPath + "/" + early.newName).value(), twin);
    EXPECT_EQ(store.doneAt(late.folderPath + "/" + late.newName).value(), std::nullopt);

    ASSERT_TRUE(store.removeRecord(twin.id));
    EXPECT_EQ(store.lastDone().value(), early);

    std::vector<WatchedFolder> folders(3);
    for (std::size_t number = 0; number < folders.size(); ++number)
        folders[number].addedAt = at(number == 1 ? 1 : 5);
    for (const WatchedFolder& one : folders)
        ASSERT_TRUE(store.save(one));
    folders[0].enabled = false;
    ASSERT_TRUE(store.save(folders[0]));
    EXPECT_THAT(store.folders().value(), ElementsAre(folders[1], folders[0], folders[2]));
    ASSERT_TRUE(store.removeFolder(folders[1].id));
    EXPECT_THAT(store.folders().value(), ElementsAre(folders[0], folders[2]));

    PendingProposal first = proposal();
    const PendingProposal second = proposal();
    ASSERT_TRUE(store.save(first) && store.save(second));
    first.proposal.title = "Edited";
    ASSERT_TRUE(store.save(first));
    EXPECT_THAT(store.pending().value(), ElementsAre(second, first));
    ASSERT_TRUE(store.removePending(second.proposal.id));
    EXPECT_THAT(store.pending().value(), ElementsAre(first));
}

TEST(Store, RemembersAFileByWhatOutlivesARestart) {
    const TestFolder folder;
    Store store = Store::open(folder / "history.sqlite").value();
    const ProcessedMarker::Marker skipped{
        .state = ProcessedMarker::State::skipped, .originalName = "\xFFx", .date = at(1)};
    const ProcessedMarker::Marker ignored{
        .state = ProcessedMarker::State::ignored, .originalName = "y", .date = at(2)};
    const FileIdentity file = identity(5);
    FileIdentity afterRestart = file;
    afterRestart.device += 3;
    FileIdentity reused = file;
    reused.birth = FileTime{12};
    ASSERT_TRUE(store.remember(file, ignored) && store.remember(file, skipped));
    EXPECT_EQ(store.remembered(afterRestart).value(), skipped);
    EXPECT_EQ(store.remembered(reused).value(), std::nullopt);

    FileIdentity onFat = identity(5);
    onFat.name = "photo.jpg";
    onFat.volume = "uuid:CAFE";
    FileIdentity onOtherFat = onFat;
    onOtherFat.volume = "uuid:BEEF";
    ASSERT_TRUE(store.remember(onFat, ignored));
    EXPECT_EQ(store.remembered(onFat).value(), ignored);
    EXPECT_EQ(store.remembered(onOtherFat).value(), std::nullopt);
    EXPECT_EQ(store.remembered(file).value(), skipped);
    ASSERT_TRUE(store.forget(afterRestart));
    EXPECT_EQ(store.remembered(file).value(), std::nullopt);
    EXPECT_EQ(store.remembered(onFat).value(), ignored);
}

TEST(Store, SearchesAsThePlainComparisonDoes) {
    const TestFolder folder;
    Store store = Store::open(folder / "history.sqlite").value();
    // Enough for several blocks, clocks that jump, names that change after they went into a block.
    constexpr const char* words[] = {"Facture", "FAÇADE", "relevé", "Straße", "e\u0301te\u0301", "İzmir",
                                     "ıspanak", "été",    "d’eau",  "\xFF",   "Ἀθῆναι",          "1"};
    std::vector<RenameRecord> rows;
    std::uint32_t random = 1;
    const auto next = [&](std::uint32_t bound) {
        random = random * 1'664'525U + 1'013'904'223U;
        return (random >> 8U) % bound;
    };
    for (int number = 0; number < 1'700; ++number) {
        rows.push_back(record(std::string(words[next(12)]) + " " + words[next(12)], 0));
        rows.back().date = at(next(10) == 0 ? static_cast<int>(next(1'700)) : number);
        rows.back().originalName = std::string(words[next(12)]) + std::to_string(number);
    }
    ASSERT_TRUE(store.save(rows));
    for (int change = 0; change < 20; ++change) {
        RenameRecord& row = rows[next(1'700)];
        row.newName = "Zanzibar " + std::to_string(change % 3);
        ASSERT_TRUE(store.save(row));
    }
    for (int removal = 0; removal < 20; ++removal) {
        const auto row = rows.begin() + next(static_cast<std::uint32_t>(rows.size()));
        ASSERT_TRUE(store.removeRecord(row->id));
        rows.erase(row);
    }
    std::ranges::sort(rows, std::greater(),
                      [](const RenameRecord& row) { return std::tie(row.date, row.id); });

    for (const char* language : {"fr_FR.UTF-8", "tr_TR"}) {
        ::setenv("LC_ALL", language, 1);
        for (const char* word : {"facture", "FACTURE 1", "e", "É", "ÉTÉ", "ete", "SS", "ß", "i", "I", "ı",
                                 "İ", "izmir", "d'EAU", "zanzibar 2", "17", "\u0301", "absent", "\xFF"}) {
            SCOPED_TRACE(std::string(language) + " " + word);
            const unicode::CaselessSearch search(word, std::string_view(language).substr(0, 2));
            std::vector<RenameRecord> expected;
            for (const RenameRecord& row : rows)
                if (search.matches(row.originalName) || search.matches(row.newName))
                    expected.push_back(row);
            // In pages, each of which goes on behind the last; in parts that end early, too.
            for (const std::size_t effort : {1'000U, 1U}) {
                std::vector<RenameRecord> found;
                std::optional<Store::Place> place;
                do {
                    const auto part = store.historyPart(word, 97, place, effort).value();
                    ASSERT_LE(part.records.size(), 97U);
                    ASSERT_TRUE(!place || !part.next || *part.next < *place);
                    found.insert(found.end(), part.records.begin(), part.records.end());
                    place = part.next;
                } while (place);
                ASSERT_EQ(found.size(), expected.size());
                EXPECT_TRUE(found == expected);
            }
            Store::Tally tally = store.historyCount(word, {}).value();
            while (!tally.isComplete)
                tally = store.historyCount(word, tally).value();
            EXPECT_EQ(tally.rows, expected.size());
        }
    }
    ::unsetenv("LC_ALL");
    EXPECT_EQ(newNames(store.history("zanzibar", 100'000)).size() > 10, true);
    EXPECT_EQ(store.historyCount("", {}).value().rows, rows.size());
}

TEST(Store, NeverTakesADamagedFileForAnEmptyOne) {
    struct Row {
        const char* name;
        void (*damage)(const std::filesystem::path&);
        const char* message;
    };
    for (const Row& row : {
             Row{"empty", [](const auto& file) { std::filesystem::resize_file(file, 0); }, "abîmé"},
             Row{"text", [](const auto& file) { write(file, "bonjour"); }, "abîmé"},
             Row{"truncated", [](const auto& file) { std::filesystem::resize_file(file, 8'192); }, "abîmé"},
             Row{"no pages", [](const auto& file) { std::filesystem::resize_file(file, 100); }, "abîmé"},
             Row{"a page of zeros",
                 [](const auto& file) {
                     std::string content = contentOf(file);
                     std::fill(content.begin() + 4'096, content.begin() + 8'192, '\0');
                     write(file, content);
                 },
                 "abîmé"},
             Row{"no table", [](const auto& file) { tamper(file, "DROP TABLE WatchedFolder"); }, "abîmé"},
             Row{"version 0", [](const auto& file) { tamper(file, "PRAGMA user_version=0"); }, "abîmé"},
             Row{"newer", [](const auto& file) { tamper(file, "PRAGMA user_version=99"); }, "plus récente"},
             Row{"another program's", [](const auto& file) { tamper(file, "PRAGMA application_id=7"); },
                 "n'est pas"},
             Row{"gone",
                 [](const auto& file) {
                     std::filesystem::remove(file);
                     write(file.native() + "-wal", "changes");
                 },
                 "disparu"},
         }) {
        SCOPED_TRACE(row.name);
        const TestFolder folder;
        const auto file = folder / "history.sqlite";
        ASSERT_TRUE(Store::open(file).value().save(record("A", 1)));
        tamper(file, "PRAGMA journal_mode=DELETE");
        row.damage(file);
        const std::string before = contentOf(file);
        for (int attempt = 0; attempt < 2; ++attempt) {
            const auto opened = Store::open(file);
            ASSERT_FALSE(opened);
            EXPECT_TRUE(opened.error().isDamaged);
            EXPECT_THAT(opened.error().description, HasSubstr(row.message));
            EXPECT_THAT(opened.error().description, HasSubstr(file.native() + "."));
            EXPECT_THAT(opened.error().description, HasSubstr(file.native() + ".copie-1."));
        }
        EXPECT_TRUE(contentOf(file) == before); // not EQ, which would print pages of bytes
        const bool isGone = !std::filesystem::exists(file);
        EXPECT_TRUE(contentOf(file.native() + ".copie-1" + (isGone ? "-wal" : "")) ==
                    (isGone ? "changes" : before));
        EXPECT_FALSE(std::filesystem::exists(file.native() + ".copie-2"));
    }
}

TEST(StoreSchema, GoesUpWholeOrNotAtAll) {
    const TestFolder folder;
    const auto file = folder / "history.sqlite";
    ASSERT_TRUE(Store::open(file).value().save(record("A", 1)));
    auto connection = sqlite::Connection::open(file).value();
    const auto says = [&](const char* question) { return connection.answer(question).value().value_or(""); };
    const char* const first = StoreSchema::steps().front();
    const std::array good{first, "ALTER TABLE RenameRecord ADD COLUMN note TEXT",
                          "UPDATE RenameRecord SET note = 'new'"};
    const std::array bad{good[0], good[1], "UPDATE NoSuchTable SET note = 1"};
    EXPECT_FALSE(StoreSchema::bringUpToDate(connection, 1, bad));
    EXPECT_EQ(says("PRAGMA user_version"), "1");
    EXPECT_EQ(says("SELECT count(*) FROM pragma_table_info('RenameRecord') WHERE name = 'note'"), "0");
    EXPECT_TRUE(StoreSchema::bringUpToDate(connection, 1, good));
    EXPECT_EQ(says("PRAGMA user_version"), "3");
    EXPECT_EQ(says("SELECT newName || note FROM RenameRecord"), record("A", 1).newName + "new");
    // An older program that had looked before is not to take it back.
    EXPECT_TRUE(StoreSchema::bringUpToDate(connection, 0));
    EXPECT_EQ(says("PRAGMA user_version"), "3");
}

TEST(Store, StopsAtDamageThatShowsLater) {
    const TestFolder folder;
    const auto file = folder / "history.sqlite";
    Store store = Store::open(file).value();
    ASSERT_TRUE(store.save(record("A", 1)));
    tamper(file, "UPDATE RenameRecord SET statusRaw = 'dpne'");
    const auto read = store.history("", 5);
    ASSERT_FALSE(read);
    EXPECT_TRUE(read.error().isDamaged);
    EXPECT_THAT(read.error().description, HasSubstr(".copie-1"));
    EXPECT_EQ(store.save(record("B", 2)).error(), read.error());
    EXPECT_EQ(store.folders().error(), read.error());
}

TEST(Store, WritesNothingOverAnEarlierCopy) {
    const TestFolder folder;
    const auto file = write(folder / "history.sqlite", "first");
    ASSERT_FALSE(Store::open(file));
    write(file, "second");
    const auto again = Store::open(file);
    EXPECT_THAT(again.error().description, HasSubstr(".copie-2"));
    EXPECT_EQ(contentOf(folder / "history.sqlite.copie-1"), "first");
    EXPECT_EQ(contentOf(folder / "history.sqlite.copie-2"), "second");
}

TEST(Store, SaysInFrenchWhatIsInItsWay) {
    const TestFolder folder;
    write(folder / "file", "");
    EXPECT_THAT(Store::open(folder / "file" / "history.sqlite").error().description,
                HasSubstr("Impossible d'ouvrir"));
    EXPECT_TRUE(asOrdinaryUser([&] {
        const auto opened = Store::open(folder / "closed" / "history.sqlite");
        return !opened && !opened.error().isDamaged &&
               opened.error().description.contains("le droit d'écrire");
    }));
    const TestMount small(MountKind::smallTmpfs);
    if (!small.path)
        GTEST_SKIP() << "may not mount";
    Store store = Store::open(*small.path / "history.sqlite").value();
    std::vector<RenameRecord> kept;
    for (;;) {
        const RenameRecord next = record(std::string(20'000, 'x'), static_cast<int>(kept.size()));
        const auto saved = store.save(next);
        if (!saved) {
            EXPECT_FALSE(saved.error().isDamaged);
            EXPECT_THAT(saved.error().description, HasSubstr("Plus de place"));
            break;
        }
        kept.insert(kept.begin(), next);
        ASSERT_LT(kept.size(), 100U);
    }
    EXPECT_EQ(store.history("", 100).value(), kept);
    // A damaged file that cannot be copied is said to be one all the same.
    const TestMount other(MountKind::smallTmpfs);
    const auto full = write(other.path.value() / "other.sqlite", std::string(600'000, 'x'));
    const auto opened = Store::open(full);
    EXPECT_TRUE(opened.error().isDamaged);
    EXPECT_THAT(opened.error().description, HasSubstr("n'a pas pu être copié. Le disque est plein"));
    EXPECT_FALSE(std::filesystem::exists(full.native() + ".copie-1"));
}

} // namespace
} // namespace vesto
