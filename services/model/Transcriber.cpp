#include "services/model/Transcriber.h"

#include "core/support/Unicode.h"
#include "services/model/Library.h"
#include "services/model/SpeechFile.h"
#include "services/model/ThreadChoice.h"

#include <dlfcn.h>
#include <ggml-backend.h>
#include <sys/stat.h>
#include <unistd.h>
#include <whisper.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <new>
#include <numeric>
#include <optional>
#include <ranges>
#include <span>
#include <thread>
#include <utility>

namespace vesto::model {
namespace {

using ipc::ModelOutcome;
using Clock = std::chrono::steady_clock;

constexpr std::size_t shortestSpeech = 1600;  // samples; the engine makes nothing of less
constexpr std::size_t shortestSound = 17'600; // the engine looks further than a shorter one goes
constexpr float surelyNoSpeech = 0.6F;        // from here on, as the model's makers say, it means it
constexpr float surelySpoken = 0.5F;
constexpr float bolder = 0.4F; // by how much, after an attempt that failed
constexpr unsigned mostThreads = 8;
constexpr int measuredContext = 64;               // of the 1,500 that stand for half a minute
constexpr std::chrono::seconds measuringTakes{4}; // at most

/// Who is asked whether the sums are to stop; there is one transcriber in a process.
ggml_abort_callback askWhether = nullptr;
void* asked = nullptr;

int threadsFor(unsigned wanted) {
    const unsigned most = wanted > 0 ? wanted : std::thread::hardware_concurrency();
    return static_cast<int>(std::clamp(most, 1U, mostThreads));
}

/// Nothing where the memory does not hold just these samples.
std::optional<std::vector<std::int16_t>> samplesIn(const UniqueFd& memory, std::uint32_t count) {
    struct stat status{};
    std::vector<std::int16_t> samples(count);
    const std::size_t bytes = samples.size() * sizeof(std::int16_t);
    if (!memory || ::fstat(memory.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::uint64_t>(status.st_size) != bytes)
        return std::nullopt;
    // A copy: nobody changes it while it is worked on, and memory that is cut off raises no signal.
    auto* target = reinterpret_cast<char*>(samples.data());
    for (std::size_t done = 0; done < bytes;) {
        const ssize_t size = ::pread(memory.get(), target + done, bytes - done, static_cast<off_t>(done));
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return std::nullopt;
        done += static_cast<std::size_t>(size);
    }
    return samples;
}

/// Of all tokens that the model could begin with: how likely these are among themselves.
std::vector<float> sharesOf(std::span<const float> judgement, std::span<const whisper_token> tokens) {
    const auto weightOf = [&](whisper_token token) { return judgement[static_cast<std::size_t>(token)]; };
    const float most = std::ranges::max(tokens | std::views::transform(weightOf));
    std::vector<float> shares;
    float sum = 0;
    for (const whisper_token token : tokens)
        sum += shares.emplace_back(std::exp(weightOf(token) - most));
    for (float& share : shares)
        share /= sum;
    return shares;
}

std::vector<std::string> linesIn(whisper_state& state) {
    std::vector<std::string> lines;
    const int count = whisper_full_n_segments_from_state(&state);
    for (int i = 0; i < count; ++i) {
        const std::string text = unicode::repaired(whisper_full_get_segment_text_from_state(&state, i));
        std::string line(unicode::trimmedWhiteSpace(text));
        // A model that has lost its way says the same over and over.
        if (!line.empty() && (lines.empty() || line != lines.back()))
            lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace

/// Stands before the engine's own function of this name, which it calls: of itself whisper asks whether to
/// stop only between two passes over half a minute, which can take longer than there is time. llama comes
/// this way too, and sets its own question afterwards.
extern "C" ggml_backend_t ggml_backend_init_by_type(enum ggml_backend_dev_type type, const char* parameters) {
    static const auto engines = reinterpret_cast<decltype(&ggml_backend_init_by_type)>(
        ::dlsym(RTLD_NEXT, "ggml_backend_init_by_type"));
    ggml_backend_t processor = engines != nullptr ? engines(type, parameters) : nullptr;
    ggml_backend_dev_t device = processor != nullptr ? ggml_backend_get_device(processor) : nullptr;
    if (device == nullptr || askWhether == nullptr)
        return processor;
    const auto set = reinterpret_cast<ggml_backend_set_abort_callback_t>(ggml_backend_reg_get_proc_address(
        ggml_backend_dev_backend_reg(device), "ggml_backend_set_abort_callback"));
    if (set != nullptr)
        set(processor, askWhether, asked);
    return processor;
}

Transcriber::~Transcriber() {
    if (asked == this) {
        askWhether = nullptr;
        asked = nullptr;
    }
}

void Transcriber::Free::operator()(whisper_context* context) const {
    whisper_free(context);
}

void Transcriber::Free::operator()(whisper_state* state) const {
    whisper_free_state(state);
}

bool Transcriber::mustStop() {
    m_stopped = m_stopped || m_stop();
    m_late = m_late || Clock::now() >= m_end;
    return m_stopped || m_late;
}

ModelOutcome Transcriber::stopped() const {
    return m_stopped ? ModelOutcome::cancelled : m_late ? ModelOutcome::late : ModelOutcome::engine;
}

void Transcriber::begin(std::chrono::milliseconds longest) {
    m_stopped = false;
    m_late = false;
    m_end = Clock::now() + longest;
    askWhether = [](void* self) { return static_cast<Transcriber*>(self)->mustStop(); };
    asked = this;
}

ipc::ModelLoaded Transcriber::load(int file) {
    ipc::ModelLoaded report{.outcome = ModelOutcome::refused};
    try {
        static_cast<void>(lackedMemory()); // what was before does not count
        SpeechFile source(file);
        if (!source.isPlausible())
            return report;
        whisper_model_loader loader{
            .context = &source,
            .read = [](void* self, void* target,
                       std::size_t size) { return static_cast<SpeechFile*>(self)->read(target, size); },
            .eof = [](void* self) { return static_cast<SpeechFile*>(self)->isAtEnd(); },
            .close = [](void*) {},
        };
        whisper_context_params parameters = whisper_context_default_params();
        parameters.use_gpu = false;
        m_context.reset(whisper_init_with_params_no_state(&loader, parameters));
        if (!m_context) {
            if (lackedMemory())
                report.outcome = ModelOutcome::noMemory;
            return report;
        }
        report.name = whisper_model_type_readable(m_context.get());
        if (report.name == "unknown")
            report.name.clear(); // a shape of its own
        report.architecture = "whisper";
        if (whisper_is_multilingual(m_context.get()) == 0)
            report.languages = {"en"};
        report.outcome = ModelOutcome::done;
    } catch (const std::bad_alloc&) {
        report.outcome = ModelOutcome::noMemory;
    } catch (...) {
        report.outcome = ModelOutcome::refused;
    }
    return report;
}

/// The beginning of a silence, and one token. False where it was stopped.
bool Transcriber::work(whisper_state& state, int threads) {
    whisper_full_params parameters = whisper_full_default_params(WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = threads;
    parameters.audio_ctx = std::min(measuredContext, whisper_model_n_audio_ctx(m_context.get()));
    parameters.language = "en";
    parameters.print_progress = false;
    parameters.print_timestamps = false;
    parameters.no_timestamps = true;
    parameters.single_segment = true;
    parameters.max_tokens = 1;
    parameters.temperature_inc = 0;
    parameters.greedy.best_of = 1;
    parameters.abort_callback = askWhether;
    parameters.abort_callback_user_data = asked;
    return whisper_full_with_state(m_context.get(), &state, parameters, nullptr, 0) == 0;
}

ipc::ModelWarmed Transcriber::measure() {
    ipc::ModelWarmed report;
    begin(measuringTakes);
    const int all = threadsFor(0);
    std::optional<int> fastest;
    try {
        const std::unique_ptr<whisper_state, Free> state(
            m_context && all > 1 ? whisper_init_state(m_context.get()) : nullptr);
        const Sound silence(shortestSound);
        const bool isReady =
            state && whisper_pcm_to_mel_with_state(m_context.get(), state.get(), silence.data(),
                                                   static_cast<int>(silence.size()), all) == 0;
        const auto timed = [&](int threads) -> std::optional<Clock::duration> {
            const auto start = Clock::now();
            if (!isReady || !work(*state, threads))
                return std::nullopt;
            return Clock::now() - start;
        };
        // Too slow even for so little: others want these processors, and threads would wait for each other.
        fastest = fasterThreads(all, timed).value_or(m_late ? 1 : all);
        report.outcome = m_stopped ? ModelOutcome::cancelled : ModelOutcome::done;
    } catch (const std::bad_alloc&) {
        report.outcome = ModelOutcome::noMemory;
    } catch (...) {
        report.outcome = ModelOutcome::engine;
    }
    const auto threads = static_cast<std::uint32_t>(fastest.value_or(all));
    report.threads = {.reading = threads, .writing = threads};
    return report;
}

ipc::SoundTranscribed Transcriber::transcribe(const ipc::TranscribeSound& order, const UniqueFd& memory) {
    ipc::SoundTranscribed report;
    begin(order.longest);
    m_threads = threadsFor(order.threads);
    try {
        const auto samples = m_context ? samplesIn(memory, order.samples) : std::nullopt;
        if (!samples)
            return report;
        Sound sound(std::max(samples->size(), shortestSound));
        std::ranges::transform(*samples, sound.begin(),
                               [](std::int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
        report.outcome = samples->size() < shortestSpeech ? ModelOutcome::done : hear(order, sound, report);
    } catch (const std::bad_alloc&) {
        report.outcome = ModelOutcome::noMemory;
    } catch (...) {
        report.outcome = ModelOutcome::engine;
    }
    return report;
}

/// The whole sound in one language.
struct Transcriber::Attempt {
    Transcriber& transcriber;
    whisper_context& context;
    whisper_state& state; // the sound is in it
    std::string language;
    std::vector<std::string> others;       // that may be spoken instead; none: it is this one
    std::vector<whisper_token> question{}; // what stands before the model's answer
    std::optional<std::string> spoken{};   // one of the others
};

ModelOutcome Transcriber::hear(const ipc::TranscribeSound& order, const Sound& sound,
                               ipc::SoundTranscribed& report) {
    const std::unique_ptr<whisper_state, Free> state(whisper_init_state(m_context.get()));
    if (!state)
        return ModelOutcome::noMemory;
    // The engine makes the spectrum in one go, which nothing interrupts: a fraction of a second.
    if (mustStop())
        return stopped();
    if (whisper_pcm_to_mel_with_state(m_context.get(), state.get(), sound.data(),
                                      static_cast<int>(sound.size()), m_threads) != 0)
        return ModelOutcome::engine;
    if (mustStop())
        return stopped();
    const bool knowsMany = whisper_is_multilingual(m_context.get()) != 0;
    std::deque<std::string> languages(order.languages.begin(), order.languages.end());
    std::erase_if(languages, [&](const std::string& language) {
        return whisper_lang_id(language.c_str()) < 0 || (!knowsMany && language != "en");
    });
    for (bool isFirst = true; !languages.empty(); isFirst = false) {
        Attempt attempt{*this, *m_context, *state, std::move(languages.front()), {}};
        languages.pop_front();
        if (isFirst)
            attempt.others.assign(languages.begin(), languages.end());
        const ModelOutcome outcome = hearIn(attempt);
        if (attempt.spoken) {
            std::erase(languages, *attempt.spoken);
            languages.push_front(std::move(attempt.language));
            languages.push_front(*std::move(attempt.spoken));
            continue;
        }
        if (outcome != ModelOutcome::done && outcome != ModelOutcome::late)
            return outcome;
        report.lines = linesIn(*state);
        if (!report.lines.empty()) {
            report.language = attempt.language;
            return ModelOutcome::done; // the first half minute is worth having
        }
        if (outcome == ModelOutcome::late)
            return outcome;
    }
    return ModelOutcome::done;
}

ModelOutcome Transcriber::hearIn(Attempt& attempt) {
    const int language = whisper_lang_id(attempt.language.c_str());
    whisper_full_params parameters = whisper_full_default_params(WHISPER_SAMPLING_GREEDY);
    parameters.n_threads = m_threads;
    parameters.language = attempt.language.c_str();
    parameters.print_progress = false;
    parameters.print_timestamps = false;
    parameters.suppress_nst = true; // no "[Musique]"
    parameters.n_max_text_ctx = 0;  // a half minute that was misheard does not spoil the next
    // Models of this shape never learned of times; the engine would find that out by itself.
    parameters.no_timestamps =
        whisper_model_n_text_layer(&attempt.context) == 2 && whisper_n_vocab(&attempt.context) != 51'866;
    // Three attempts for each half minute, one answer each: with more of them the engine makes room anew, and
    // where there is none it frees what it was lent.
    parameters.temperature_inc = bolder;
    parameters.greedy.best_of = 1;
    // The engine looks for "no speech" where the model never says it: see below.
    parameters.no_speech_thold = 1;
    parameters.logits_filter_callback = [](whisper_context*, whisper_state*, const whisper_token_data*,
                                           int count, float* judgement, void* self) {
        auto& running = *static_cast<Attempt*>(self);
        if (count == 0)
            running.transcriber.listenToTheBeginning(running, judgement);
    };
    parameters.logits_filter_callback_user_data = &attempt;
    parameters.abort_callback = [](void* self) {
        const auto& running = *static_cast<const Attempt*>(self);
        return running.spoken.has_value() || running.transcriber.mustStop();
    };
    parameters.abort_callback_user_data = &attempt;
    attempt.question = {whisper_token_sot(&attempt.context)};
    if (whisper_is_multilingual(&attempt.context) != 0)
        attempt.question.insert(attempt.question.end(), {whisper_token_lang(&attempt.context, language),
                                                         whisper_token_transcribe(&attempt.context)});
    if (parameters.no_timestamps)
        attempt.question.push_back(whisper_token_not(&attempt.context));
    const int result = whisper_full_with_state(&attempt.context, &attempt.state, parameters, nullptr, 0);
    return result == 0 ? ModelOutcome::done : stopped();
}

/// Before the first word of each half minute: behind nothing but the token that begins a transcription, the
/// model says which language is spoken, or that there is no speech. Told to write French, it makes French of
/// English, and of silence.
void Transcriber::listenToTheBeginning(Attempt& attempt, float* judgement) {
    whisper_context* context = &attempt.context;
    const auto ask = [&](std::span<const whisper_token> tokens) {
        return whisper_decode_with_state(context, &attempt.state, tokens.data(),
                                         static_cast<int>(tokens.size()), 0, m_threads) == 0;
    };
    if (!ask(std::span(attempt.question).first(1)))
        return; // told to stop
    const auto size = static_cast<std::size_t>(whisper_n_vocab(context));
    const std::span heard(whisper_get_logits_from_state(&attempt.state), size);
    std::vector<whisper_token> tokens(size);
    std::iota(tokens.begin(), tokens.end(), 0);
    const bool isSpeech =
        sharesOf(heard, tokens)[static_cast<std::size_t>(whisper_token_nosp(context))] <= surelyNoSpeech;
    if (isSpeech && !attempt.others.empty()) {
        tokens.clear();
        for (int language = 0; language <= whisper_lang_max_id(); ++language)
            tokens.push_back(whisper_token_lang(context, language));
        const auto shares = sharesOf(heard, tokens);
        for (const std::string& other : attempt.others)
            if (shares[static_cast<std::size_t>(whisper_lang_id(other.c_str()))] > surelySpoken)
                attempt.spoken = other;
        attempt.others.clear(); // the first speech decides
    }
    if (!isSpeech) {
        std::fill_n(judgement, size, -std::numeric_limits<float>::infinity());
        judgement[whisper_token_eot(context)] = 0;
    }
    static_cast<void>(ask(attempt.question)); // back to where the engine was
}

} // namespace vesto::model
