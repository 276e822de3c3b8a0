#include "core/files/ProcessedMarker.h"
#include "tests/app/support/Life.h"
#include "tests/core/watch/ShortQueue.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>

namespace vesto {
namespace {

using Watching = AppModel::Watching;

/// How many files come at once: VESTO_FLOOD in the environment, else few enough for a sanitizer.
std::size_t floodSize() {
    const char* wish = std::getenv("VESTO_FLOOD");
    return wish == nullptr ? 300 : std::strtoul(wish, nullptr, 10);
}

/// Letters only, so that it is a word of a title.
std::string wordFor(std::size_t number) {
    std::string word = "Dossier";
    word += ' ';
    for (int letter = 0; letter < 6; ++letter, number /= 20)
        word += "bcdfghjklmnpqrstvwxz"[number % 20];
    return word;
}

class FloodThreads : public testing::Test {
protected:
    void begin(bool automatic, FileStabilizer stabilizer = Life::impatient()) {
        settle(m_home, automatic);
        m_life = std::make_unique<Life>(m_home, m_disk, stabilizer);
        ASSERT_TRUE(m_life->start(Watching::asSet));
        ASSERT_TRUE(m_life->runUntil([&] { return m_life->model().isWatching("folder"); }));
    }

    /// Three writers at once, while the first files are renamed already.
    void flood(std::size_t count);

    TestFolder m_root;
    Home m_home{m_root / "files", m_root / "data"};
    HookedDisk m_disk;
    std::unique_ptr<Life> m_life;
};

void FloodThreads::flood(std::size_t count) {
    std::vector<std::thread> writers;
    for (std::size_t writer = 0; writer < 3; ++writer)
        writers.emplace_back([&, writer] {
            for (std::size_t number = writer; number < count; number += 3)
                write(m_home.files / fmt::format("scan {}.txt", number), wordFor(number) + "\n");
        });
    std::size_t renamed = 0;
    QObject::connect(&m_life->model(), &AppModel::renamed, [&] { ++renamed; });
    const auto limit = std::chrono::seconds(60) + static_cast<int>(count) * std::chrono::milliseconds(200);
    EXPECT_TRUE(m_life->runUntil([&] { return renamed >= count; }, limit));
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_TRUE(m_life->runUntil([&] { return m_life->model().jobCount() == 0; }));

    const auto rows = m_life->store().history("", count + 10).value();
    EXPECT_EQ(rows.size(), count);
    std::set<std::string> oldNames;
    for (const RenameRecord& row : rows) {
        EXPECT_TRUE(oldNames.insert(row.originalName).second) << row.originalName << " was renamed twice";
        EXPECT_EQ(row.status, RenameRecord::Status::done);
        EXPECT_EQ(contentOf(m_home.files / row.newName),
                  wordFor(std::strtoul(row.originalName.c_str() + 5, nullptr, 10)) + "\n");
    }
    EXPECT_EQ(namesIn(m_home.files).size(), count);
}

TEST_F(FloodThreads, EachFileOfManyIsRenamedOnce) {
    begin(true);
    flood(floodSize());
}

TEST_F(FloodThreads, EachFileIsRenamedWhereTheSystemForgetsWhatItHasToTell) {
    const ShortQueue queue;
    if (!queue.isShort)
        GTEST_SKIP() << "the length of the system's queue may not be changed here";
    begin(true);
    flood(floodSize());
}

TEST_F(FloodThreads, AWriterThatClosesAndReopensIsLeftInPeace) {
    using std::chrono::milliseconds;
    begin(
        true,
        {.quietPeriod = milliseconds(400), .pollInterval = milliseconds(20), .timeout = milliseconds(1000)});
    const auto file = m_home.files / "scan.txt";
    constexpr int lines = 40;
    std::atomic<int> written = 0;
    std::thread writer([&] {
        for (int line = 0; line < lines; ++line) {
            std::ofstream(file, std::ios::app) << "Dossier long\n";
            ++written;
            std::this_thread::sleep_for(milliseconds(60));
        }
    });
    int renamedAt = 0;
    QObject::connect(&m_life->model(), &AppModel::renamed, [&] { renamedAt = written; });
    EXPECT_TRUE(m_life->runUntil([&] { return renamedAt != 0; }));
    writer.join();
    EXPECT_EQ(renamedAt, lines) << "renamed while it was written";
    const auto rows = m_life->store().history("", 10).value();
    ASSERT_EQ(rows.size(), 1);
    EXPECT_EQ(namesIn(m_home.files), (std::set<std::string>{rows.front().newName}));
    EXPECT_EQ(contentOf(m_home.files / rows.front().newName).size(),
              lines * std::string("Dossier long\n").size());
}

} // namespace
} // namespace vesto
