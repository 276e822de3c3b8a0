#pragma once
#include "app/model/AppModel.h"
#include "core/extraction/ContentReading.h"
#include "tests/app/support/HookedDisk.h"
#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vesto {

/// Reads a file as one line, without a service; but "illisible…" cannot be read, and "rien" has no line.
class ScriptedReading final : public ContentReading {
public:
    std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                 const SummarizerSettings&) override {
        ++count;
        while (isHeld && !request.stop.stop_requested())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const std::string content = contentOf(request.path);
        if (content.starts_with("illisible"))
            return std::unexpected(SummarizerError::unreadable(request.path));
        Reading reading;
        if (content != "rien")
            reading.summary.lines.push_back(content);
        return reading;
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }

    std::atomic<int> count = 0;
    std::atomic<bool> isHeld = false;
};

/// The real disk, which may refuse attributes, or not answer for a while.
class PickyDisk : public HookedDisk {
public:
    PickyDisk() {
        setHook([this](Call call, const std::filesystem::path&) {
            while (hangs)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            return refusesAttributes && call == Call::writeAttribute ? EOPNOTSUPP : 0;
        });
    }

    std::atomic<bool> refusesAttributes = false;
    std::atomic<bool> hangs = false;
};

/// The clock of the machine, which counts who sleeps.
class CountingClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override { return systemClock().now(); }
    [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override { return systemClock().sinceBoot(); }
    [[nodiscard]] bool sleepUntil(std::chrono::nanoseconds time, const std::stop_token& stop) const override {
        ++sleeps;
        return systemClock().sleepUntil(time, stop);
    }

    mutable std::atomic<int> sleeps = 0;
};

/// A user's home, one folder of theirs, and the application over them, which can be ended and started again.
class World {
public:
    World() {
        if (QCoreApplication::instance() == nullptr) { // the tests of windows have a larger one
            static int wordCount = 1;
            static std::string program = "app_tests";
            static std::array<char*, 2> words{program.data(), nullptr};
            static const QCoreApplication application(wordCount, words.data());
        }
        openStore();
    }
    World(const World&) = delete;
    ~World() {
        reading->isHeld = false;
        disk.hangs = false;
        model.reset();
    }

    void openStore() {
        auto opened = Store::open(home / "history.sqlite");
        ASSERT_TRUE(opened) << opened.error().description;
        store = std::make_unique<Store>(std::move(*opened));
    }

    /// Starts the application; ends it first where it runs.
    void start(AppModel::Watching watching = AppModel::Watching::asSet) {
        stop();
        openStore();
        model = std::make_unique<AppModel>(
            AppModel::Dependencies{.store = *store,
                                   .settings = settings,
                                   .notifier = notifier,
                                   .summarizer = Summarizer({"fr-FR"}, usedReading ? usedReading : reading),
                                   .generator = generator,
                                   .modelAvailability = modelAvailability,
                                   .locale = Locale("fr_FR"),
                                   .stabilizer = stabilizer,
                                   .rescanInterval = std::chrono::milliseconds(100),
                                   .silenceLimit = silenceLimit,
                                   .finishPatience = finishPatience,
                                   .disk = *usedDisk,
                                   .clock = clock});
        QObject::connect(model.get(), &AppModel::lastErrorChanged, model.get(), [this] {
            if (model->lastError())
                errors.push_back(*model->lastError());
        });
        bool isReady = false;
        model->start(watching, [&] { isReady = true; });
        EXPECT_TRUE(eventually([&] { return isReady; }));
    }
    void stop() { model.reset(); }

    /// Runs the event loop until it is so; false after a long time.
    static bool eventually(const std::function<bool()>& isSo) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!isSo()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

    /// Runs the event loop for a while: for what must not happen.
    static void pass(std::chrono::milliseconds time) {
        const auto end = std::chrono::steady_clock::now() + time;
        (void)eventually([&] { return std::chrono::steady_clock::now() > end; });
    }

    /// Adds the folder and waits until it is watched.
    WatchedFolder watch(const std::filesystem::path& path, bool automatic = false) {
        WatchedFolder added;
        bool isDone = false;
        model->addFolder(path,
                         [&](const std::optional<WatchedFolder>& joined, const std::vector<FolderNote>&) {
                             added = joined.value_or(WatchedFolder{});
                             isDone = true;
                         });
        EXPECT_TRUE(eventually([&] { return isDone && model->isWatching(added.id); }));
        if (automatic)
            model->setAutomatic(added.id, true);
        return added;
    }
    WatchedFolder watch(bool automatic = false) { return watch(folder.path(), automatic); }

    /// Drops a file into the folder and waits until its name is proposed.
    PendingProposal proposal(std::string_view name, std::string_view content) {
        const std::size_t before = model->pending().size();
        write(folder / name, content);
        EXPECT_TRUE(eventually([&] { return model->pending().size() == before + 1; }));
        return model->pending().empty() ? PendingProposal{} : model->pending().front();
    }

    [[nodiscard]] std::vector<RenameRecord> history() const { return store->history("", 100).value(); }
    [[nodiscard]] bool isQuiet() const { return model->jobCount() == 0; }

    TestFolder home;
    TestFolder folder;
    Settings settings{SettingsFile(home / "vesto.conf")};
    RecordingNotifier notifier;
    std::shared_ptr<ScriptedReading> reading = std::make_shared<ScriptedReading>();
    std::shared_ptr<ContentReading> usedReading; // null: `reading`
    std::shared_ptr<TitleGenerating> generator;
    PickyDisk disk;
    Disk* usedDisk = &disk;
    CountingClock clock;
    FileStabilizer stabilizer{.quietPeriod = std::chrono::milliseconds(30),
                              .pollInterval = std::chrono::milliseconds(10),
                              .timeout = std::chrono::milliseconds(500)};
    std::chrono::milliseconds silenceLimit = std::chrono::seconds(20);
    std::chrono::milliseconds finishPatience = std::chrono::seconds(5);
    std::function<FoundationNameGenerator::Availability()> modelAvailability{};
    std::unique_ptr<Store> store;
    std::unique_ptr<AppModel> model;
    std::vector<std::string> errors; // what the user was told, in order
};

} // namespace vesto
