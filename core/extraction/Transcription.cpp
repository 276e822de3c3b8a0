#include "core/extraction/Transcription.h"

#include "core/extraction/Summarizer.h"
#include "core/support/Unicode.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace vesto {
namespace {

constexpr double samplesPerSecond = 16'000;

struct Terms {
    const AudioSummarizer& settings;
    Seconds timeout;
};

std::optional<Terms> termsOf(Route route, const SummarizerSettings& settings, Seconds elapsed) {
    switch (route) {
    case Route::audio:
        return Terms{settings.audio, settings.audio.transcriptionTimeout};
    case Route::video:
        return Terms{settings.video.audio,
                     std::min(settings.video.audio.transcriptionTimeout, settings.video.timeout - elapsed)};
    case Route::pdf:
    case Route::image:
    case Route::email:
    case Route::quickLook:
    case Route::document:
        break;
    }
    return std::nullopt;
}

} // namespace

void addTranscript(Reading& reading, Route route, const SummarizerSettings& settings,
                   SpeechTranscribing& speech, Seconds elapsed, const std::stop_token& stop) {
    const std::optional<Terms> terms = termsOf(route, settings, elapsed);
    if (!terms.has_value() || terms->timeout <= Seconds::zero() || reading.sound.empty())
        return;
    const auto window = static_cast<std::size_t>(std::max(terms->settings.transcriptionWindow.count(), 0.0) *
                                                 samplesPerSecond);
    const auto samples = std::span(reading.sound).first(std::min(window, reading.sound.size()));
    if (samples.empty())
        return;
    const auto lines = speech.transcribe(samples, terms->settings.locales, terms->timeout, stop);
    if (!lines.has_value())
        return;
    for (const std::string& line : *lines) {
        const auto text = unicode::trimmedWhiteSpace(line);
        if (text.empty())
            continue;
        reading.summary.lines.emplace_back(text);
        reading.summary.textFromSpeech = true;
    }
}

} // namespace vesto
