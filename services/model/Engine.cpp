#include "services/model/Engine.h"

#include "services/model/Library.h"
#include "services/model/ThreadChoice.h"
#include "services/model/TitleWriter.h"

#include <gguf.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace vesto::model {
namespace {

using ipc::ModelOutcome;
using Clock = std::chrono::steady_clock;

constexpr std::size_t roomForDocument = 3072; // tokens behind the instructions, answer included
constexpr std::uint32_t batchTokens = 256;    // as fast as 512, with half the room for intermediate results
constexpr std::size_t measuredTokens = 16;    // of the instructions, for each number of threads
constexpr int measuredWords = 3;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct FreeMetadata {
    void operator()(gguf_context* metadata) const { gguf_free(metadata); }
};

/// A stream of its own on the file, from its beginning.
File streamOf(int fd) {
    const int copy = ::dup(fd);
    if (copy < 0 || ::lseek(copy, 0, SEEK_SET) != 0)
        return nullptr;
    return File(::fdopen(copy, "rb"));
}

std::string metadata(const llama_model& model, const char* key) {
    std::string value(512, '\0');
    const std::int32_t size = llama_model_meta_val_str(&model, key, value.data(), value.size());
    value.resize(size > 0 ? std::min(static_cast<std::size_t>(size), value.size() - 1) : 0);
    return value;
}

/// The engine hands out single values only; lists are read from the file again.
std::vector<std::string> languagesIn(int fd) {
    const File file = streamOf(fd);
    const std::unique_ptr<gguf_context, FreeMetadata> values(
        file ? gguf_init_from_file_ptr(file.get(), {.no_alloc = true, .ctx = nullptr}) : nullptr);
    if (!values)
        return {};
    const std::int64_t key = gguf_find_key(values.get(), "general.languages");
    if (key < 0 || gguf_get_kv_type(values.get(), key) != GGUF_TYPE_ARRAY ||
        gguf_get_arr_type(values.get(), key) != GGUF_TYPE_STRING)
        return {};
    std::vector<std::string> result;
    for (std::size_t i = 0; i < std::min<std::size_t>(gguf_get_arr_n(values.get(), key), 200); ++i)
        result.emplace_back(gguf_get_arr_str(values.get(), key, i));
    return result;
}

std::uint32_t processors() {
    return std::clamp(std::thread::hardware_concurrency(), 1U, ipc::limits::threads);
}

std::chrono::microseconds since(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
}

} // namespace

Mapping::Mapping(int fd, std::size_t size, Access access) {
    if (size == 0)
        return;
    // A private mapping for reading: a shared one would keep the application from sealing its memory.
    void* start = access == Access::write ? ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
                                          : ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    if (start != MAP_FAILED)
        m_bytes = {static_cast<std::uint8_t*>(start), size};
}

Mapping::Mapping(Mapping&& other) noexcept
    : m_bytes(std::exchange(other.m_bytes, {})) {}

Mapping& Mapping::operator=(Mapping&& other) noexcept {
    std::swap(m_bytes, other.m_bytes);
    return *this;
}

Mapping::~Mapping() {
    if (!m_bytes.empty())
        ::munmap(m_bytes.data(), m_bytes.size());
}

bool Engine::mustStop() {
    m_stopped = m_stopped || m_stop();
    return m_stopped;
}

ipc::ModelLoaded Engine::load(int file, bool describe) {
    ipc::ModelLoaded report;
    m_stopped = false;
    static_cast<void>(lackedMemory()); // what was before does not count
    try {
        const File stream = streamOf(file);
        llama_model_params parameters = llama_model_default_params();
        parameters.n_gpu_layers = 0;
        parameters.load_mode =
            LLAMA_LOAD_MODE_NONE; // the fast variants rearrange a copy; the mapping would stay beside it
        parameters.progress_callback = [](float, void* self) {
            return !static_cast<Engine*>(self)->mustStop();
        };
        parameters.progress_callback_user_data = this;
        m_model.reset(stream ? llama_model_load_from_file_ptr(stream.get(), parameters) : nullptr);
        const bool usable = m_model != nullptr && llama_model_has_decoder(m_model.get()) &&
                            !llama_model_has_encoder(m_model.get()) &&
                            !llama_model_is_diffusion(m_model.get()) &&
                            llama_vocab_n_tokens(llama_model_get_vocab(m_model.get())) > 0;
        if (!usable) {
            const bool isLoaded = std::exchange(m_model, nullptr) != nullptr;
            report.outcome = m_stopped                     ? ModelOutcome::cancelled
                             : !isLoaded && lackedMemory() ? ModelOutcome::noMemory
                                                           : ModelOutcome::refused;
            return report;
        }
        report.context = static_cast<std::uint32_t>(std::max(llama_model_n_ctx_train(m_model.get()), 0));
        report.parameters = llama_model_n_params(m_model.get());
        if (describe) {
            report.name = metadata(*m_model, "general.name");
            report.architecture = metadata(*m_model, "general.architecture");
            report.languages = languagesIn(file);
        }
        report.outcome = ModelOutcome::done;
    } catch (const std::bad_alloc&) {
        m_model.reset();
        report.outcome = ModelOutcome::noMemory;
    } catch (...) {
        m_model.reset();
        report.outcome = ModelOutcome::refused;
    }
    return report;
}

bool Engine::makeContext(std::size_t tokens) {
    const auto trained = static_cast<std::size_t>(std::max(llama_model_n_ctx_train(m_model.get()), 0));
    llama_context_params parameters = llama_context_default_params();
    parameters.n_ctx = static_cast<std::uint32_t>(std::min(tokens + roomForDocument, trained));
    parameters.n_batch = batchTokens;
    parameters.n_ubatch = batchTokens;
    parameters.n_seq_max = 1;
    parameters.n_outputs_max = 1;
    // Reading a document of 300 tokens takes a quarter less time without it on processors of this kind.
    parameters.flash_attn_type = LLAMA_FLASH_ATTN_TYPE_DISABLED;
    parameters.n_threads = static_cast<std::int32_t>(processors());
    parameters.n_threads_batch = parameters.n_threads;
    parameters.no_perf = true;
    parameters.abort_callback = [](void* self) { return static_cast<Engine*>(self)->mustStop(); };
    parameters.abort_callback_data = this;
    m_context.reset();
    m_context.reset(llama_init_from_model(m_model.get(), parameters));
    return m_context != nullptr;
}

ModelOutcome Engine::decode(std::span<llama_token> tokens) {
    while (!tokens.empty()) {
        const auto part = tokens.first(std::min<std::size_t>(tokens.size(), batchTokens));
        if (mustStop())
            return ModelOutcome::cancelled;
        const std::int32_t result = llama_decode(
            m_context.get(), llama_batch_get_one(part.data(), static_cast<std::int32_t>(part.size())));
        if (result != 0)
            return result == 2   ? ModelOutcome::cancelled
                   : result == 1 ? ModelOutcome::tooLong
                                 : ModelOutcome::engine;
        tokens = tokens.subspan(part.size());
    }
    return ModelOutcome::done;
}

/// With `measure` its first pieces are given to all processors and to one.
ModelOutcome Engine::evaluatePrefix(bool measure) {
    std::span<llama_token> rest = m_frame.before;
    const std::uint32_t all = processors();
    ModelOutcome outcome = ModelOutcome::done;
    const auto timed = [&](int threads) -> std::optional<Clock::duration> {
        llama_set_n_threads(m_context.get(), threads, threads);
        const auto start = Clock::now();
        outcome = decode(rest.first(measuredTokens));
        rest = rest.subspan(measuredTokens);
        return outcome == ModelOutcome::done ? std::optional(Clock::now() - start) : std::nullopt;
    };
    if (measure) {
        m_threads.reading = all;
        if (rest.size() > 4 * measuredTokens)
            if (const auto faster = fasterThreads(static_cast<int>(all), timed))
                m_threads.reading = static_cast<std::uint32_t>(*faster);
        if (outcome != ModelOutcome::done)
            return outcome;
    }
    const auto count = static_cast<std::int32_t>(m_threads.reading);
    llama_set_n_threads(m_context.get(), count, count);
    return decode(rest);
}

/// Leaves some words behind the instructions; their state is to be saved before.
ModelOutcome Engine::measureWriting() {
    const std::uint32_t all = processors();
    m_threads.writing = all;
    if (all == 1)
        return ModelOutcome::done;
    Clock::duration fastest = Clock::duration::max();
    for (const std::uint32_t threads : {all, 1U}) {
        llama_set_n_threads(m_context.get(), static_cast<std::int32_t>(threads),
                            static_cast<std::int32_t>(threads));
        for (int i = 0; i <= measuredWords; ++i) {
            const auto start = Clock::now();
            if (const ModelOutcome outcome = decode(std::span(m_frame.after).first(1));
                outcome != ModelOutcome::done)
                return outcome;
            if (i > 0 && Clock::now() - start < fastest) {
                fastest = Clock::now() - start;
                m_threads.writing = threads;
            }
        }
    }
    return ModelOutcome::done;
}

bool Engine::savePrefix(int memory) {
    const std::size_t size = llama_state_seq_get_size(m_context.get(), 0);
    struct stat status{};
    m_own.clear();
    m_shared = Mapping();
    if (size == 0)
        return false;
    if (memory >= 0 && ::fstat(memory, &status) == 0 && static_cast<std::uint64_t>(status.st_size) >= size) {
        const Mapping writable(memory, size, Mapping::Access::write);
        if (!writable.bytes().empty() &&
            llama_state_seq_get_data(m_context.get(), writable.bytes().data(), size, 0) == size) {
            m_shared = Mapping(memory, size, Mapping::Access::read);
            if (!m_shared.bytes().empty())
                return true;
        }
    }
    m_own.resize(size);
    return llama_state_seq_get_data(m_context.get(), m_own.data(), size, 0) == size;
}

bool Engine::restorePrefix() {
    llama_memory_t memory = llama_get_memory(m_context.get());
    llama_memory_clear(memory, false);
    const std::span<const std::uint8_t> state = m_own.empty() ? m_shared.bytes() : std::span(m_own);
    return !state.empty() &&
           llama_state_seq_set_data(m_context.get(), state.data(), state.size(), 0) == state.size() &&
           llama_memory_seq_pos_max(memory, 0) + 1 == static_cast<llama_pos>(m_frame.before.size());
}

ModelOutcome Engine::begin(const ipc::WarmModel& order) {
    m_stopped = false;
    m_own.clear();
    m_shared = Mapping();
    m_context.reset();
    if (!m_model)
        return ModelOutcome::engine;
    auto frame = makeFrame(*m_model, order.instructions);
    if (!frame)
        return ModelOutcome::engine;
    m_frame = *std::move(frame);
    const auto trained = static_cast<std::size_t>(std::max(llama_model_n_ctx_train(m_model.get()), 0));
    if (m_frame.before.size() + m_frame.after.size() >= trained)
        return ModelOutcome::tooLong;
    return makeContext(m_frame.before.size()) ? ModelOutcome::done : ModelOutcome::noMemory;
}

ipc::ModelWarmed Engine::warm(const ipc::WarmModel& order, UniqueFd memory) {
    ipc::ModelWarmed report;
    try {
        report.outcome = begin(order);
        if (report.outcome != ModelOutcome::done)
            return report;
        m_threads = {.reading = std::min(order.threads.reading, processors()),
                     .writing = std::min(order.threads.writing, processors())};
        report.tokens = static_cast<std::uint32_t>(m_frame.before.size());
        if (order.stateBytes > 0) {
            m_shared = Mapping(memory.get(), order.stateBytes, Mapping::Access::read);
            report.kept = m_threads.reading > 0 && restorePrefix();
        }
        if (!report.kept) {
            llama_memory_clear(llama_get_memory(m_context.get()), false);
            report.outcome = evaluatePrefix(m_threads.reading == 0);
            if (report.outcome == ModelOutcome::done)
                report.outcome = savePrefix(order.stateBytes == 0 ? memory.get() : -1) ? ModelOutcome::done
                                                                                       : ModelOutcome::engine;
        }
        if (report.outcome == ModelOutcome::done && m_threads.writing == 0)
            report.outcome = measureWriting();
        report.stateBytes = m_shared.bytes().size();
        report.threads = m_threads;
    } catch (const std::bad_alloc&) {
        report.outcome = ModelOutcome::noMemory;
    } catch (...) {
        report.outcome = ModelOutcome::engine;
    }
    if (report.outcome != ModelOutcome::done)
        m_context.reset();
    return report;
}

ModelOutcome Engine::write(const ipc::AskModel& order, ipc::ModelAnswered& report) {
    const auto start = Clock::now();
    const llama_vocab& vocabulary = *llama_model_get_vocab(m_model.get());
    auto tokens = foreignTokens(vocabulary, order.prompt);
    if (!tokens)
        return ModelOutcome::engine;
    tokens->insert(tokens->end(), m_frame.after.begin(), m_frame.after.end());
    report.promptTokens = static_cast<std::uint32_t>(tokens->size());
    if (order.maxTokens == 0)
        return ModelOutcome::unusable;
    if (m_frame.before.size() + tokens->size() + order.maxTokens > llama_n_ctx(m_context.get()))
        return ModelOutcome::tooLong;
    if (!restorePrefix())
        return ModelOutcome::engine;
    llama_set_n_threads(m_context.get(), static_cast<std::int32_t>(m_threads.writing),
                        static_cast<std::int32_t>(m_threads.reading));
    if (const ModelOutcome outcome = decode(*tokens); outcome != ModelOutcome::done)
        return outcome;
    report.firstToken = since(start);

    TitleWriter writer(vocabulary);
    const auto size = static_cast<std::size_t>(llama_vocab_n_tokens(&vocabulary));
    while (true) {
        const float* judgement = llama_get_logits_ith(m_context.get(), -1);
        if (judgement == nullptr)
            return ModelOutcome::engine;
        auto token = writer.choose({judgement, size});
        report.refusals = writer.refusals();
        if (!token)
            return ModelOutcome::unusable;
        ++report.tokens;
        if (writer.isClosed() || report.tokens == order.maxTokens)
            break;
        if (const ModelOutcome outcome = decode({&*token, 1}); outcome != ModelOutcome::done)
            return outcome;
    }
    auto title = writer.title();
    if (!title || title->empty() || title->size() > ipc::limits::titleBytes)
        return ModelOutcome::unusable;
    report.title = *std::move(title);
    return ModelOutcome::done;
}

ipc::ModelAnswered Engine::answer(const ipc::AskModel& order) {
    ipc::ModelAnswered report;
    m_stopped = false;
    const auto start = Clock::now();
    try {
        report.outcome = m_context ? write(order, report) : ModelOutcome::engine;
    } catch (const std::bad_alloc&) {
        report.outcome = ModelOutcome::noMemory;
    } catch (...) {
        report.outcome = ModelOutcome::engine;
    }
    report.total = since(start);
    return report;
}

} // namespace vesto::model
