#pragma once
#include "app/model/AppModel.h"
#include "core/extraction/ContentReading.h"
#include "tests/app/support/HookedDisk.h"
#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vesto {

/// Where a life is led: a folder that is watched, and where Vesto keeps its own.
struct Home {
    std::filesystem::path files;
    std::filesystem::path data;

    [[nodiscard]] std::filesystem::path storeFile() const { return data / "history.sqlite"; }
    [[nodiscard]] Settings settings() const { return Settings(SettingsFile(data / "vesto.conf")); }
};

/// A reader for files whose lines are their content.
class PlainReading final : public ContentReading {
public:
    std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                 const SummarizerSettings&) override {
        std::array<char, 4096> bytes{};
        const ssize_t size = ::pread(request.fd, bytes.data(), bytes.size(), 0);
        if (size < 0)
            return std::unexpected(SummarizerError::unreadable(request.path));
        Reading reading;
        std::string_view rest(bytes.data(), static_cast<std::size_t>(size));
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find('\n'), rest.size());
            reading.summary.lines.emplace_back(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        return reading;
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
};

/// Makes the folders and the settings: a name is its title, every title is sure enough. `automatic` is the
/// watched folder's.
inline void settle(const Home& home, bool automatic) {
    std::filesystem::create_directories(home.files);
    std::filesystem::create_directories(home.data);
    const Settings settings = home.settings();
    ASSERT_TRUE(settings.setNameTemplate("{title}"));
    ASSERT_TRUE(settings.setGenericOnly(false));
    ASSERT_TRUE(settings.setAutoThreshold(0));
    auto store = Store::open(home.storeFile());
    ASSERT_TRUE(store) << store.error().description;
    WatchedFolder folder;
    folder.id = "folder";
    folder.path = home.files;
    folder.bookmark = folderIdentity(home.files);
    folder.addedAt = systemClock().now() - std::chrono::minutes(1);
    folder.automatic = automatic;
    ASSERT_TRUE(store->save(folder));
}

/// As if nothing had been written down before it was done.
inline void forgetIntentions(const Home& home) {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(home.storeFile().c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, "DELETE FROM RenameRecord WHERE statusRaw = 'pending'", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
    sqlite3_close(handle);
}

/// The application from its start to its end, without services and with a reader of plain files. Needs the
/// process's main thread.
class Life {
public:
    Life(const Home& home, Disk& disk, FileStabilizer stabilizer = impatient())
        : Life(home, disk, Store::open(home.storeFile()).value(), stabilizer) {}

    Life(const Home& home, Disk& disk, Store store, FileStabilizer stabilizer = impatient())
        : m_application(application())
        , m_settings(home.settings())
        , m_store(std::move(store))
        , m_model({.store = m_store,
                   .settings = m_settings,
                   .notifier = m_notifier,
                   .summarizer = Summarizer({"fr-FR"}, std::make_shared<PlainReading>()),
                   .locale = Locale("fr_FR"),
                   .stabilizer = stabilizer,
                   .rescanInterval = std::chrono::milliseconds(200),
                   .disk = disk}) {}

    /// Waits hardly.
    [[nodiscard]] static FileStabilizer impatient() {
        using std::chrono::milliseconds;
        return {
            .quietPeriod = milliseconds(0), .pollInterval = milliseconds(1), .timeout = milliseconds(5000)};
    }

    [[nodiscard]] AppModel& model() { return m_model; }
    [[nodiscard]] Store& store() { return m_store; }

    /// Lets the model work until `isOver`; false where it is not in time.
    bool runUntil(const std::function<bool()>& isOver,
                  std::chrono::milliseconds limit = std::chrono::seconds(60)) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (!isOver()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            QTimer::singleShot(2, [] {}); // what is waited for may make no event
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }

    /// Starts and waits until what an earlier life left behind is settled.
    bool start(AppModel::Watching watching = AppModel::Watching::none) {
        auto ready = std::make_shared<bool>(false);
        m_model.start(watching, [ready] { *ready = true; });
        return runUntil([ready] { return *ready; });
    }

    /// Gives an order that takes a `done` and waits for it; what it was told, or nothing where it never came.
    using Answer = std::optional<std::expected<RenameRecord, std::string>>;
    Answer ask(const std::function<void(AppModel::RecordDone)>& order) {
        auto answer = std::make_shared<Answer>();
        order([answer](const std::expected<RenameRecord, std::string>& told) { *answer = told; });
        runUntil([answer] { return answer->has_value(); });
        return *answer;
    }
    bool await(const std::function<void(AppModel::Done)>& order) {
        auto over = std::make_shared<bool>(false);
        order([over] { *over = true; });
        return runUntil([over] { return *over; });
    }

    /// Ends what runs, as at a logout.
    bool finish() {
        return await([this](AppModel::Done done) { m_model.finish(std::move(done)); });
    }

private:
    static QCoreApplication& application() {
        static int count = 1;
        static std::array<char, 6> name{"tests"};
        static std::array<char*, 2> arguments{name.data(), nullptr};
        static QCoreApplication made(count, arguments.data());
        return made;
    }

    QCoreApplication& m_application;
    Settings m_settings;
    NullNotifier m_notifier;
    Store m_store;
    AppModel m_model;
};

} // namespace vesto
