#include "app/model/Store.h"
#include "bench/LongHistory.h"
#include "core/support/Assert.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesto {
namespace {

constexpr int rowCount = LongHistory::rowCount;

void open(benchmark::State& state) {
    const auto& file = LongHistory::file();
    for (auto _ : state)
        VESTO_ASSERT(Store::open(file).has_value());
    state.counters["MiB"] = static_cast<double>(std::filesystem::file_size(file)) / (1024.0 * 1024.0);
}

void newest(benchmark::State& state) {
    const Store store = Store::open(LongHistory::file()).value();
    for (auto _ : state)
        VESTO_ASSERT(store.history("", 50)->size() == 50);
}

/// One page after the other as a window scrolls, from the newest row to the last and again; `word` empty: all
/// rows. The longest of them counts, since it is what somebody who scrolls would feel.
void pages(benchmark::State& state, const char* word) {
    constexpr std::size_t page = 200;
    const Store store = Store::open(LongHistory::file()).value();
    std::optional<Store::Place> after;
    double longest = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const auto rows = store.history(word, page, after).value();
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        longest = std::max(longest, time.count());
        after =
            rows.size() < page ? std::nullopt : std::optional(Store::Place{rows.back().date, rows.back().id});
    }
    state.counters["longest_ms"] = longest;
}

/// `rows` on the first page.
void search(benchmark::State& state, const char* word, std::size_t rows) {
    const Store store = Store::open(LongHistory::file()).value();
    for (auto _ : state)
        VESTO_ASSERT(store.history(word, 50)->size() == rows);
}

void doneAt(benchmark::State& state) {
    const Store store = Store::open(LongHistory::file()).value();
    const RenameRecord last = store.lastDone()->value();
    const auto path = std::filesystem::path(last.folderPath) / last.newName;
    for (auto _ : state)
        VESTO_ASSERT(store.doneAt(path)->has_value());
}

void save(benchmark::State& state) {
    Store store = Store::open(LongHistory::file()).value();
    int number = rowCount;
    std::vector<std::string> ids;
    for (auto _ : state) {
        const RenameRecord record = LongHistory::row(number++);
        VESTO_ASSERT(store.save(record).has_value());
        ids.push_back(record.id);
    }
    for (const std::string& id : ids)
        VESTO_ASSERT(store.removeRecord(id).has_value());
}

BENCHMARK(open)->Name("store/open")->Unit(benchmark::kMillisecond);
BENCHMARK(newest)->Name("store/newest50")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pages, all, "")->Name("store/pages200/all")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pages, found, "facture")->Name("store/pages200/found")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, common, "facture", 50)->Name("store/search/common")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, letter, "é", 50)->Name("store/search/letter")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, everything, "pdf", 50)
    ->Name("store/search/everything")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, one, "scan0123456", 1)->Name("store/search/one")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, nothing, "zanzibar", 0)
    ->Name("store/search/nothing")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, nearly, "facture facture facture relevé garantie", 0)
    ->Name("store/search/commonWordsThatNeverMeet")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, absent, "ж", 0)->Name("store/search/absentLetter")->Unit(benchmark::kMillisecond);
BENCHMARK(doneAt)->Name("store/doneAt")->Unit(benchmark::kMillisecond);
BENCHMARK(save)->Name("store/save")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vesto
