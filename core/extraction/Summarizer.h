#pragma once
#include "core/extraction/ContentReading.h"
#include "core/extraction/Route.h"
#include "core/extraction/SpeechTranscribing.h"
#include "core/extraction/SummarizerError.h"
#include "core/naming/ContentSummary.h"

#include <chrono>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vesto {

// What each kind of reader is told. The values are fixed by SummarizerSettings.
struct ImageSummarizer {
    std::vector<std::string> recognitionLanguages; // BCP 47, as "fr-FR", best first
    int maxLabels = 5;
    double minLabelConfidence = 0.3;
};
struct PDFSummarizer {
    ImageSummarizer ocr;
    int scanThreshold = 20; // characters of text below which a document is a scan
};
struct DocumentSummarizer {
    std::int64_t maxFileBytes = 52'428'800;
};
struct EmailSummarizer {};
struct QuickLookSummarizer {
    ImageSummarizer ocr;
    std::chrono::seconds timeout{8};
    std::int64_t maxFileSize = 209'715'200; // bytes
};
struct AudioSummarizer {
    std::vector<std::string> locales{"fr_FR", "en_US"};
    Seconds transcriptionWindow{60.0};
    Seconds transcriptionTimeout{20.0};
};
struct VideoSummarizer {
    ImageSummarizer ocr;
    AudioSummarizer audio;
    Seconds timeout{30.0};
};

struct SummarizerSettings {
    ImageSummarizer image;
    PDFSummarizer pdf;
    DocumentSummarizer document;
    EmailSummarizer email;
    QuickLookSummarizer quickLook;
    AudioSummarizer audio;
    VideoSummarizer video;

    explicit SummarizerSettings(std::vector<std::string> recognitionLanguages);
};

/// What a caller may want to hear of while a file is read. Called on the thread that summarizes; each may be
/// empty.
struct SummarizerEvents {
    /// A stage begins that can take a second.
    std::function<void(const std::filesystem::path&, ReadingStage)> onStage{};
    /// Text should have been recognised in languages (Tesseract's codes) whose data is not installed.
    std::function<void(const std::vector<std::string>&)> onMissingLanguages{};
};

/// Turns a file into a summary: tells its type, chooses the route, has it read. Immutable; callable from any
/// thread as far as its reader is.
class Summarizer {
public:
    /// `transcriber` may be null: what is said in a recording then stays unknown.
    Summarizer(std::vector<std::string> recognitionLanguages, std::shared_ptr<ContentReading> reading,
               std::shared_ptr<SpeechTranscribing> transcriber = nullptr, SummarizerEvents events = {});

    /// Nothing is read from a file without a route. `stop` ends a transcription early.
    [[nodiscard]] std::expected<ContentSummary, SummarizerError>
    summarize(const std::filesystem::path& path, const std::stop_token& stop = {}) const;

    /// The first page or the picture of a file; `unreadable` also where its format shows none.
    [[nodiscard]] std::expected<Preview, SummarizerError> preview(const std::filesystem::path& path,
                                                                  const std::stop_token& stop = {}) const;

    /// By the extension; a name without one is told by its first 16 bytes. Links are not followed.
    [[nodiscard]] static std::optional<ContentType> contentType(const std::filesystem::path& path);

    [[nodiscard]] static bool isSupported(const std::filesystem::path& path);

    [[nodiscard]] const SummarizerSettings& settings() const { return m_settings; }

private:
    SummarizerSettings m_settings;
    std::shared_ptr<ContentReading> m_reading;
    std::shared_ptr<SpeechTranscribing> m_transcriber;
    SummarizerEvents m_events;
};

/// What an office or e-book type is called; (`document`, nothing) for any other type and for none.
[[nodiscard]] std::pair<ContentSummary::Kind, std::optional<std::string>>
kindAndFormat(const std::optional<ContentType>& type);

/// Whether a file is a screenshot or a screen recording, by the picture's own comment or the file's name.
[[nodiscard]] bool isScreenCapture(const std::filesystem::path& path,
                                   const std::optional<std::string>& imageUserComment);

} // namespace vesto
