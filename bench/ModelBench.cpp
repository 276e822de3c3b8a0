#include "core/naming/ModelInstructions.h"
#include "services/client/RemoteLanguageModel.h"
#include "services/model/Engine.h"
#include "services/model/Library.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>

#include <cstdlib>
#include <string>

// With the model that VESTO_BENCH_MODEL names: bench/run makes one of the size that people use. Its words
// make no sense; what is measured is the time that they take.
namespace vesto {
namespace {

constexpr std::uint32_t writtenTokens = 24;

const char* modelPath() {
    return std::getenv("VESTO_BENCH_MODEL");
}

std::string instructions() {
    return modelInstructions(Locale{"fr_FR"});
}

/// About 300 tokens.
std::string document() {
    std::string text = "Type : document\nTexte lu :\n";
    for (int i = 0; i < 7; ++i)
        text += "Facture d'électricité du mois d'octobre, montant à payer avant la fin de la période.\n";
    return text;
}

/// Loaded once; null where there is nothing to measure with.
model::Engine* engine() {
    static const std::unique_ptr<model::Engine> loaded = []() -> std::unique_ptr<model::Engine> {
        if (modelPath() == nullptr || !model::loadEngine())
            return nullptr;
        const UniqueFd file(::open(modelPath(), O_RDONLY | O_CLOEXEC));
        auto result = std::make_unique<model::Engine>([] { return false; });
        return result->load(file.get(), false).outcome == ipc::ModelOutcome::done ? std::move(result)
                                                                                  : nullptr;
    }();
    return loaded.get();
}

/// The number of threads, measured once.
ipc::ModelThreads threads() {
    static const ipc::ModelThreads result =
        engine()->warm({.instructions = instructions()}, UniqueFd()).threads;
    return result;
}

void report(benchmark::State& state, const ipc::ModelAnswered& answer) {
    state.counters["first_token_s"] = std::chrono::duration<double>(answer.firstToken).count();
    state.counters["prompt_tokens"] = answer.promptTokens;
    state.counters["tokens"] = answer.tokens;
    state.counters["refusals"] = answer.refusals;
    state.counters["s_per_token"] =
        std::chrono::duration<double>(answer.total - answer.firstToken).count() / std::max(1U, answer.tokens);
}

void titleWithKeptInstructions(benchmark::State& state) {
    if (engine() == nullptr)
        return state.SkipWithError("no model: VESTO_BENCH_MODEL");
    const auto warmed = engine()->warm({.instructions = instructions(), .threads = threads()}, UniqueFd());
    state.counters["instruction_tokens"] = warmed.tokens;
    ipc::ModelAnswered answer;
    for (auto _ : state)
        answer = engine()->answer({.prompt = document(), .maxTokens = writtenTokens});
    report(state, answer);
}
BENCHMARK(titleWithKeptInstructions)->Unit(benchmark::kMillisecond)->UseRealTime();

void titleWithoutKeptInstructions(benchmark::State& state) {
    if (engine() == nullptr)
        return state.SkipWithError("no model: VESTO_BENCH_MODEL");
    const auto known = threads();
    ipc::ModelAnswered answer;
    for (auto _ : state) {
        static_cast<void>(engine()->warm({.instructions = instructions(), .threads = known}, UniqueFd()));
        answer = engine()->answer({.prompt = document(), .maxTokens = writtenTokens});
    }
    report(state, answer);
}
BENCHMARK(titleWithoutKeptInstructions)->Unit(benchmark::kMillisecond)->UseRealTime();

RemoteLanguageModel::Settings hosted() {
    return {.model = modelPath(), .program = VESTO_MODEL_HOST};
}

ModelRequest request(int maxTokens) {
    return {.instructions = instructions(), .prompt = document(), .maxTokens = maxTokens};
}

/// Nothing is written: what is left is the way to the host and back.
void processBoundary(benchmark::State& state) {
    if (modelPath() == nullptr)
        return state.SkipWithError("no model: VESTO_BENCH_MODEL");
    RemoteLanguageModel model(hosted());
    static_cast<void>(model.respond(request(0), {}));
    for (auto _ : state)
        benchmark::DoNotOptimize(model.respond(request(0), {}));
}
BENCHMARK(processBoundary)->Unit(benchmark::kMicrosecond)->UseRealTime();

void titleFromASleepingHost(benchmark::State& state) {
    if (modelPath() == nullptr)
        return state.SkipWithError("no model: VESTO_BENCH_MODEL");
    RemoteLanguageModel model(hosted());
    static_cast<void>(model.respond(request(1), {}));
    for (auto _ : state) {
        state.PauseTiming();
        if (const auto host = model.process())
            ::kill(*host, SIGKILL);
        while (model.process())
            ::usleep(1000);
        state.ResumeTiming();
        benchmark::DoNotOptimize(model.respond(request(writtenTokens), {}));
    }
    state.counters["state_was_kept"] = model.facts().lastStartKept ? 1 : 0;
}
BENCHMARK(titleFromASleepingHost)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace vesto
