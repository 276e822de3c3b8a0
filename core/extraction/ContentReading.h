#pragma once
#include "core/extraction/Route.h"
#include "core/extraction/SummarizerError.h"
#include "core/naming/ContentSummary.h"
#include "core/support/Time.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace vesto {

struct SummarizerSettings;

/// What takes a reader its time; told to people who wait.
enum class ReadingStage { recognizingText, classifying, decodingSound, decodingFrames };

/// One file to read. Everything a reader may know of it; a reader never opens a path.
struct ReadRequest {
    int fd = -1;                // open for reading, a regular file; borrowed for the call
    std::filesystem::path path; // its name tells the format; never opened
    ContentType type;
    Route route = Route::document;
    std::optional<Instant> bestDate; // of the file system, for content that carries no date
    /// Called on the reading thread whenever a stage begins that can take a second; may be empty.
    std::function<void(ReadingStage)> onStage{};
    /// From here on what takes long gives what it has: a little before a reader's time is over and all is
    /// lost.
    std::chrono::steady_clock::time_point lastMoment = std::chrono::steady_clock::time_point::max();
    /// Once it is asked for, nobody wants the answer any more.
    std::stop_token stop{};
};

/// What a reader gives back for one file.
struct Reading {
    ContentSummary summary;
    /// Speech to be transcribed: 16,000 samples a second, one channel, at most the transcription window.
    /// Empty where there is no sound.
    std::vector<std::int16_t> sound{};
    /// Languages (Tesseract's codes, as "fra") that text should have been recognised in and whose data is not
    /// installed.
    std::vector<std::string> missingLanguages{};

    bool operator==(const Reading&) const = default;
};

/// A small picture of a file's first page or of the picture that it is.
struct Preview {
    static constexpr std::uint32_t maxSide = 1024; // pixels

    std::uint32_t width = 0; // pixels, 1 to maxSide
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgba{}; // 4 bytes a pixel, row after row without padding; alpha not multiplied

    bool operator==(const Preview&) const = default;
};

/// The seam between the core and the readers of foreign formats.
class ContentReading {
public:
    virtual ~ContentReading() = default;

    /// A complete reading, or `unreadable` or `locked`. Callable from any thread.
    [[nodiscard]] virtual std::expected<Reading, SummarizerError>
    read(const ReadRequest& request, const SummarizerSettings& settings) = 0;

    /// `unreadable` also where the format shows no picture. Callable from any thread.
    [[nodiscard]] virtual std::expected<Preview, SummarizerError> preview(const ReadRequest& request) = 0;
};

} // namespace vesto
