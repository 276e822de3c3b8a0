#include "core/watch/SecondReports.h"

#include "tests/core/files/TestFolder.h"

namespace vesto {
namespace {

using Fruitless = FolderWatcher::Fruitless;

FileState stateOf(const std::filesystem::path& path) {
    return FileIdentity::of(path)->state.value();
}

/// A file of a folder that gave nothing, and what may happen to it since.
struct Case {
    explicit Case(Fruitless reason, bool wasSeen = true) {
        write(file, "half");
        EXPECT_TRUE(
            reports.fruitless("a.pdf", reason, wasSeen ? std::optional(stateOf(file)) : std::nullopt));
        dueAtOnce = reports.takeNews();
    }
    void change() const { write(file, "half and more"); }
    bool isReported() { return reports.take("a.pdf"); }

    TestFolder folder;
    std::filesystem::path file = folder / "a.pdf";
    SecondReports reports{folder.path()};
    bool dueAtOnce = false;
};

TEST(SecondReports, NeedAReasonToHope) {
    using enum Fruitless;
    using What = void (*)(Case&);
    const What nothing = [](Case&) {};
    const What close = [](Case& it) { it.reports.closed("a.pdf"); };
    const What changeAndClose = [](Case& it) {
        it.change();
        it.reports.closed("a.pdf");
    };
    const What moveOnto = [](Case& it) { it.reports.movedOnto("a.pdf"); };
    const What standStill = [](Case& it) {
        it.reports.rescan();
        it.reports.rescan();
    };
    const What changeAndStandStill = [](Case& it) {
        it.change();
        it.reports.rescan();
        EXPECT_FALSE(it.isReported());
        it.reports.rescan();
    };
    const What changeAgain = [](Case& it) {
        for (int round = 0; round < 3; ++round) {
            write(it.file, std::string(10U + static_cast<unsigned>(round), 'x'));
            it.reports.rescan();
        }
    };
    struct Row {
        const char* what;
        What happen;
        bool restless, empty, unreadable; // `changed` is as `unreadable`
    };
    for (const Row& row : {
             Row{"nothing", nothing, false, false, false},
             Row{"closed and not written to", close, true, false, false},
             Row{"written to and closed", changeAndClose, true, true, true},
             Row{"moved onto", moveOnto, true, true, true},
             Row{"stood still as it was", standStill, true, false, false},
             Row{"stood still otherwise", changeAndStandStill, true, true, true},
             Row{"never the same twice", changeAgain, false, false, false},
         })
        for (const auto& [reason, expected] : {std::pair(restless, row.restless),
                                               {empty, row.empty},
                                               {unreadable, row.unreadable},
                                               {changed, row.unreadable}}) {
            SCOPED_TRACE(testing::Message() << row.what << ", reason " << static_cast<int>(reason));
            Case it(reason);
            EXPECT_FALSE(it.dueAtOnce);
            row.happen(it);
            EXPECT_EQ(it.isReported(), expected);
            EXPECT_FALSE(it.isReported());
        }
    EXPECT_TRUE(Case(replaced).dueAtOnce);
    Case gone(replaced, false);
    EXPECT_FALSE(gone.dueAtOnce);
    EXPECT_TRUE(gone.isReported()) << "the next look found it";
}

/// A download that is opened, appended to and closed all the time, for longer than it is waited for.
TEST(SecondReports, GiveNoWriterUpBeforeItIsDone) {
    Case it(Fruitless::restless);
    std::string content;
    const auto append = [&] { write(it.file, content += "more"); };
    for (int round = 0; round < 2 * SecondReports::vainLimit; ++round) {
        SCOPED_TRACE(round);
        // It may have been the last; but not for ever: who closes seldom would be waited for again and again.
        const bool mayBeLast = round < SecondReports::vainLimit;
        EXPECT_EQ(it.reports.closed("a.pdf"), mayBeLast);
        ASSERT_EQ(it.isReported(), mayBeLast);
        if (!mayBeLast)
            break;
        it.reports.closed("a.pdf");
        const FileState seen = stateOf(it.file);
        append();
        ASSERT_TRUE(it.reports.fruitless("a.pdf", Fruitless::restless, seen));
        EXPECT_FALSE(it.reports.takeNews());
        EXPECT_FALSE(it.reports.closed("a.pdf"));
        EXPECT_FALSE(it.reports.movedOnto("a.pdf"));
        for (int look = 0; look < 2; ++look) {
            EXPECT_FALSE(it.isReported());
            append();
            it.reports.rescan();
        }
    }
    it.reports.rescan();
    it.reports.rescan();
    EXPECT_TRUE(it.isReported()) << "it stood still";
}

/// One that is saved again and again while it is read, or replaced while it is waited for.
TEST(SecondReports, GiveNoFileUpThatIsSavedWhileItIsRead) {
    struct Row {
        const char* what;
        Fruitless reason;
        bool (SecondReports::*signal)(std::string_view);
    };
    for (const Row& row : {Row{"closed", Fruitless::changed, &SecondReports::closed},
                           Row{"moved onto", Fruitless::changed, &SecondReports::movedOnto},
                           Row{"replaced", Fruitless::replaced, &SecondReports::movedOnto}}) {
        SCOPED_TRACE(row.what);
        Case it(row.reason);
        std::string content;
        const auto saveAndTell = [&] {
            const FileState seen = stateOf(it.file);
            write(it.file, content += "more");
            (it.reports.*row.signal)("a.pdf");
            return seen;
        };
        for (int round = 0; round < 2 * SecondReports::vainLimit; ++round) {
            SCOPED_TRACE(round);
            const FileState seen = saveAndTell();
            EXPECT_EQ(it.isReported(), round < SecondReports::vainLimit);
            ASSERT_TRUE(it.reports.fruitless("a.pdf", row.reason, seen));
            EXPECT_EQ(it.reports.takeNews(), round < SecondReports::vainLimit - 1);
        }
        const int times = row.reason == Fruitless::changed ? 2 * SecondReports::vainLimit : 1;
        for (int time = 0; time < times; ++time) {
            it.reports.rescan();
            it.reports.rescan();
            EXPECT_TRUE(it.isReported()) << "it stood still";
            ASSERT_TRUE(it.reports.fruitless("a.pdf", row.reason, saveAndTell()));
            static_cast<void>(it.reports.takeNews());
        }
    }
}

/// The last close may come between the look at a file and the news that it gave nothing.
TEST(SecondReports, KnowWhatWasClosedBeforeTheNews) {
    for (const bool isFinished : {false, true}) {
        const TestFolder folder;
        const auto file = write(folder / "a.pdf", "half");
        SecondReports reports(folder.path());
        const FileState seen = stateOf(file);
        if (isFinished)
            write(file, "whole");
        EXPECT_FALSE(reports.closed("a.pdf"));
        ASSERT_TRUE(reports.fruitless("a.pdf", Fruitless::unreadable, seen));
        EXPECT_EQ(reports.takeNews(), isFinished);
        EXPECT_EQ(reports.take("a.pdf"), isFinished);
    }
}

TEST(SecondReports, WaitForAnOfficeProgramAsLongAsItTakes) {
    const TestFolder folder;
    write(folder / "a.odt", "x");
    SecondReports reports(folder.path(), [] { return true; });
    for (int round = 0; round < 2 * SecondReports::vainLimit; ++round) {
        SCOPED_TRACE(round);
        const auto lock = write(folder / ".~lock.a.odt#", "");
        ASSERT_TRUE(reports.fruitless("a.odt", Fruitless::held, stateOf(folder / "a.odt")));
        EXPECT_FALSE(reports.takeNews());
        reports.closed("a.odt");
        reports.rescan();
        reports.rescan();
        EXPECT_FALSE(reports.take("a.odt"));
        std::filesystem::remove(lock);
        EXPECT_TRUE(reports.take("a.odt"));
        EXPECT_FALSE(reports.take("a.odt"));
    }
}

TEST(SecondReports, GiveUpAfterFiveInVain) {
    const TestFolder folder;
    write(folder / "a.pdf", "x");
    SecondReports reports(folder.path());
    const auto tell = [&] { return reports.fruitless("a.pdf", Fruitless::unreadable, std::nullopt); };
    for (int round = 0; round < SecondReports::vainLimit; ++round) {
        SCOPED_TRACE(round);
        // What is told twice of one report counts once.
        ASSERT_TRUE(tell());
        ASSERT_TRUE(tell());
        EXPECT_FALSE(reports.takeNews());
        EXPECT_TRUE(reports.movedOnto("a.pdf"));
        ASSERT_TRUE(reports.take("a.pdf"));
    }
    EXPECT_FALSE(tell());
    EXPECT_FALSE(tell());
    EXPECT_FALSE(reports.movedOnto("a.pdf"));
    EXPECT_FALSE(reports.take("a.pdf"));
    // A name that was gone begins anew.
    reports.keepOnly({"b.pdf"});
    EXPECT_TRUE(tell());
}

} // namespace
} // namespace vesto
