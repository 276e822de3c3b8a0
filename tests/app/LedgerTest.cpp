#include "app/model/Ledger.h"

#include "tests/app/StoreSamples.h"
#include "tests/app/Tamper.h"
#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

TEST(Ledger, TriesAgainWhatCouldNotBeWritten) {
    const TestFolder folder;
    const auto file = folder / "history.sqlite";
    Store store = Store::open(file).value();
    int errors = 0;
    Ledger ledger(store, [&](const std::string&) { ++errors; });
    const RenameRecord failed = record("a", 1);
    RenameRecord done = record("b", 2);
    for (const RenameRecord& row : {failed, done})
        ASSERT_TRUE(ledger.begin(row));
    tamper(file, "ALTER TABLE RenameRecord RENAME TO Rows; ALTER TABLE UnmarkedFile RENAME TO Files");
    done.status = RenameRecord::Status::done;
    ledger.drop(failed);
    ledger.settle(done);
    ledger.noteMark(identity(3), {.state = ProcessedMarker::State::ignored, .originalName = "", .date = {}},
                    /*marked=*/false);
    EXPECT_EQ(errors, 3);
    EXPECT_EQ(ledger.record(failed.id), std::nullopt);
    EXPECT_EQ(ledger.record(done.id), done);

    tamper(file, "ALTER TABLE Rows RENAME TO RenameRecord; ALTER TABLE Files RENAME TO UnmarkedFile");
    EXPECT_EQ(store.unsettled()->size(), 2);
    EXPECT_TRUE(ledger.unsettled().empty()); // to be taken up by nobody else
    ASSERT_TRUE(ledger.begin(record("c", 4)));
    EXPECT_EQ(store.record(failed.id).value(), std::nullopt);
    EXPECT_EQ(store.record(done.id).value(), done);
    EXPECT_TRUE(store.remembered(identity(3)).value());
}

} // namespace
} // namespace vesto
