#include "core/files/ProcessedMarker.h"
#include "tests/app/support/Life.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <set>
#include <thread>
#include <utility>

namespace vesto {
namespace {

using Watching = AppModel::Watching;

/// How many files come at once: VESTO_FLOOD in the environment, else few enough for a sanitizer.
std::size_t floodSize() {
    const char* wish = std::getenv("VESTO_FLOOD");
    return wish == nullptr ? 300 : std::strtoul(wish, nullptr, 10);
}

std::chrono::milliseconds limitFor(std::size_t count) {
    return std::chrono::seconds(60) + static_cast<int>(count) * std::chrono::milliseconds(200);
}

/// Letters only, so that it is a word of a title.
std::string wordFor(std::size_t number) {
    std::string word = "Dossier";
    word += ' ';
    for (int letter = 0; letter < 6; ++letter, number /= 20)
        word += "bcdfghjklmnpqrstvwxz"[number % 20];
    return word;
}

/// Counts its lines. Gives the longest time from the beginning of one line to the end of the next.
std::chrono::milliseconds writeSlowly(const std::filesystem::path& file, int lines,
                                      std::atomic<int>& written) {
    using Clock = std::chrono::steady_clock;
    auto longest = Clock::duration::zero();
    for (auto before = Clock::now(); written < lines;) {
        const auto start = Clock::now();
        std::ofstream(file, std::ios::app) << "Dossier long\n";
        ++written;
        longest = std::max(longest, Clock::now() - std::exchange(before, start));
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
    }
    return std::chrono::ceil<std::chrono::milliseconds>(longest);
}

class FloodThreads : public testing::Test {
protected:
    void begin(bool automatic, FileStabilizer stabilizer = Life::impatient()) {
        settle(m_home, automatic);
        m_life = std::make_unique<Life>(m_home, m_disk, stabilizer);
        ASSERT_TRUE(m_life->start(Watching::asSet));
        ASSERT_TRUE(m_life->runUntil([&] { return m_life->model().isWatching("folder"); }));
    }

    /// Three writers at once, while the first files are dealt with already; until `isOver`, and nothing is to
    /// do any more.
    void flood(std::size_t count, const std::function<bool()>& isOver);
    /// How many files stand under names that Vesto gave them, each of which must be right.
    [[nodiscard]] std::size_t renamedFiles(std::size_t count);

    TestFolder m_root;
    Home m_home{m_root / "files", m_root / "data"};
    HookedDisk m_disk;
    std::unique_ptr<Life> m_life;
};

void FloodThreads::flood(std::size_t count, const std::function<bool()>& isOver) {
    std::vector<std::thread> writers;
    writers.reserve(3);
    for (std::size_t writer = 0; writer < 3; ++writer)
        writers.emplace_back([&, writer] {
            for (std::size_t number = writer; number < count; number += 3)
                write(m_home.files / fmt::format("scan {}.txt", number), wordFor(number) + "\n");
        });
    EXPECT_TRUE(m_life->runUntil(isOver, limitFor(count)));
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_TRUE(m_life->runUntil([&] { return m_life->model().jobCount() == 0; }));
}

std::size_t FloodThreads::renamedFiles(std::size_t count) {
    const auto rows = m_life->store().history("", count + 10).value();
    std::set<std::string> oldNames;
    for (const RenameRecord& row : rows) {
        EXPECT_TRUE(oldNames.insert(row.originalName).second) << row.originalName << " was renamed twice";
        EXPECT_EQ(row.status, RenameRecord::Status::done);
        EXPECT_EQ(contentOf(m_home.files / row.newName),
                  wordFor(std::strtoul(row.originalName.c_str() + 5, nullptr, 10)) + "\n");
    }
    EXPECT_EQ(namesIn(m_home.files).size(), count);
    return rows.size();
}

TEST_F(FloodThreads, EachFileOfManyIsRenamedOnce) {
    begin(true);
    const std::size_t count = floodSize();
    std::size_t renamed = 0;
    QObject::connect(&m_life->model(), &AppModel::renamed, [&] { ++renamed; });
    flood(count, [&] { return renamed >= count; });
    EXPECT_EQ(renamedFiles(count), count);
}

TEST_F(FloodThreads, EachFileOfManyIsProposedOnceKeptAndAnswered) {
    begin(false);
    const std::size_t count = floodSize();
    std::size_t proposed = 0;
    QObject::connect(&m_life->model(), &AppModel::proposed, [&] { ++proposed; });
    flood(count, [&] { return m_life->model().pending().size() >= count; });
    EXPECT_EQ(proposed, count);
    m_life.reset();
    m_life = std::make_unique<Life>(m_home, m_disk);
    ASSERT_TRUE(m_life->start(Watching::asSet));

    AppModel& model = m_life->model();
    std::set<std::filesystem::path> files;
    std::vector<std::string> accepted, ignored; // in turn
    for (const PendingProposal& pending : model.pending()) {
        EXPECT_TRUE(files.insert(pending.proposal.url).second) << pending.proposal.url << " waits twice";
        (accepted.size() > ignored.size() ? ignored : accepted).push_back(pending.id());
    }
    EXPECT_EQ(files.size(), count);
    EXPECT_TRUE(m_life->store().history("", 1).value().empty());
    EXPECT_EQ(namesIn(m_home.files).size(), count);

    std::size_t answers = 0;
    model.rejectAll(ignored);
    for (const std::string& id : accepted)
        model.accept(id, [&](const auto& answer) { answers += answer ? 1U : 0U; });
    EXPECT_TRUE(m_life->runUntil([&] { return answers == accepted.size(); }, limitFor(count)));
    EXPECT_TRUE(m_life->finish());
    EXPECT_TRUE(m_life->store().pending().value().empty());
    EXPECT_EQ(renamedFiles(count), accepted.size());
    const auto unmarked = std::ranges::count_if(namesIn(m_home.files), [&](const std::string& name) {
        return !ProcessedMarker::isMarked(m_home.files / name);
    });
    EXPECT_EQ(unmarked, 0);
}

TEST_F(FloodThreads, AWriterThatClosesAndReopensIsLeftInPeace) {
    using std::chrono::milliseconds;
    begin(
        true,
        {.quietPeriod = milliseconds(400), .pollInterval = milliseconds(20), .timeout = milliseconds(1000)});
    constexpr int lines = 40;
    std::atomic<int> written = 0;
    std::string file;
    int renamedAt = 0;
    QObject::connect(&m_life->model(), &AppModel::renamed, [&](const RenameRecord& row) {
        if (row.originalName == file)
            renamedAt = written;
    });
    // A writer that a busy machine holds up does close for long; it begins again, with another file.
    auto longestPause = milliseconds::max();
    for (int tries = 0; tries < 10 && longestPause >= milliseconds(300); ++tries) {
        file = fmt::format("scan {}.txt", tries);
        written = 0;
        renamedAt = 0;
        std::thread writer([&] { longestPause = writeSlowly(m_home.files / file, lines, written); });
        EXPECT_TRUE(m_life->runUntil([&] { return renamedAt != 0; }));
        writer.join();
    }
    ASSERT_LT(longestPause, milliseconds(300));
    EXPECT_EQ(renamedAt, lines) << "renamed while it was written";
    auto rows = m_life->store().history("", 100).value();
    std::erase_if(rows, [&](const RenameRecord& row) { return row.originalName != file; });
    ASSERT_EQ(rows.size(), 1);
    EXPECT_FALSE(namesIn(m_home.files).contains(file));
    EXPECT_EQ(contentOf(m_home.files / rows.front().newName).size(),
              lines * std::string("Dossier long\n").size());
}

} // namespace
} // namespace vesto
