// Measures the language model:  vesto_model_bench MODEL [--variant LIBRARY] [--rounds NUMBER] [--table]
//
// Without --table it prints one line of a table for each thing that is measured, with ratios taken within the
// run; with it one line for the model and the variant of the engine. The model's words may make no sense:
// what is measured is the time that they take.
#include "core/naming/ModelInstructions.h"
#include "services/client/RemoteLanguageModel.h"
#include "services/model/Engine.h"
#include "services/model/Library.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace vesto {
namespace {

using Steady = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::uint32_t writtenTokens = 24;

struct Words {
    std::filesystem::path model;
    std::filesystem::path variant;
    int rounds = 5;
    bool isTable = false;
};

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

double timed(const std::function<void()>& work) {
    const auto start = Steady::now();
    work();
    return Milliseconds(Steady::now() - start).count();
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.empty() ? 0 : values[values.size() / 2];
}

void row(const std::string& what, const std::string& figure, const std::string& target = {}) {
    std::cout << fmt::format("| {} | {} | {} |\n", what, figure, target) << std::flush;
}

std::string against(double ours, double theirs) {
    return fmt::format("{:.0f} ms : {:.0f} ms = {:.2f}", ours, theirs, ours / theirs);
}

/// In MiB, shared pages divided; 0 where there is no such process.
double memoryOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    std::string word;
    double kibibytes = 0;
    while (file >> word)
        if (word == "Pss:" && file >> kibibytes)
            return kibibytes / 1024;
    return 0;
}

/// The engine without Vesto: the same text in plain calls, everything evaluated, the likeliest token each
/// time.
class EngineAlone {
public:
    EngineAlone(const std::filesystem::path& file, const ipc::ModelThreads& threads)
        : m_model(llama_model_load_from_file(file.c_str(), llama_model_default_params())) {
        llama_context_params parameters = llama_context_default_params();
        parameters.n_ctx = 4096;
        parameters.n_batch = 512;
        parameters.n_threads = static_cast<std::int32_t>(threads.writing);
        parameters.n_threads_batch = static_cast<std::int32_t>(threads.reading);
        m_context.reset(llama_init_from_model(m_model.get(), parameters));
        const auto frame = model::makeFrame(*m_model, instructions());
        const auto text = model::foreignTokens(*llama_model_get_vocab(m_model.get()), document());
        m_tokens = frame->before;
        m_tokens.insert(m_tokens.end(), text->begin(), text->end());
        m_tokens.insert(m_tokens.end(), frame->after.begin(), frame->after.end());
    }

    struct Took {
        double reading = 0;
        double writing = 0;
    };
    Took title() {
        llama_memory_clear(llama_get_memory(m_context.get()), false);
        Took took;
        took.reading = timed([&] {
            for (std::size_t at = 0; at < m_tokens.size(); at += 512) {
                const auto count = std::min<std::size_t>(512, m_tokens.size() - at);
                llama_decode(m_context.get(),
                             llama_batch_get_one(&m_tokens[at], static_cast<std::int32_t>(count)));
            }
            llama_synchronize(m_context.get());
        });
        took.writing = timed([&] {
            const llama_sampler_ptr greedy(llama_sampler_init_greedy());
            for (std::uint32_t i = 0; i < writtenTokens; ++i) {
                llama_token token = llama_sampler_sample(greedy.get(), m_context.get(), -1);
                llama_decode(m_context.get(), llama_batch_get_one(&token, 1));
            }
        });
        return took;
    }

private:
    llama_model_ptr m_model;
    llama_context_ptr m_context;
    model::Tokens m_tokens;
};

/// With the state behind the instructions, without it, and by the engine alone, in turn.
void measureTitles(const Words& words, model::Engine& engine, const ipc::ModelThreads& threads) {
    EngineAlone alone(words.model, threads);
    std::vector<double> keptFirst;
    std::vector<double> kept;
    std::vector<double> plainFirst;
    std::vector<double> plain;
    std::vector<double> theirs;
    std::vector<double> perToken;
    std::vector<double> theirPerToken;
    ipc::ModelAnswered answer;
    for (int round = 0; round < words.rounds; ++round) {
        const double warming = timed([&] {
            static_cast<void>(engine.warm({.instructions = instructions(), .threads = threads}, UniqueFd()));
        });
        answer = engine.answer({.prompt = document(), .maxTokens = writtenTokens});
        const double first = Milliseconds(answer.firstToken).count();
        const double whole = Milliseconds(answer.total).count();
        keptFirst.push_back(first);
        kept.push_back(whole);
        plainFirst.push_back(warming + first);
        plain.push_back(warming + whole);
        perToken.push_back((whole - first) / std::max(1U, answer.tokens));
        const auto took = alone.title();
        theirs.push_back(took.reading + took.writing);
        theirPerToken.push_back(took.writing / writtenTokens);
    }
    row("tokens of the document, written, of these refused",
        fmt::format("{}, {}, {}", answer.promptTokens, answer.tokens, answer.refusals));
    row("first token, without the kept state : with it", against(median(plainFirst), median(keptFirst)),
        "≥ 5");
    row("whole title, with the kept state : without it", against(median(kept), median(plain)), "≤ 0.55");
    row("whole title : the engine alone, same text", against(median(kept), median(theirs)));
    row("a token written with the grammar : by the engine alone",
        fmt::format("{:.2f} ms : {:.2f} ms = {:.2f}", median(perToken), median(theirPerToken),
                    median(perToken) / median(theirPerToken)));
}

ModelRequest request(int maxTokens) {
    return {.instructions = instructions(), .prompt = document(), .maxTokens = maxTokens};
}

/// Whether its host is gone in time.
bool comesToHaveNoHost(const RemoteLanguageModel& model) {
    for (int i = 0; i < 20'000 && model.process(); ++i)
        ::usleep(1000);
    return !model.process();
}

void measureHost(const Words& words) {
    RemoteLanguageModel model({.model = words.model, .program = VESTO_MODEL_HOST});
    static_cast<void>(model.respond(request(1), {}));
    std::vector<double> ways;
    for (int i = 0; i < 200; ++i) // nothing is written: what is left is the way to the host and back
        ways.push_back(timed([&] { static_cast<void>(model.respond(request(0), {})); }));
    row("the way to the host and back", fmt::format("{:.3f} ms", median(ways)), "< 2 ms");

    std::vector<double> awake;
    std::vector<double> asleep;
    for (int round = 0; round < words.rounds; ++round) {
        awake.push_back(timed([&] { static_cast<void>(model.respond(request(writtenTokens), {})); }));
        const auto host = model.process();
        if (!host || ::kill(*host, SIGKILL) != 0 || !comesToHaveNoHost(model)) {
            row("a title from a sleeping host", "the host did not end");
            return;
        }
        asleep.push_back(timed([&] { static_cast<void>(model.respond(request(writtenTokens), {})); }));
    }
    row("a title from a sleeping host : from one that is awake", against(median(asleep), median(awake)));
    row("the state was kept", model.facts().lastStartKept ? "yes" : "no");
}

/// In MiB: the memory file with the state behind the instructions.
double keptState() {
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        struct stat status{};
        if (std::filesystem::read_symlink(each, gone).native().starts_with("/memfd:vesto-prefix") &&
            ::stat(each.path().c_str(), &status) == 0)
            return static_cast<double>(status.st_blocks) * 512 / (1 << 20);
    }
    return 0;
}

void measureMemory(const Words& words) {
    RemoteLanguageModel model({.model = words.model, .program = VESTO_BRIEF_MODEL, .arguments = {"2000"}});
    static_cast<void>(model.respond(request(writtenTokens), {}));
    const double host = memoryOf(model.process().value_or(0));
    const bool isGone = comesToHaveNoHost(model);
    row("memory of the host at work", fmt::format("{:.0f} MiB", host));
    row("memory after it was given back: host, what the application keeps",
        isGone ? fmt::format("0, {:.1f} MiB", keptState()) : "the host did not leave");
}

int measure(const Words& words) {
    if (!words.variant.empty() && ggml_backend_load(words.variant.c_str()) == nullptr)
        return 3; // not for this processor
    if (!model::loadEngine())
        return 1;
    if (!words.isTable) { // before anything is loaded here
        measureMemory(words);
        measureHost(words);
    }
    model::Engine engine([] { return false; });
    const UniqueFd file(::open(words.model.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file || engine.load(file.get(), false).outcome != ipc::ModelOutcome::done)
        return 1;
    ipc::ModelWarmed warmed;
    const double warming = timed([&] { warmed = engine.warm({.instructions = instructions()}, UniqueFd()); });
    if (warmed.outcome != ipc::ModelOutcome::done)
        return 1;
    if (!words.isTable) {
        row("tokens of the instructions; threads that read, write",
            fmt::format("{}; {}, {}", warmed.tokens, warmed.threads.reading, warmed.threads.writing));
        measureTitles(words, engine, warmed.threads);
        return 0;
    }
    std::vector<double> titles;
    for (int round = 0; round < words.rounds; ++round)
        titles.push_back(timed(
            [&] { static_cast<void>(engine.answer({.prompt = document(), .maxTokens = writtenTokens})); }));
    const std::string variant = words.variant.empty() ? "chosen here" : words.variant.stem().native();
    std::cout << fmt::format("| {} | {} | {:.2f} | {:.2f} |\n", words.model.stem().native(), variant,
                             median(titles) / 1000, (warming + median(titles)) / 1000)
              << std::flush;
    return 0;
}

} // namespace
} // namespace vesto

int main(int count, char** given) {
    vesto::Words words;
    for (int i = 1; i < count; ++i) {
        const std::string word = given[i];
        const bool hasNext = i + 1 < count;
        if (word == "--table")
            words.isTable = true;
        else if (word == "--variant" && hasNext)
            words.variant = given[++i];
        else if (word == "--rounds" && hasNext)
            words.rounds = std::max(1, std::atoi(given[++i]));
        else
            words.model = word;
    }
    return words.model.empty() ? 2 : vesto::measure(words);
}
