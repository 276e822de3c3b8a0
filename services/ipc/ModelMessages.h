#pragma once
#include "services/ipc/Question.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What the application and the host of a model, of language or of speech, say to each other, one packet
/// each. The host greets; then each order but `CancelWork` is answered by one report, in turn. The
/// application takes every byte of the host for an attacker's: the host has read documents.
namespace vesto::ipc {

namespace limits {
inline constexpr std::size_t instructionBytes = 32 << 10;
inline constexpr std::size_t promptBytes = 64 << 10;
inline constexpr std::size_t titleBytes = 8 << 10;
inline constexpr std::size_t orderBytes = 100 << 10;
inline constexpr std::size_t reportBytes = 32 << 10;
inline constexpr std::uint32_t answerTokens = 1024;
inline constexpr std::uint32_t threads = 4096;
inline constexpr std::uint64_t prefixBytes = std::uint64_t{1} << 30;
inline constexpr std::uint32_t heardSamples = 60 * 16'000;
inline constexpr std::uint32_t spokenLanguages = 8;  // to be tried
inline constexpr std::uint32_t spokenLines = 400;    // of one recording,
inline constexpr std::size_t spokenBytes = 16 << 10; // and in all of them
inline constexpr std::uint32_t transcribingMilliseconds = 60'000;
} // namespace limits

/// How many threads are fastest here: for the text that is given, and for each word that is written. 0 where
/// that is to be measured.
struct ModelThreads {
    std::uint32_t reading = 0;
    std::uint32_t writing = 0;

    bool operator==(const ModelThreads&) const = default;
};

enum class ModelKind { language, speech };

/// The first order. With it goes the model's file, open for reading.
struct LoadModel {
    ModelKind kind = ModelKind::language;
    bool describe = false; // the report is to hold the facts

    bool operator==(const LoadModel&) const = default;
};

/// Evaluate the instructions, which stand before everything of a document. With it goes memory for that
/// state, as a descriptor: to be filled, or as an earlier host has filled it. A model of speech has none of
/// that: it measures its threads.
struct WarmModel {
    std::string instructions;
    std::uint64_t stateBytes = 0; // in the memory; 0: it is to be filled
    ModelThreads threads{};

    bool operator==(const WarmModel&) const = default;
};

/// A title after the instructions.
struct AskModel {
    std::string prompt;
    std::uint32_t maxTokens = 0;

    bool operator==(const AskModel&) const = default;
};

/// What is said in a recording, by a model of speech. With it goes the sound, in memory: 16,000 samples a
/// second, one channel, two bytes each.
struct TranscribeSound {
    std::uint32_t samples = 0;            // as many as the memory holds
    std::vector<std::string> languages{}; // as "fr", in the order in which they are tried
    std::chrono::milliseconds longest{0};
    std::uint32_t threads = 0; // 0: as many as there are processors, up to eight

    bool operator==(const TranscribeSound&) const = default;
};

/// Stop whatever is being done; its report says `cancelled`, or what was ready.
struct CancelWork {
    bool operator==(const CancelWork&) const = default;
};

using ModelOrder = std::variant<LoadModel, WarmModel, AskModel, CancelWork, TranscribeSound>;

enum class ModelOutcome {
    done,
    cancelled,
    unusable, // what was written is no title
    tooLong,  // does not fit the context
    refused,  // the engine cannot use this file
    noMemory,
    engine, // anything else
    late,   // nothing was there when the time was over
};

struct ModelGreeting {
    static constexpr std::size_t maxBytes = 256;

    Jail jail = Jail::none;
    std::string engine{}; // name and version

    bool operator==(const ModelGreeting&) const = default;
};

struct ModelLoaded {
    ModelOutcome outcome = ModelOutcome::engine;
    std::string name{};
    std::string architecture{};
    std::uint64_t parameters = 0;
    std::uint32_t context = 0;            // in tokens, as the model was trained
    std::vector<std::string> languages{}; // as the model's file lists them

    bool operator==(const ModelLoaded&) const = default;
};

struct ModelWarmed {
    ModelOutcome outcome = ModelOutcome::engine;
    std::uint32_t tokens = 0;     // of the instructions
    std::uint64_t stateBytes = 0; // in the memory that was handed over; 0: it did not fit
    bool kept = false;            // taken from the memory, not evaluated
    ModelThreads threads{};

    bool operator==(const ModelWarmed&) const = default;
};

struct ModelAnswered {
    ModelOutcome outcome = ModelOutcome::engine;
    std::string title{};
    std::uint32_t promptTokens = 0; // behind the instructions
    std::uint32_t tokens = 0;       // written
    std::uint32_t refusals = 0;     // of the token that the model would have chosen
    std::chrono::microseconds firstToken{0};
    std::chrono::microseconds total{0};

    bool operator==(const ModelAnswered&) const = default;
};

/// `done` without lines: no speech was understood. With lines it may be the beginning alone, where the time
/// was over.
struct SoundTranscribed {
    ModelOutcome outcome = ModelOutcome::engine;
    std::string language{}; // of the lines, as "fr"
    std::vector<std::string> lines{};

    bool operator==(const SoundTranscribed&) const = default;
};

using ModelReport = std::variant<ModelLoaded, ModelWarmed, ModelAnswered, SoundTranscribed>;

[[nodiscard]] std::string encode(const ModelGreeting& greeting);
[[nodiscard]] std::string encode(const ModelOrder& order);
/// Texts are repaired and cut to what a decoder takes.
[[nodiscard]] std::string encode(const ModelReport& report);

// Nothing where a byte is wrong.
[[nodiscard]] std::optional<ModelGreeting> decodeModelGreeting(std::string_view bytes);
[[nodiscard]] std::optional<ModelOrder> decodeModelOrder(std::string_view bytes);
[[nodiscard]] std::optional<ModelReport> decodeModelReport(std::string_view bytes);

} // namespace vesto::ipc
