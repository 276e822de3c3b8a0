#include "services/ipc/ModelMessages.h"

#include "core/support/Unicode.h"
#include "services/ipc/Wire.h"

#include <algorithm>
#include <limits>

namespace vesto::ipc {
namespace {

// Two programs of one build talk to each other; the number tells where an update replaced one of them only.
constexpr std::uint32_t magic = 0x766D6432; // "vmd2"
constexpr std::size_t maxWordBytes = 200;
constexpr std::size_t maxLanguages = 200;
constexpr std::uint32_t anyTokens = 10'000'000;
constexpr std::int64_t longestMicroseconds = std::int64_t{3600} * 1'000'000;
constexpr std::size_t maxLanguageBytes = 8; // of a code
constexpr auto outcomeCount = static_cast<std::uint8_t>(ModelOutcome::late) + 1;
constexpr auto kindCount = static_cast<std::uint8_t>(ModelKind::speech) + 1;

// The first byte of an order or a report.
enum class Kind : std::uint8_t {
    load = 1,
    warm = 2,
    ask = 3,
    cancel = 4,
    transcribe = 5,
    loaded = 11,
    warmed = 12,
    answered = 13,
    transcribed = 15
};

/// Valid UTF-8 of at most `most` bytes.
std::string fitted(std::string_view text, std::size_t most) {
    std::string result = unicode::repaired(text);
    if (result.size() > most) {
        std::size_t end = most;
        while (end > 0 && (static_cast<unsigned char>(result[end]) & 0xC0U) == 0x80U)
            --end;
        result.resize(end);
    }
    return result;
}

std::uint32_t number(WireReader& in, std::uint32_t most) {
    const auto value = in.number<std::uint32_t>();
    in.require(value <= most);
    return in.isValid() ? value : 0;
}

std::uint64_t largeNumber(WireReader& in, std::uint64_t most) {
    const auto value = in.number<std::uint64_t>();
    in.require(value <= most);
    return in.isValid() ? value : 0;
}

void write(WireWriter& out, const ModelThreads& threads) {
    out.number(threads.reading);
    out.number(threads.writing);
}

ModelThreads threadsFrom(WireReader& in) {
    const std::uint32_t reading = number(in, limits::threads);
    return {.reading = reading, .writing = number(in, limits::threads)};
}

struct OrderWriter {
    WireWriter& out;

    void kind(Kind value) const { out.number(static_cast<std::uint8_t>(value)); }
    void operator()(const LoadModel& order) const {
        kind(Kind::load);
        out.number(static_cast<std::uint8_t>(order.kind));
        out.boolean(order.describe);
    }
    void operator()(const WarmModel& order) const {
        kind(Kind::warm);
        out.text(order.instructions);
        out.number(order.stateBytes);
        write(out, order.threads);
    }
    void operator()(const AskModel& order) const {
        kind(Kind::ask);
        out.text(order.prompt);
        out.number(order.maxTokens);
    }
    void operator()(const CancelWork&) const { kind(Kind::cancel); }
    void operator()(const TranscribeSound& order) const {
        kind(Kind::transcribe);
        out.number(order.samples);
        const std::size_t languages = std::min<std::size_t>(order.languages.size(), limits::spokenLanguages);
        out.number(static_cast<std::uint32_t>(languages));
        for (std::size_t i = 0; i < languages; ++i)
            out.text(fitted(order.languages[i], maxLanguageBytes));
        out.number(static_cast<std::uint32_t>(
            std::clamp<std::int64_t>(order.longest.count(), 0, limits::transcribingMilliseconds)));
        out.number(order.threads);
    }
};

struct ReportWriter {
    WireWriter& out;

    void begin(Kind kind, ModelOutcome outcome) const {
        out.number(static_cast<std::uint8_t>(kind));
        out.number(static_cast<std::uint8_t>(outcome));
    }
    void operator()(const ModelLoaded& report) const {
        begin(Kind::loaded, report.outcome);
        out.text(fitted(report.name, maxWordBytes));
        out.text(fitted(report.architecture, maxWordBytes));
        out.number(report.parameters);
        out.number(std::min(report.context, anyTokens));
        const std::size_t languages = std::min(report.languages.size(), maxLanguages);
        out.number(static_cast<std::uint32_t>(languages));
        // At most 32 bytes each, so that the whole fits its packet.
        for (std::size_t i = 0; i < languages; ++i)
            out.text(fitted(report.languages[i], 32));
    }
    void operator()(const ModelWarmed& report) const {
        begin(Kind::warmed, report.outcome);
        out.number(report.tokens);
        out.number(report.stateBytes);
        out.boolean(report.kept);
        write(out, report.threads);
    }
    void operator()(const ModelAnswered& report) const {
        begin(Kind::answered, report.outcome);
        out.text(fitted(report.title, limits::titleBytes));
        out.number(report.promptTokens);
        out.number(report.tokens);
        out.number(report.refusals);
        out.integer(std::clamp<std::int64_t>(report.firstToken.count(), 0, longestMicroseconds));
        out.integer(std::clamp<std::int64_t>(report.total.count(), 0, longestMicroseconds));
    }
    void operator()(const SoundTranscribed& report) const {
        begin(Kind::transcribed, report.outcome);
        out.text(fitted(report.language, maxLanguageBytes));
        std::vector<std::string> lines;
        std::size_t left = limits::spokenBytes;
        for (const std::string& line : report.lines) {
            if (lines.size() == limits::spokenLines)
                break;
            lines.push_back(fitted(line, left));
            left -= lines.back().size();
        }
        out.number(static_cast<std::uint32_t>(lines.size()));
        for (const std::string& line : lines)
            out.text(line);
    }
};

ModelReport loadedFrom(WireReader& in, ModelOutcome outcome) {
    ModelLoaded report{.outcome = outcome};
    report.name = in.utf8(maxWordBytes);
    report.architecture = in.utf8(maxWordBytes);
    report.parameters = in.number<std::uint64_t>();
    report.context = number(in, anyTokens);
    const std::size_t languages = in.count(maxLanguages, sizeof(std::uint32_t));
    for (std::size_t i = 0; i < languages; ++i)
        report.languages.push_back(in.utf8(32));
    return report;
}

ModelReport warmedFrom(WireReader& in, ModelOutcome outcome) {
    ModelWarmed report{.outcome = outcome};
    report.tokens = number(in, anyTokens);
    report.stateBytes = largeNumber(in, limits::prefixBytes);
    report.kept = in.boolean();
    report.threads = threadsFrom(in);
    return report;
}

ModelReport answeredFrom(WireReader& in, ModelOutcome outcome) {
    ModelAnswered report{.outcome = outcome};
    report.title = in.utf8(limits::titleBytes);
    report.promptTokens = number(in, anyTokens);
    report.tokens = number(in, limits::answerTokens);
    report.refusals = number(in, limits::answerTokens);
    report.firstToken = std::chrono::microseconds(in.integer(0, longestMicroseconds));
    report.total = std::chrono::microseconds(in.integer(0, longestMicroseconds));
    return report;
}

ModelReport transcribedFrom(WireReader& in, ModelOutcome outcome) {
    SoundTranscribed report{.outcome = outcome};
    report.language = in.utf8(maxLanguageBytes);
    const std::size_t lines = in.count(limits::spokenLines, sizeof(std::uint32_t));
    std::size_t left = limits::spokenBytes;
    for (std::size_t i = 0; i < lines; ++i) {
        report.lines.push_back(in.utf8(left));
        left -= report.lines.back().size();
    }
    return report;
}

LoadModel loadFrom(WireReader& in) {
    const auto kind = in.enumerator<ModelKind>(kindCount);
    return {.kind = kind, .describe = in.boolean()};
}

TranscribeSound transcribeFrom(WireReader& in) {
    TranscribeSound order{.samples = number(in, limits::heardSamples)};
    const std::size_t languages = in.count(limits::spokenLanguages, sizeof(std::uint32_t));
    for (std::size_t i = 0; i < languages; ++i)
        order.languages.push_back(in.utf8(maxLanguageBytes));
    order.longest = std::chrono::milliseconds(number(in, limits::transcribingMilliseconds));
    order.threads = number(in, limits::threads);
    return order;
}

} // namespace

std::string encode(const ModelGreeting& greeting) {
    WireWriter out;
    out.number(magic);
    out.number(static_cast<std::uint8_t>(greeting.jail));
    out.text(fitted(greeting.engine, maxWordBytes));
    return out.take();
}

std::optional<ModelGreeting> decodeModelGreeting(std::string_view bytes) {
    WireReader in(bytes);
    ModelGreeting greeting;
    in.require(in.number<std::uint32_t>() == magic);
    greeting.jail = in.enumerator<Jail>(4);
    greeting.engine = in.utf8(maxWordBytes);
    return in.isComplete() ? std::optional(std::move(greeting)) : std::nullopt;
}

std::string encode(const ModelOrder& order) {
    WireWriter out;
    std::visit(OrderWriter{out}, order);
    return out.take();
}

std::optional<ModelOrder> decodeModelOrder(std::string_view bytes) {
    WireReader in(bytes);
    std::optional<ModelOrder> order;
    switch (in.number<std::uint8_t>()) {
    case static_cast<std::uint8_t>(Kind::load):
        order = loadFrom(in);
        break;
    case static_cast<std::uint8_t>(Kind::warm): {
        WarmModel warm{.instructions = in.utf8(limits::instructionBytes)};
        warm.stateBytes = largeNumber(in, limits::prefixBytes);
        warm.threads = threadsFrom(in);
        order = std::move(warm);
        break;
    }
    case static_cast<std::uint8_t>(Kind::ask): {
        AskModel ask{.prompt = in.utf8(limits::promptBytes)};
        ask.maxTokens = number(in, limits::answerTokens);
        order = std::move(ask);
        break;
    }
    case static_cast<std::uint8_t>(Kind::cancel):
        order = CancelWork{};
        break;
    case static_cast<std::uint8_t>(Kind::transcribe):
        order = transcribeFrom(in);
        break;
    default:
        return std::nullopt;
    }
    return in.isComplete() ? order : std::nullopt;
}

std::string encode(const ModelReport& report) {
    WireWriter out;
    std::visit(ReportWriter{out}, report);
    return out.take();
}

std::optional<ModelReport> decodeModelReport(std::string_view bytes) {
    WireReader in(bytes);
    const auto kind = in.number<std::uint8_t>();
    const auto outcome = in.enumerator<ModelOutcome>(outcomeCount);
    std::optional<ModelReport> report;
    if (kind == static_cast<std::uint8_t>(Kind::loaded))
        report = loadedFrom(in, outcome);
    else if (kind == static_cast<std::uint8_t>(Kind::warmed))
        report = warmedFrom(in, outcome);
    else if (kind == static_cast<std::uint8_t>(Kind::answered))
        report = answeredFrom(in, outcome);
    else if (kind == static_cast<std::uint8_t>(Kind::transcribed))
        report = transcribedFrom(in, outcome);
    return in.isComplete() ? report : std::nullopt;
}

} // namespace vesto::ipc
