#include "app/model/Commands.h"
#include "app/model/EngineWatch.h"
#include "tests/app/support/Life.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <thread>

namespace vesto {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::IsSupersetOf;

/// What is told, in order: "event", or "event name" where a folder or a file is spoken of.
class EngineWatchThreads : public testing::Test {
protected:
    void SetUp() override {
        settle(m_home, false);
        m_disk.setHook([this](HookedDisk::Call, const std::filesystem::path&) {
            do
                std::this_thread::sleep_for(milliseconds(20)); // as on a slow disk
            while (m_hangs);
            return 0;
        });
    }

    /// Watches until `last` is told, with `onEvent` called at each event before.
    void watch(const std::vector<std::filesystem::path>& folders, const std::string& last,
               const std::function<void(const std::string& event)>& onEvent,
               milliseconds patience = std::chrono::seconds(60)) {
        Life life(m_home, m_disk);
        EngineWatch* running = nullptr;
        EngineWatch watch(
            life.model(),
            [&](const Json& event) {
                std::string words = event.value("event", "");
                if (const std::filesystem::path path = event.value("path", ""); !path.empty())
                    words += " " + path.filename().native();
                if (m_told.empty() || m_told.back() != last) {
                    onEvent(words);
                    m_told.push_back(words);
                    if (words == last)
                        running->stop();
                }
                return true;
            },
            patience);
        running = &watch;
        QTimer::singleShot(std::chrono::seconds(60), &watch, [&] { watch.stop(); });
        EXPECT_TRUE(watch.run(folders));
    }

    TestFolder m_root;
    Home m_home{m_root / "stored", m_root / "data"};
    HookedDisk m_disk;
    std::atomic<bool> m_hangs = false;
    std::vector<std::string> m_told;
};

TEST_F(EngineWatchThreads, AFileThatComesOnceItHasStartedIsNamed) {
    const auto added = m_root / "added";
    std::filesystem::create_directory(added);
    for (const bool isDisabled : {false, true}) { // as an earlier order left the other folder
        SCOPED_TRACE(isDisabled);
        m_told.clear();
        if (isDisabled) {
            auto store = Store::open(m_home.storeFile()).value();
            WatchedFolder stored = store.folders().value().front();
            stored.enabled = false;
            ASSERT_TRUE(store.save(stored));
        }
        watch({added, m_home.files}, "proposed scan.txt", [&](const std::string& event) {
            if (event != "started")
                return;
            EXPECT_THAT(m_told, IsSupersetOf({"watching stored", "watching added"}));
            write((isDisabled ? m_home.files : added) / "scan.txt", "Facture eau avril\n");
        });
        EXPECT_THAT(m_told, Contains("proposed scan.txt"));
    }
}

TEST_F(EngineWatchThreads, AFolderThatCannotBeWatchedHoldsNothingUp) {
    std::filesystem::rename(m_home.files, m_root / "away");
    watch({}, "started", [](const std::string&) {});
    EXPECT_EQ(m_told, (std::vector<std::string>{"error", "started"}));

    SCOPED_TRACE("nor does one that does not answer");
    std::filesystem::rename(m_root / "away", m_home.files);
    m_told.clear();
    m_hangs = true;
    watch(
        {}, "watching stored", [&](const std::string& event) { m_hangs = event != "started"; },
        milliseconds(100));
    EXPECT_EQ(m_told, (std::vector<std::string>{"note stored", "started", "watching stored"}));
}

TEST_F(EngineWatchThreads, AnOrderThatComesBeforeTheModelIsReadyWaitsForIt) {
    PendingProposal waiting;
    waiting.folderID = "folder";
    waiting.proposal.id = randomUuid();
    waiting.proposal.url = write(m_home.files / "scan.txt", "Facture eau avril\n");
    waiting.proposal.identity = FileIdentity::of(waiting.proposal.url);
    ASSERT_TRUE(Store::open(m_home.storeFile()).value().save(waiting));
    Life life(m_home, m_disk);
    Commands commands(life.model(), {});
    life.model().start(AppModel::Watching::none);
    std::vector<Json> answers;
    const auto request =
        commands.begin(Json{{"verb", "pending"}}, [&](const Json& answer) { answers.push_back(answer); });
    EXPECT_TRUE(life.runUntil([&] { return request->isOver(); }));
    ASSERT_EQ(answers.size(), 2);
    EXPECT_EQ(answers.front().at("line").value("id", ""), waiting.proposal.id);
}

} // namespace
} // namespace vesto
