#include "app/model/Store.h"
#include "core/support/Assert.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace vesto {
namespace {

constexpr int rowCount = 1'000'000;

/// A history of a million renames as they come in years: words that return, numbers that do not. Made at
/// first use below TMPDIR, removed when the program ends.
class LongHistory {
public:
    static const std::filesystem::path& file() {
        static const LongHistory history;
        return history.m_file;
    }

    static RenameRecord row(int number) {
        static std::mt19937 random(1); // NOLINT: the same rows every time
        static constexpr std::array words{
            "Facture",    "Relevé",   "Contrat",  "Attestation", "Devis",    "Quittance", "Bulletin",
            "Rapport",    "annuel",   "de",       "d’eau",       "d’été",    "loyer",     "salaire",
            "assurance",  "maison",   "garantie", "voiture",     "médecin",  "notaire",   "impôts",
            "réunion",    "chantier", "école",    "Lège",        "Bordeaux", "signature", "chaudière",
            "ordonnance", "banque",   "mairie",   "photo"};
        const auto word = [&] { return words[random() % words.size()]; };
        RenameRecord record;
        record.date =
            referenceDate + std::chrono::minutes(number) + std::chrono::microseconds(random() % 1'000);
        record.folderPath = fmt::format("/home/marie/Documents/{}", number % 7);
        record.originalName = fmt::format("scan{:07}.pdf", number);
        record.newName = fmt::format("20{:02}-{:02}-{:02} {} {} {} {}.pdf", number % 25, number % 12 + 1,
                                     number % 28 + 1, word(), word(), word(), word());
        record.identity = {.device = 66'306,
                           .inode = static_cast<std::uint64_t>(number) + 1'000'000,
                           .birth = FileTime{1'700'000'000 + number, 5},
                           .name = {},
                           .volume = {},
                           .state = FileState{40'000, {1'700'000'000 + number, 6}}};
        record.status = RenameRecord::Status::done;
        record.confidence = 0.87;
        return record;
    }

private:
    LongHistory() {
        std::string folder = std::filesystem::temp_directory_path() / "vesto-bench-XXXXXX";
        VESTO_ASSERT(::mkdtemp(folder.data()) != nullptr);
        m_folder = folder;
        m_file = m_folder / "history.sqlite";
        auto store = Store::open(m_file);
        VESTO_ASSERT(store.has_value());
        constexpr int atOnce = 20'000;
        for (int first = 0; first < rowCount; first += atOnce) {
            std::vector<RenameRecord> rows;
            rows.reserve(atOnce);
            for (int number = first; number < first + atOnce; ++number)
                rows.push_back(row(number));
            VESTO_ASSERT(store->save(rows).has_value());
        }
    }
    ~LongHistory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::filesystem::path m_folder;
    std::filesystem::path m_file;
};

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
