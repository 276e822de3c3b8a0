#include "app/model/AppModel.h"
#include "core/files/ProcessedMarker.h"
#include "tests/app/Tamper.h"
#include "tests/app/support/World.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTimer>
#include <array>
#include <atomic>

namespace vesto {
namespace {

using ProcessedMarker::State;
using Status = RenameRecord::Status;

constexpr std::string_view bill = "Facture EDF octobre Montpellier"; // its title; a simple title scores 0.55

void expectMark(const std::filesystem::path& path, State state) {
    const auto marker = ProcessedMarker::read(path);
    ASSERT_TRUE(marker) << path;
    EXPECT_EQ(marker->state, state) << path;
}

TEST(AppModelThreads, RenamesByItselfFromTheThresholdOn) {
    struct Row {
        bool automatic;
        double threshold;
        bool notifies;
        bool renames;
    };
    constexpr std::array<Row, 4> rows{{{true, 0.55, true, true},
                                       {true, 0.55, false, true},
                                       {true, 0.56, true, false},
                                       {false, 0.4, true, false}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.automatic << row.threshold);
        World world;
        ASSERT_TRUE(world.settings.setAutoThreshold(row.threshold));
        ASSERT_TRUE(world.settings.setNotifyAutomatic(row.notifies));
        world.start();
        const auto folder = world.watch(row.automatic);
        write(world.folder / "scan0001.txt", bill);
        ASSERT_TRUE(world.eventually([&] {
            return world.isQuiet() && (!world.history().empty() || !world.model->pending().empty());
        }));
        EXPECT_EQ(namesIn(world.folder.path()).contains("Facture EDF octobre Montpellier.txt"), row.renames);
        EXPECT_EQ(world.model->pending().size(), row.renames ? 0 : 1);
        ASSERT_EQ(world.history().size(), row.renames ? 1 : 0);
        EXPECT_EQ(world.notifier.shown().size(), !row.renames || row.notifies ? 1 : 0);
        EXPECT_EQ(world.errors, std::vector<std::string>());
        if (!row.renames)
            continue;
        const RenameRecord record = world.history().front();
        EXPECT_EQ(record.status, Status::done);
        EXPECT_TRUE(record.automatic);
        EXPECT_EQ(record.originalName, "scan0001.txt");
        EXPECT_EQ(record.newName, "Facture EDF octobre Montpellier.txt");
        expectMark(world.folder / "Facture EDF octobre Montpellier.txt", State::renamed);
    }
}

/// A scanner calls each of its pages the same.
TEST(AppModelThreads, NamesWhatComesUnderANameThatWasFreedAMomentAgo) {
    World world;
    ASSERT_TRUE(world.settings.setAutoThreshold(0.5));
    world.start();
    world.watch(true);
    int pages = 1;
    QObject::connect(&*world.model, &AppModel::renamed, [&] {
        if (pages++ < 3)
            write(world.folder / "scan.txt", bill);
    });
    write(world.folder / "scan.txt", bill);
    EXPECT_TRUE(world.eventually([&] { return world.history().size() == 3; }));
    EXPECT_FALSE(namesIn(world.folder.path()).contains("scan.txt"));
}

TEST(AppModelThreads, DoesWhatTheUserAnswers) {
    World world;
    world.start();
    world.watch();

    SCOPED_TRACE("accepted, and a second time");
    const auto first = world.proposal("scan0001.txt", bill);
    write(world.folder / "Facture EDF octobre Montpellier.txt", "une autre");
    std::vector<std::expected<RenameRecord, std::string>> answers;
    for (int time = 0; time < 2; ++time)
        world.model->accept(first.proposal.id, [&](const auto& answer) { answers.push_back(answer); });
    ASSERT_TRUE(world.eventually([&] { return answers.size() == 2; }));
    std::ranges::stable_partition(answers, [](const auto& answer) { return answer.has_value(); });
    EXPECT_EQ(answers[0]->newName, "Facture EDF octobre Montpellier 2.txt");
    EXPECT_EQ(answers[1].error(), "Cette proposition n'est plus d'actualité.");
    EXPECT_EQ(world.model->lastError(), "Cette proposition n'est plus d'actualité.");
    EXPECT_EQ(contentOf(world.folder / "Facture EDF octobre Montpellier.txt"), "une autre");

    SCOPED_TRACE("with no title, then with another");
    const auto second = world.proposal("scan0002.txt", "Relevé de compte mai");
    world.notifier.respond({.action = "edit", .identifier = second.proposal.id, .text = " \t"});
    ASSERT_TRUE(world.eventually([&] { return world.model->lastError() == "Titre vide."; }));
    EXPECT_EQ(world.model->pending().size(), 1);
    EXPECT_EQ(world.notifier.shown().size(), 1);
    world.notifier.respond({.action = "edit", .identifier = second.proposal.id, .text = " Mon relevé "});
    ASSERT_TRUE(world.eventually([&] { return namesIn(world.folder.path()).contains("Mon relevé.txt"); }));
    EXPECT_EQ(world.notifier.shown().size(), 0);

    SCOPED_TRACE("ignored");
    const auto third = world.proposal("scan0003.txt", "Devis de toiture Montpellier");
    EXPECT_TRUE(world.model->reject(third.proposal.id));
    EXPECT_FALSE(world.model->reject(third.proposal.id));
    ASSERT_TRUE(world.eventually([&] { return ProcessedMarker::isMarked(world.folder / "scan0003.txt"); }));
    expectMark(world.folder / "scan0003.txt", State::ignored);

    SCOPED_TRACE("undone, and a second time");
    const RenameRecord record = *answers[0];
    answers.clear();
    for (int time = 0; time < 2; ++time)
        world.model->undo(record.id, [&](const auto& answer) { answers.push_back(answer); });
    ASSERT_TRUE(world.eventually([&] { return answers.size() == 2; }));
    std::ranges::stable_partition(answers, [](const auto& answer) { return answer.has_value(); });
    EXPECT_EQ(answers[0]->status, Status::undone);
    EXPECT_EQ(answers[1].error(), "Annulation impossible : une opération est en cours sur ce fichier.");
    expectMark(world.folder / "scan0001.txt", State::undone);
    world.model->undo(record.id);
    EXPECT_EQ(world.model->lastError(), "Annulation impossible : ce renommage est déjà annulé.");

    SCOPED_TRACE("none of them comes back");
    world.pass(std::chrono::milliseconds(600));
    EXPECT_EQ(world.model->pending().size(), 0);
    EXPECT_EQ(world.history().size(), 2);
}

TEST(AppModelThreads, LeavesNoRowWhereARenameFails) {
    World world;
    world.start();
    world.watch();
    struct Row {
        const char* name;
        std::function<void(const std::filesystem::path&)> meanwhile;
        const char* error;
    };
    const std::array<Row, 2> rows{
        {{"scan0001.txt", [](const auto& path) { std::filesystem::remove(path); },
          "Le fichier n'existe plus."},
         {"scan0002.txt", [](const auto& path) { write(path, "Tout autre contenu"); },
          "Le fichier a été remplacé entre-temps."}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto pending = world.proposal(row.name, bill);
        row.meanwhile(world.folder / row.name);
        std::optional<std::string> error;
        world.model->accept(pending.proposal.id, [&](const auto& answer) { error = answer.error(); });
        ASSERT_TRUE(world.eventually([&] { return error.has_value(); }));
        EXPECT_EQ(error, row.error);
        EXPECT_EQ(world.model->lastError(), row.error);
        EXPECT_TRUE(world.history().empty());
    }
    SCOPED_TRACE("what has changed is named anew");
    ASSERT_TRUE(world.eventually([&] { return world.model->pending().size() == 1; }));
    EXPECT_EQ(world.model->pending().front().proposal.title, "Tout autre contenu");
}

TEST(AppModelThreads, TouchesNothingThatItCannotWriteDown) {
    World world;
    world.start();
    world.watch();
    const auto pending = world.proposal("scan0001.txt", bill);
    tamper(world.home / "history.sqlite", "DROP TABLE RenameRecord");
    bool isAnswered = false;
    world.model->accept(pending.proposal.id, [&](const auto& answer) {
        isAnswered = true;
        EXPECT_FALSE(answer);
    });
    ASSERT_TRUE(world.eventually([&] { return isAnswered; }));
    EXPECT_TRUE(world.model->lastError()->starts_with("Journal non enregistré : "))
        << *world.model->lastError();
    EXPECT_TRUE(namesIn(world.folder.path()).contains("scan0001.txt"));
}

TEST(AppModelThreads, ChangesNoFolderThatItCannotWriteDown) {
    World world;
    world.start();
    const auto folder = world.watch(true);
    const auto folders = world.model->folders();
    const auto other = world.home / "Autre";
    std::filesystem::create_directory(other);
    tamper(world.home / "history.sqlite", "ALTER TABLE WatchedFolder RENAME TO Away");
    using Order = std::function<void(AppModel&)>;
    const std::array<Order, 4> orders{[&](AppModel& model) { model.setAutomatic(folder.id, false); },
                                      [&](AppModel& model) { model.setEnabled(folder.id, false); },
                                      [&](AppModel& model) { model.removeFolder(folder.id); },
                                      [&](AppModel& model) { model.addFolder(other); }};
    for (std::size_t which = 0; which < orders.size(); ++which) {
        SCOPED_TRACE(which);
        world.model->clearLastError();
        orders[which](*world.model);
        ASSERT_TRUE(world.eventually([&] { return world.model->lastError().has_value(); }));
        EXPECT_THAT(*world.model->lastError(), testing::StartsWith("Journal non enregistré : "));
        EXPECT_EQ(world.model->folders(), folders);
        EXPECT_TRUE(world.model->isWatching(folder.id));
    }
}

TEST(AppModelThreads, TakesANewFolderForNewAndOneOfTwoNamesForOne) {
    World world;
    world.start();
    const auto place = world.home / "Photos";
    std::filesystem::create_directory(place);
    const auto folder = world.watch(place, true);
    write(place / "scan0001.txt", bill);
    ASSERT_TRUE(world.eventually([&] { return world.model->pending().size() == 1; }));
    std::filesystem::rename(place, world.home / "ailleurs");
    std::filesystem::create_directory(place);
    EXPECT_FALSE(world.watch(place).automatic);
    EXPECT_FALSE(world.model->folders().front().automatic);
    EXPECT_TRUE(world.model->pending().empty());
    EXPECT_TRUE(world.store->pending()->empty());

    SCOPED_TRACE("at once, by two names");
    std::filesystem::create_directory_symlink(world.folder.path(), world.home / "lien");
    std::vector<std::vector<FolderNote>> answers;
    for (const auto& path : {world.folder.path(), world.home / "lien"})
        world.model->addFolder(path, [&](const auto&, const auto& notes) { answers.push_back(notes); });
    ASSERT_TRUE(world.eventually([&] { return answers.size() == 2; }));
    EXPECT_EQ(world.model->folders().size(), 2);
    ASSERT_EQ(answers.back().size(), 1);
    EXPECT_EQ(answers.back().front().kind, FolderNote::Kind::alreadyWatched);
}

TEST(AppModelThreads, ReportsALostFolderOnceAndFindsItAgain) {
    World world;
    world.start();
    const auto away = world.home / "ailleurs";
    const auto place = world.home / "Photos";
    std::filesystem::create_directory(place);
    const auto folder = world.watch(place);
    std::filesystem::rename(place, away);
    const std::string loss = "« Photos » a été déplacé ou supprimé : surveillance arrêtée.";
    ASSERT_TRUE(world.eventually([&] { return !world.model->isWatching(folder.id); }));
    std::filesystem::create_directory(place); // another folder, as an empty mount point
    world.pass(std::chrono::milliseconds(400));
    EXPECT_EQ(world.errors, std::vector{loss});
    EXPECT_FALSE(world.model->isWatching(folder.id));

    std::filesystem::remove(place);
    std::filesystem::rename(away, place);
    ASSERT_TRUE(world.eventually([&] { return world.model->isWatching(folder.id); }));
    EXPECT_EQ(world.model->lastError(), std::nullopt);
    write(place / "scan0001.txt", bill);
    EXPECT_TRUE(world.eventually([&] { return world.model->pending().size() == 1; }));

    SCOPED_TRACE("what is asked for is no loss");
    world.watch();
    const std::string& itsOwn = world.model->folders().front().id;
    EXPECT_TRUE(world.model->setEnabled(itsOwn, false));
    EXPECT_FALSE(world.model->isWatching(folder.id));
    world.pass(std::chrono::milliseconds(200));
    EXPECT_EQ(world.errors, std::vector{loss});
    SCOPED_TRACE("a removed folder takes its proposals along, unmarked");
    world.model->removeFolder(folder.id);
    EXPECT_TRUE(world.model->pending().empty());
    EXPECT_FALSE(ProcessedMarker::isMarked(place / "scan0001.txt"));
    EXPECT_TRUE(world.store->pending()->empty());
}

TEST(AppModelThreads, CatchesUpAfterAPause) {
    World world;
    world.start();
    world.watch();
    world.model->setPaused(true);
    EXPECT_TRUE(world.settings.paused());
    write(world.folder / "scan0001.txt", bill);
    world.pass(std::chrono::milliseconds(500));
    EXPECT_TRUE(world.model->pending().empty());
    world.model->setPaused(false);
    ASSERT_TRUE(world.eventually([&] { return world.model->pending().size() == 1; }));
    for (const bool paused : {true, false})
        world.model->setPaused(paused); // it is reported again
    world.pass(std::chrono::milliseconds(400));
    EXPECT_EQ(world.model->pending().size(), 1);
    EXPECT_EQ(world.reading->count, 1);
}

TEST(AppModelThreads, KeepsWhatWaitsOverARestart) {
    World world;
    world.start();
    world.watch();
    world.proposal("scan0001.txt", "Premier document utile");
    world.proposal("scan0002.txt", "Deuxième document utile");
    world.proposal("scan0003.txt", "Troisième document utile");
    world.proposal("scan0004.txt", "Quatrième document utile");
    const auto before = world.model->pending();
    world.stop();
    std::filesystem::remove(world.folder / "scan0001.txt");
    write(world.folder / "scan0003.txt", "Un tout nouveau texte");
    const int readings = world.reading->count;
    world.start();
    ASSERT_TRUE(world.eventually([&] { return world.isQuiet() && world.model->pending().size() == 3; }));
    EXPECT_EQ(world.model->pending()[0].proposal.title, "Un tout nouveau texte");
    EXPECT_EQ(world.model->pending()[1].proposal.id, before[0].proposal.id);
    EXPECT_EQ(world.model->pending()[2].proposal.id, before[2].proposal.id);
    EXPECT_EQ(world.reading->count, readings + 1);
    bool isRenamed = false;
    world.model->accept(before[0].proposal.id, [&](const auto& answer) { isRenamed = answer.has_value(); });
    EXPECT_TRUE(world.eventually([&] { return isRenamed; }));

    SCOPED_TRACE("while it runs, too");
    std::filesystem::remove(world.folder / "scan0002.txt");
    write(world.folder / "scan0003.txt", "Encore un autre texte");
    EXPECT_TRUE(world.eventually([&] {
        return world.model->pending().size() == 1 &&
               world.model->pending()[0].proposal.title == "Encore un autre texte";
    }));
    EXPECT_EQ(world.store->pending()->size(), 1);
}

TEST(AppModelThreads, NamesNothingAgainWhereItDoesNotWatch) {
    struct Row {
        const char* how;
        void (*watch)(World& world, const std::string& folderID, bool watches);
    };
    constexpr std::array<Row, 3> rows{
        {{"paused", [](World& world, const auto&, bool watches) { world.model->setPaused(!watches); }},
         {"disabled",
          [](World& world, const auto& id, bool watches) { world.model->setEnabled(id, watches); }},
         {"orders only", [](World& world, const auto&, bool watches) {
              world.start(watches ? AppModel::Watching::asSet : AppModel::Watching::none);
          }}}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.how);
        World world;
        world.start();
        const auto folder = world.watch();
        world.proposal("scan0001.txt", bill);
        ASSERT_TRUE(world.settings.setAutoThreshold(0.5));
        world.model->setAutomatic(folder.id, true);
        row.watch(world, folder.id, false);
        write(world.folder / "scan0001.txt", "Facture EDF novembre Montpellier");
        ASSERT_TRUE(world.eventually([&] { return world.model->pending().empty(); }));
        world.pass(std::chrono::milliseconds(400));
        EXPECT_EQ(namesIn(world.folder.path()), std::set<std::string>{"scan0001.txt"});
        row.watch(world, folder.id, true);
        EXPECT_TRUE(world.eventually(
            [&] { return namesIn(world.folder.path()).contains("Facture EDF novembre Montpellier.txt"); }));
    }
}

TEST(AppModelThreads, ForgetsWhatWaitedInAFolderThatGoesWhileItStarts) {
    World world;
    world.start();
    const auto folder = world.watch();
    world.proposal("scan0001.txt", bill);
    world.stop();
    world.disk.hangs = true; // until the folder is gone
    QTimer::singleShot(0, QCoreApplication::instance(), [&] {
        world.model->removeFolder(folder.id);
        world.disk.hangs = false;
    });
    world.start();
    EXPECT_TRUE(world.model->pending().empty());
    EXPECT_TRUE(world.store->pending()->empty());
}

/// A kill between the mark that says so and the end of the proposal.
TEST(AppModelThreads, ForgetsAProposalThatWasAnsweredJustBeforeAKill) {
    for (const bool isMarkable : {true, false}) {
        World world;
        world.start();
        world.watch();
        const auto kept = world.proposal("scan0001.txt", bill);
        const auto ignored = world.proposal("scan0002.txt", "Relevé de compte mai");
        world.stop();
        const auto& path = ignored.proposal.url;
        if (isMarkable)
            ASSERT_TRUE(ProcessedMarker::write(path, State::ignored, "scan0002.txt", world.clock.now()));
        else
            ASSERT_TRUE(world.store->remember(
                *FileIdentity::of(path),
                {.state = State::ignored, .originalName = "scan0002.txt", .date = world.clock.now()}));
        world.start();
        ASSERT_EQ(world.model->pending().size(), 1);
        EXPECT_EQ(world.model->pending().front().proposal.id, kept.proposal.id);
        EXPECT_EQ(world.store->pending()->size(), 1);
    }
}

TEST(AppModelThreads, SettlesWhatAnEarlierRunLeft) {
    World world;
    world.start();
    world.watch();
    world.stop();
    const auto unfinished = [&](const char* oldName, const char* newName, const char* standsAs) {
        const auto path = write(world.folder / standsAs, bill);
        RenameRecord record;
        record.date = world.clock.now();
        record.folderPath = world.folder.path();
        record.originalName = oldName;
        record.newName = newName;
        record.identity = FileIdentity::of(path).value();
        EXPECT_TRUE(world.store->save(record));
        return record;
    };
    const auto done = unfinished("scan0001.txt", "Facture.txt", "Facture.txt");
    const auto failed = unfinished("scan0002.txt", "Devis.txt", "scan0002.txt");
    world.start();
    EXPECT_EQ(world.store->record(done.id).value()->status, Status::done);
    EXPECT_EQ(world.store->record(failed.id).value()->status, Status::failed);
    EXPECT_EQ(world.store->record(failed.id).value()->errorMessage, "Interrompu");
    expectMark(world.folder / "Facture.txt", State::renamed);
    ASSERT_TRUE(world.eventually([&] { return world.model->pending().size() == 1; }));
    EXPECT_EQ(world.model->pending().front().proposal.url, world.folder / "scan0002.txt");
}

TEST(AppModelThreads, RemovesTheHiddenNameThatARenameLeftEvenAfterAnUndoThatFailed) {
    using Call = HookedDisk::Call;
    World world;
    world.start(AppModel::Watching::none);
    write(world.folder / "scan0001.txt", bill);
    std::atomic<bool> undoes = false;
    world.disk.setHook([&](Call call, const std::filesystem::path&) {
        if (call == Call::unlink || (call == Call::link && undoes))
            return EACCES;
        return answerOf(DiskTrait::needsLinks, call);
    });
    std::optional<RenameRecord> renamed;
    world.model->name({.path = world.folder / "scan0001.txt"},
                      [&](const NamingAnswer& answer) { renamed = answer.rename.value().value(); });
    ASSERT_TRUE(world.eventually([&] { return renamed.has_value(); }));
    ASSERT_EQ(namesIn(world.folder.path()).size(), 2);
    undoes = true;
    std::optional<bool> isUndone;
    world.model->undo(renamed->id, [&](const auto& answer) { isUndone = answer.has_value(); });
    ASSERT_TRUE(world.eventually([&] { return isUndone.has_value(); }));
    EXPECT_EQ(isUndone, false);
    world.disk.setHook({});
    world.start(AppModel::Watching::none);
    EXPECT_EQ(namesIn(world.folder.path()), std::set<std::string>{"Facture EDF octobre Montpellier.txt"});
    EXPECT_EQ(world.history().front().status, Status::done);
}

TEST(AppModelThreads, NamesAgainWhatWasReplacedWhileItWaited) {
    World world;
    world.stabilizer.quietPeriod = std::chrono::seconds(3);
    world.stabilizer.timeout = std::chrono::seconds(60);
    world.start();
    world.watch();
    write(world.folder / "scan0001.txt", "x");
    ASSERT_TRUE(world.eventually([&] { return world.model->jobCount() == 1; }));
    write(world.home / "partiel", bill);
    std::filesystem::rename(world.home / "partiel", world.folder / "scan0001.txt");
    EXPECT_TRUE(world.eventually([&] { return world.model->pending().size() == 1; }));
    EXPECT_EQ(world.model->pending().front().proposal.title, bill);
    EXPECT_EQ(world.reading->count, 1);
}

/// Whichever look finds it gone, the watcher need not have seen that.
TEST(AppModelThreads, NamesAFileThatWasGoneAtOneLook) {
    World world;
    world.start();
    world.watch();
    for (int gone = 1; gone <= 6; ++gone) {
        SCOPED_TRACE(gone);
        const auto file = world.folder / fmt::format("scan000{}.txt", gone);
        int looks = 0;
        world.disk.setHook([&](HookedDisk::Call call, const std::filesystem::path& path) {
            return call == HookedDisk::Call::status && path == file && ++looks == gone ? ENOENT : 0;
        });
        (void)world.proposal(file.filename().native(), bill);
        world.disk.setHook({}); // which counts no more then
        EXPECT_GT(looks, gone);
    }
}

TEST(AppModelThreads, RemembersWhatCannotBeMarked) {
    World world;
    world.disk.refusesAttributes = true;
    world.start();
    world.watch();
    const auto accepted = world.proposal("scan0001.txt", bill);
    const auto ignored = world.proposal("scan0002.txt", "Relevé de compte mai");
    const auto undone = world.proposal("scan0003.txt", "Devis de toiture Montpellier");
    write(world.folder / "scan0004.txt", "rien");
    int renamed = 0;
    world.model->accept(accepted.proposal.id, [&](const auto&) { ++renamed; });
    world.model->accept(undone.proposal.id, [&](const auto& answer) {
        ASSERT_TRUE(answer);
        world.model->undo(answer->id, [&](const auto&) { ++renamed; });
    });
    EXPECT_TRUE(world.model->reject(ignored.proposal.id));
    ASSERT_TRUE(
        world.eventually([&] { return renamed == 2 && world.reading->count == 4 && world.isQuiet(); }));
    for (int run = 0; run < 2; ++run) {
        world.pass(std::chrono::milliseconds(600)); // all are reported again
        EXPECT_TRUE(world.model->pending().empty());
        EXPECT_EQ(world.reading->count, 4);
        world.start();
    }
    EXPECT_EQ(namesIn(world.folder.path()),
              (std::set<std::string>{"Facture EDF octobre Montpellier.txt", "scan0002.txt", "scan0003.txt",
                                     "scan0004.txt"}));
}

TEST(AppModelThreads, MarksWhatHasNoTitleAndTellsWhatItCannotRead) {
    World world;
    world.start();
    world.watch();
    write(world.folder / "scan0001.txt", "rien");
    write(world.folder / "scan0002.txt", "illisible");
    ASSERT_TRUE(world.eventually([&] { return ProcessedMarker::isMarked(world.folder / "scan0001.txt"); }));
    expectMark(world.folder / "scan0001.txt", State::skipped);
    ASSERT_TRUE(world.eventually([&] { return world.isQuiet(); }));
    EXPECT_FALSE(ProcessedMarker::isMarked(world.folder / "scan0002.txt"));
    EXPECT_TRUE(world.model->pending().empty());

    SCOPED_TRACE("in vain, until it is left");
    std::string content = "illisible";
    while (world.model->unreadable().empty() && content.size() < 30) {
        const int before = world.reading->count;
        std::filesystem::rename(write(world.home / "next", content += '!'), world.folder / "scan0002.txt");
        ASSERT_TRUE(world.eventually([&] { return world.reading->count > before && world.isQuiet(); }));
    }
    ASSERT_EQ(world.model->unreadable().size(), 1);
    EXPECT_EQ(world.reading->count, 7); // the mark, the first time, five more
    std::filesystem::remove(world.folder / "scan0002.txt");
    EXPECT_TRUE(world.eventually([&] { return world.model->unreadable().empty(); }));
}

TEST(AppModelThreads, WaitsOnceForFilesThatStandStillTogether) {
    constexpr int files = 100;
    World world;
    world.start();
    world.watch();
    world.model->setPaused(true);
    for (int number = 0; number < files; ++number)
        write(world.folder / ("scan" + std::to_string(number) + ".txt"),
              "Facture numéro " + std::to_string(number));
    world.clock.sleeps = 0;
    world.model->setPaused(false);
    ASSERT_TRUE(world.eventually([&] { return world.model->pending().size() == files; }));
    EXPECT_EQ(world.reading->count, files);
    // Three looks for the first file; without the looks at the others it would be three for each.
    EXPECT_LT(world.clock.sleeps, files);
}

TEST(AppModelThreads, EndsAtAnyMomentAndTellsTheTruthAfterwards) {
    for (const char* moment : {"waiting", "reading", "renaming", "listing a batch"}) {
        SCOPED_TRACE(moment);
        World world;
        if (moment == std::string("waiting")) {
            world.stabilizer.quietPeriod = std::chrono::seconds(30);
            world.stabilizer.timeout = std::chrono::seconds(120);
        }
        ASSERT_TRUE(world.settings.setAutoThreshold(0.5));
        world.start();
        world.watch(true);
        if (moment == std::string("reading"))
            world.reading->isHeld = true;
        write(world.folder / "scan0001.txt", bill);
        if (moment == std::string("waiting")) {
            ASSERT_TRUE(world.eventually([&] { return world.model->jobCount() == 1; }));
        } else if (moment == std::string("reading")) {
            ASSERT_TRUE(world.eventually([&] { return world.reading->count == 1; }));
            world.reading->isHeld = false;
        } else if (moment == std::string("renaming")) {
            ASSERT_TRUE(world.eventually([&] { return !world.history().empty(); }));
        } else {
            world.model->startBatch(world.folder.path());
        }
        world.stop();
        for (const RenameRecord& record : world.history()) {
            EXPECT_EQ(record.status, Status::done);
            EXPECT_TRUE(namesIn(world.folder.path()).contains(record.newName));
        }
        EXPECT_EQ(namesIn(world.folder.path()).size(), 1);
        world.stabilizer = {.quietPeriod = std::chrono::milliseconds(30),
                            .pollInterval = std::chrono::milliseconds(10)};
        world.start();
        EXPECT_TRUE(world.eventually(
            [&] { return namesIn(world.folder.path()).contains("Facture EDF octobre Montpellier.txt"); }));
        EXPECT_EQ(world.history().size(), 1);
    }
}

TEST(AppModelThreads, FinishesTheFileAtHandWhenAskedToLeaveUnlessItTakesTooLong) {
    for (const bool takesTooLong : {false, true}) {
        SCOPED_TRACE(takesTooLong);
        World world;
        world.finishPatience = std::chrono::milliseconds(takesTooLong ? 50 : 60'000);
        ASSERT_TRUE(world.settings.setAutoThreshold(0.5));
        world.start();
        world.watch(true);
        world.reading->isHeld = true;
        write(world.folder / "scan0001.txt", bill);
        ASSERT_TRUE(world.eventually([&] { return world.reading->count == 1; }));
        bool isFinished = false;
        world.model->finish([&] { isFinished = true; });
        if (!takesTooLong) {
            world.pass(std::chrono::milliseconds(50));
            EXPECT_FALSE(isFinished);
            world.reading->isHeld = false;
        }
        ASSERT_TRUE(world.eventually([&] { return isFinished; }));
        const char* renamed = "Facture EDF octobre Montpellier.txt";
        EXPECT_EQ(namesIn(world.folder.path()),
                  std::set<std::string>{takesTooLong ? "scan0001.txt" : renamed});
        EXPECT_FALSE(ProcessedMarker::isMarked(world.folder / "scan0001.txt"));
        EXPECT_EQ(world.history().size(), takesTooLong ? 0 : 1);
        world.reading->isHeld = false;
        world.start();
        EXPECT_TRUE(world.eventually([&] { return namesIn(world.folder.path()).contains(renamed); }));
    }
}

TEST(AppModelThreads, SaysThatADiskDoesNotAnswer) {
    World world;
    world.silenceLimit = std::chrono::seconds(3); // a busy machine's disk does not answer at once either
    world.finishPatience = std::chrono::milliseconds(0);
    world.start();
    world.watch();
    world.pass(std::chrono::milliseconds(3500));
    EXPECT_EQ(world.errors, std::vector<std::string>());
    const auto pending = world.proposal("scan0001.txt", bill);
    world.disk.hangs = true;
    bool isFinished = false;
    world.model->accept(pending.proposal.id);
    ASSERT_TRUE(world.eventually([&] { return world.model->lastError().has_value(); }));
    EXPECT_THAT(*world.model->lastError(), testing::HasSubstr("ne répond pas"));
    world.disk.hangs = false;
    EXPECT_TRUE(world.eventually([&] { return !world.history().empty() && !world.model->lastError(); }));

    SCOPED_TRACE("and is not waited for in the end");
    world.disk.hangs = true;
    write(world.folder / "scan0002.txt", bill);
    ASSERT_TRUE(world.eventually([&] { return world.model->lastError().has_value(); }));
    world.model->finish([&] { isFinished = true; });
    EXPECT_TRUE(world.eventually([&] { return isFinished; }));
    world.disk.hangs = false;
}

TEST(AppModelThreads, NamesAFileThatTheUserAsksFor) {
    World world;
    world.start(AppModel::Watching::none);
    write(world.folder / "Note de réunion.txt", bill);
    struct Row {
        NamingOrder order;
        const char* name;
    };
    const auto path = world.folder / "Note de réunion.txt";
    const auto renamed = world.folder / "Facture EDF octobre Montpellier.txt";
    const std::array<Row, 5> rows{
        {{{.path = path, .genericOnly = true}, "Note de réunion.txt"},
         {{.path = path, .minConfidence = 0.9}, "Note de réunion.txt"},
         {{.path = path, .apply = false}, "Note de réunion.txt"},
         {{.path = path, .minConfidence = 0.55}, "Facture EDF octobre Montpellier.txt"},
         {{.path = renamed, .nameTemplate = NameTemplate{"{title} copie"}},
          "Facture EDF octobre Montpellier.txt"}}};
    for (const Row& row : rows) {
        std::optional<NamingAnswer> answer;
        world.model->name(row.order, [&](const NamingAnswer& given) { answer = given; });
        ASSERT_TRUE(world.eventually([&] { return answer.has_value(); }));
        EXPECT_EQ(namesIn(world.folder.path()), std::set<std::string>{row.name});
        EXPECT_EQ(answer->rename.has_value(), row.name != path.filename() && row.order.path == path);
    }
}

TEST(AppModelThreads, WhatWritesInOneLanguageIsNotMadeReadyForAnother) {
    World world;
    std::vector<std::string> ready;
    world.openStore();
    AppModel model({.store = *world.store,
                    .settings = world.settings,
                    .notifier = world.notifier,
                    .summarizer = Summarizer({"fr-FR"}, world.reading),
                    .prepareModel = [&](const auto&) { ready.emplace_back("ours"); },
                    .generatorIn = [&](const Locale& language) -> std::shared_ptr<TitleGenerating> {
                        ready.push_back(language.identifier());
                        return nullptr;
                    }});
    bool isReady = false;
    model.start(AppModel::Watching::none, [&] { isReady = true; });
    ASSERT_TRUE(World::eventually([&] { return isReady; }));
    write(world.folder / "scan0001.txt", bill);
    for (const auto& language : {std::optional<Locale>(), std::optional(Locale("en_US"))}) {
        bool isNamed = false;
        model.name({.path = world.folder / "scan0001.txt", .locale = language, .apply = false},
                   [&](const NamingAnswer&) { isNamed = true; });
        ASSERT_TRUE(World::eventually([&] { return isNamed; }));
    }
    EXPECT_THAT(ready, testing::ElementsAre("ours", "en_US"));
}

} // namespace
} // namespace vesto
