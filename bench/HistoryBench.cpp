#include "app/model/AppModel.h"
#include "app/views/HistoryWindow.h"
#include "app/views/RecordModel.h"
#include "app/views/Shell.h"
#include "bench/LongHistory.h"
#include "core/support/Assert.h"

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <QApplication>
#include <QLineEdit>
#include <QScrollBar>
#include <QTableView>
#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {
namespace {

/// Asked for nothing here.
class NoShell final : public Shell {
public:
    void showPanel() override {}
    void showPanelEditing(std::string_view /*proposalID*/) override {}
    void showHistory() override {}
    void showSettings(SettingsPage /*page*/) override {}
    void showBatch() override {}
    void chooseFolder(QWidget* /*over*/, const std::filesystem::path& /*start*/,
                      std::function<void(const std::string&)> /*added*/) override {}
    void watchFolder(const std::filesystem::path& /*folder*/,
                     std::function<void(const std::string&)> /*added*/) override {}
    void reveal(const std::filesystem::path& /*file*/) override {}
    void quit() override {}
    [[nodiscard]] std::optional<bool> launchesAtLogin() const override { return std::nullopt; }
    bool setLaunchesAtLogin(bool /*value*/) override { return false; }
    [[nodiscard]] std::string modelSummary() const override { return {}; }
    [[nodiscard]] std::string sandboxFault() const override { return {}; }
    void checkSandbox(std::function<void()> /*done*/) override {}
    void preview(const std::filesystem::path& /*file*/,
                 std::function<void(const std::optional<Preview>&)> /*done*/) override {}
};

class NoReading final : public ContentReading {
public:
    std::expected<Reading, SummarizerError> read(const ReadRequest& request,
                                                 const SummarizerSettings& /*settings*/) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
};

/// The application over a million renames, its windows painted into memory.
class Application {
public:
    Application() {
        m_model = std::make_unique<AppModel>(
            AppModel::Dependencies{.store = m_store,
                                   .settings = m_settings,
                                   .notifier = m_notifier,
                                   .summarizer = Summarizer({"fr-FR"}, std::make_shared<NoReading>())});
    }

    static QApplication& gui() {
        static int count = 1;
        static std::string name = "vesto_bench";
        static std::array<char*, 2> words{name.data(), nullptr};
        VESTO_ASSERT(::setenv("QT_QPA_PLATFORM", "offscreen", 1) == 0);
        // Not ended: parts of Qt are gone by the time at which statics of ours end.
        static QApplication& application = *new QApplication(count, words.data());
        return application;
    }

    [[nodiscard]] AppModel& model() { return *m_model; }
    [[nodiscard]] Shell& shell() { return m_shell; }
    [[nodiscard]] WindowMemory memory() const {
        return WindowMemory(SettingsFile(LongHistory::file().parent_path() / "windows.conf"));
    }

private:
    QApplication& m_application = gui();
    Store m_store = Store::open(LongHistory::file()).value();
    Settings m_settings{SettingsFile(LongHistory::file().parent_path() / "vesto.conf")};
    NullNotifier m_notifier;
    NoShell m_shell;
    std::unique_ptr<AppModel> m_model;
};

/// How long the window answers nothing at the longest, in milliseconds.
class Pause {
public:
    void measure(const std::function<void()>& act) {
        const auto start = std::chrono::steady_clock::now();
        act();
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        m_longest = std::max(m_longest, time.count());
    }
    /// Everything that waits to be done, one thing after the other as the event loop does it.
    void settle() {
        for (int round = 0; round < 20; ++round)
            measure([] { QCoreApplication::processEvents(QEventLoop::AllEvents, 0); });
    }
    [[nodiscard]] double longest() const { return m_longest; }

private:
    double m_longest = 0;
};

/// The window from its making until it is painted; then what it does unasked.
void openWindow(benchmark::State& state) {
    Application application;
    Pause pause;
    for (auto _ : state) {
        HistoryWindow window(application.model(), application.shell(), application.memory());
        window.show();
        benchmark::DoNotOptimize(window.grab());
        state.PauseTiming();
        pause.settle();
        state.counters["rows"] = window.findChild<RecordModel*>()->rowCount();
        state.ResumeTiming();
    }
    state.counters["longest_ms"] = pause.longest();
}

/// Down through all rows, as somebody who holds Page Down or End; each time painted.
void scroll(benchmark::State& state, bool isToEnd) {
    Application application;
    HistoryWindow window(application.model(), application.shell(), application.memory());
    window.show();
    QTableView& table = *window.findChild<QTableView*>();
    QScrollBar& bar = *table.verticalScrollBar();
    Pause pause;
    for (auto _ : state)
        pause.measure([&] {
            bar.setValue(isToEnd ? bar.maximum() : bar.value() + bar.pageStep());
            QCoreApplication::processEvents();
            benchmark::DoNotOptimize(table.viewport()->grab());
        });
    state.counters["rows"] = table.model()->rowCount();
    state.counters["longest_ms"] = pause.longest();
}

/// From the end of the typing until the rows are painted, with the counting that goes on meanwhile.
void filter(benchmark::State& state, const char* words) {
    Application application;
    HistoryWindow window(application.model(), application.shell(), application.memory());
    window.show();
    auto* records = window.findChild<RecordModel*>();
    bool isFound = false;
    QObject::connect(records, &QAbstractItemModel::modelReset, [&isFound] { isFound = true; });
    Pause pause;
    for (auto _ : state) {
        isFound = false;
        pause.measure([&] { records->setSearch(QString::fromUtf8(words)); });
        while (!isFound)
            pause.measure([] { QCoreApplication::processEvents(QEventLoop::AllEvents, 0); });
        benchmark::DoNotOptimize(window.grab());
        state.PauseTiming();
        pause.settle();
        records->setSearch({});
        pause.settle();
        state.ResumeTiming();
    }
    state.counters["longest_ms"] = pause.longest();
}

BENCHMARK(openWindow)->Name("history/open")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(scroll, pageDown, false)
    ->Name("history/pageDown")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(8'000);
BENCHMARK_CAPTURE(scroll, end, true)->Name("history/end")->Unit(benchmark::kMillisecond)->Iterations(5'000);
BENCHMARK_CAPTURE(filter, common, "facture")->Name("history/filter/common")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(filter, one, "scan0123456")->Name("history/filter/one")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(filter, nothing, "zanzibar")->Name("history/filter/nothing")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vesto
