#include "app/views/PendingModel.h"
#include "app/views/RecordModel.h"
#include "app/views/Words.h"
#include "tests/app/StoreSamples.h"
#include "tests/app/support/World.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <algorithm>
#include <string>
#include <vector>

namespace vesto {
namespace {

constexpr auto strict = QAbstractItemModelTester::FailureReportingMode::Fatal;

std::string textAt(const QAbstractItemModel& model, int row, int role, int column = 0) {
    return utf8(model.index(row, column).data(role).toString());
}

TEST(PendingModel, FollowsWhatWaitsAndNumbersTakenNames) {
    World world;
    world.start();
    world.watch();
    const PendingProposal first = world.proposal("scan_1.txt", "Facture annuelle de la ville");
    PendingModel model(*world.model, world.settings);
    const QAbstractItemModelTester tester(&model, strict);
    ASSERT_EQ(model.rowCount(), 1);
    const std::string plain = textAt(model, 0, NameRole);
    EXPECT_TRUE(plain.ends_with("Facture annuelle de la ville.txt")) << plain;
    EXPECT_EQ(textAt(model, 0, TitleRole), first.proposal.title);
    EXPECT_EQ(textAt(model, 0, Qt::AccessibleTextRole),
              plain + ", au lieu de scan_1.txt, confiance 55\u202F%, à vérifier");
    ASSERT_TRUE(World::eventually([&] { return model.index(0).data(IsFreshRole).toBool(); }));
    EXPECT_EQ(textAt(model, 0, NameRole), plain);

    // The newest comes first; what is there keeps its index.
    const QPersistentModelIndex kept = model.index(0);
    write(world.folder / plain, "pris");
    world.proposal("scan_2.txt", "Bail meublé de Marie");
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(kept.row(), 1);
    EXPECT_EQ(model.idAt(kept), first.proposal.id);
    ASSERT_TRUE(World::eventually([&] { return textAt(model, 1, NameRole) != plain; }));
    EXPECT_TRUE(textAt(model, 1, NameRole).ends_with("ville 2.txt"));

    // The threshold decides the step.
    ASSERT_TRUE(world.settings.setAutoThreshold(0.40));
    model.refresh();
    EXPECT_TRUE(textAt(model, 1, Qt::AccessibleTextRole).ends_with(", sûr"));

    EXPECT_TRUE(world.model->reject(first.proposal.id));
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_FALSE(kept.isValid());
    EXPECT_EQ(model.proposal(model.index(0))->proposal.title, "Bail meublé de Marie");
}

std::vector<RenameRecord> manyRecords(int count) {
    std::vector<RenameRecord> records;
    for (int second = 0; second < count; ++second) {
        records.push_back(record("Nom " + std::to_string(second) + ".pdf", second));
        records.back().status = RenameRecord::Status::done;
    }
    return records;
}

TEST(RecordModel, FetchesWhatIsSeenAndCountsAll) {
    World world;
    world.start(AppModel::Watching::none);
    ASSERT_TRUE(world.store->save(manyRecords(1'000)));
    RecordModel model(*world.model);
    const QAbstractItemModelTester tester(&model, strict);
    EXPECT_LE(model.rowCount(), 600); // the tester asks for more
    while (model.canFetchMore({}))
        model.fetchMore({});
    EXPECT_EQ(model.rowCount(), 1'000);
    EXPECT_EQ(model.total(), 1'000U);
    for (int row = 0; row < 1'000; ++row)
        ASSERT_EQ(textAt(model, row, NewNameRole), "Nom " + std::to_string(999 - row) + ".pdf");

    model.setSearch(QStringLiteral("NOM 99"));
    EXPECT_TRUE(World::eventually([&] { return model.total() == 11U; }));
    EXPECT_EQ(model.rowCount(), 11);
    model.setSearch(QStringLiteral("absent"));
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_TRUE(World::eventually([&] { return model.total() == 0U; }));

    const RecordModel recent(*world.model, nullptr, 5);
    EXPECT_EQ(recent.rowCount(), 5);
    EXPECT_FALSE(recent.canFetchMore({}));
}

TEST(RecordModel, FindsTheOnlyOneOfManyInParts) {
    World world;
    world.start(AppModel::Watching::none);
    std::vector<RenameRecord> records = manyRecords(12'000);
    records.front().originalName = "Zanzibar.txt";
    ASSERT_TRUE(world.store->save(records));
    RecordModel model(*world.model);
    const QAbstractItemModelTester tester(&model, strict);
    const int before = model.rowCount();
    model.setSearch(QStringLiteral("zanzibar"));
    EXPECT_EQ(model.rowCount(), before); // of the search before, until something is found
    const RenameRecord late = record("Zanzibar 2.pdf", 50'000);
    ASSERT_TRUE(world.store->save(late));
    Q_EMIT world.model->historyChanged();
    EXPECT_TRUE(World::eventually([&] { return model.rowCount() == 2 && model.total() == 2U; }));
    EXPECT_EQ(textAt(model, 0, NewNameRole), "Zanzibar 2.pdf");
    EXPECT_EQ(model.record(model.index(1, 0))->id, records.front().id);

    model.setSearch(QStringLiteral("nulle part"));
    model.setSearch({});
    EXPECT_TRUE(World::eventually([&] { return model.total() == 12'001U; }));
    EXPECT_GE(model.rowCount(), static_cast<int>(RecordModel::page));
}

TEST(RecordModel, TakesInWhatHappensAndKeepsItsRows) {
    World world;
    world.start();
    ASSERT_TRUE(world.store->save(manyRecords(300)));
    RecordModel model(*world.model);
    RecordModel recent(*world.model, nullptr, 5);
    const QAbstractItemModelTester tester(&model, strict);
    const QAbstractItemModelTester recentTester(&recent, strict);
    const QPersistentModelIndex kept = model.index(3, 0);
    const std::string keptID = model.record(kept)->id;
    world.watch();
    const PendingProposal pending = world.proposal("scan.txt", "Contrat de location");
    world.model->accept(pending.proposal.id);
    ASSERT_TRUE(World::eventually([&] { return model.total() == 301U; }));
    EXPECT_EQ(kept.row(), 4);
    EXPECT_EQ(model.record(kept)->id, keptID);
    EXPECT_EQ(recent.rowCount(), 5);
    EXPECT_TRUE(textAt(recent, 0, NewNameRole).ends_with("Contrat de location.txt"));
    EXPECT_EQ(textAt(model, 0, Qt::DisplayRole, RecordModel::statusColumn), "Renommé");
    EXPECT_TRUE(model.index(0, 0).data(CanUndoRole).toBool());
    EXPECT_EQ(model.index(0, 0).data(FilePathRole).toByteArray().toStdString(),
              (world.folder / textAt(recent, 0, NewNameRole)).native());

    QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);
    world.model->undo(model.record(model.index(0, 0))->id);
    ASSERT_TRUE(World::eventually([&] { return !changes.isEmpty(); }));
    EXPECT_EQ(textAt(model, 0, Qt::DisplayRole, RecordModel::statusColumn), "Annulé");
    EXPECT_EQ(textAt(model, 0, CurrentNameRole), "scan.txt");
    EXPECT_FALSE(model.index(0, 0).data(CanUndoRole).toBool());
}

TEST(RecordModel, SaysEachState) {
    RenameRecord record = vesto::record("Nouveau.pdf", 1);
    struct Row {
        RenameRecord::Status status;
        bool automatic;
        const char* text;
    };
    record.errorMessage = "Le disque est plein.";
    for (const Row& row : std::vector<Row>{{RenameRecord::Status::pending, false, "En cours"},
                                           {RenameRecord::Status::done, false, "Renommé"},
                                           {RenameRecord::Status::done, true, "Automatique"},
                                           {RenameRecord::Status::undone, true, "Annulé · Automatique"},
                                           {RenameRecord::Status::failed, false, "Le disque est plein."}}) {
        record.status = row.status;
        record.automatic = row.automatic;
        EXPECT_EQ(utf8(statusText(record)), row.text);
    }
}

} // namespace
} // namespace vesto
