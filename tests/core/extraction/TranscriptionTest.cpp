#include "core/extraction/Transcription.h"

#include "core/extraction/Summarizer.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

using Lines = std::vector<std::string>;

/// Says what it is told to say, and remembers what it was asked.
class ScriptedSpeech : public SpeechTranscribing {
public:
    std::optional<Lines> transcribe(std::span<const std::int16_t> samples, const Lines& locales,
                                    Seconds timeout, std::stop_token stop) override {
        ++calls;
        heard = samples.size();
        askedLocales = locales;
        askedTimeout = timeout;
        return stop.stop_requested() ? std::nullopt : answer;
    }

    std::optional<Lines> answer = Lines{"  Bonjour à tous. ", " ", "La réunion commence."};
    int calls = 0;
    std::size_t heard = 0;
    Lines askedLocales;
    Seconds askedTimeout{0};
};

Reading recording(std::size_t samples) {
    Reading reading{.summary = {.kind = ContentSummary::Kind::audio, .lines = {"Artiste : Les Grèves"}}};
    reading.sound.resize(samples);
    return reading;
}

TEST(Transcription, StandsBelowTheLinesOfTheReader) {
    const SummarizerSettings settings({"fr-FR"});
    ScriptedSpeech speech;
    Reading reading = recording(std::size_t{61} * 16'000);
    addTranscript(reading, Route::audio, settings, speech, Seconds(19), {});
    EXPECT_EQ(reading.summary.lines,
              (Lines{"Artiste : Les Grèves", "Bonjour à tous.", "La réunion commence."}));
    EXPECT_TRUE(reading.summary.textFromSpeech);
    EXPECT_EQ(speech.heard, 60U * 16'000);
    EXPECT_EQ(speech.askedLocales, (Lines{"fr_FR", "en_US"}));
    EXPECT_EQ(speech.askedTimeout, Seconds(20));
}

TEST(Transcription, OfAFilmGetsWhatIsLeftOfItsTime) {
    const SummarizerSettings settings({"fr-FR"});
    struct Row {
        double elapsed;
        double timeout; // 0: not asked at all
    };
    for (const auto& [elapsed, timeout] : {Row{2, 20}, Row{12, 18}, Row{30, 0}, Row{45, 0}}) {
        SCOPED_TRACE(elapsed);
        ScriptedSpeech speech;
        Reading reading = recording(100);
        addTranscript(reading, Route::video, settings, speech, Seconds(elapsed), {});
        EXPECT_EQ(speech.askedTimeout, Seconds(timeout));
        EXPECT_EQ(reading.summary.textFromSpeech, timeout > 0);
    }
}

TEST(Transcription, ChangesNothingWhereNothingIsSaid) {
    const SummarizerSettings settings({"fr-FR"});
    const Reading before = recording(100);
    for (const auto& answer :
         {std::optional<Lines>(), std::optional(Lines{}), std::optional(Lines{"", " \t"})}) {
        ScriptedSpeech speech;
        speech.answer = answer;
        Reading reading = before;
        addTranscript(reading, Route::audio, settings, speech, Seconds(0), {});
        EXPECT_EQ(speech.calls, 1);
        EXPECT_EQ(reading, before);
    }
    ScriptedSpeech speech;
    Reading silent = recording(0);
    addTranscript(silent, Route::audio, settings, speech, Seconds(0), {});
    Reading document = before;
    addTranscript(document, Route::document, settings, speech, Seconds(0), {});
    EXPECT_EQ(speech.calls, 0);
    EXPECT_EQ(document, before);

    const std::stop_source stop = [] {
        std::stop_source source;
        source.request_stop();
        return source;
    }();
    Reading stopped = before;
    addTranscript(stopped, Route::audio, settings, speech, Seconds(0), stop.get_token());
    EXPECT_EQ(stopped, before);
}

class SoundReading : public ContentReading {
public:
    std::expected<Reading, SummarizerError> read(const ReadRequest&, const SummarizerSettings&) override {
        return recording(100);
    }
    std::expected<Preview, SummarizerError> preview(const ReadRequest& request) override {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
};

TEST(Transcription, IsAskedForByTheSummarizer) {
    const std::string path = VESTO_SOURCE_DIR "/tests/readers/data/cover.mp3";
    const auto speech = std::make_shared<ScriptedSpeech>();
    const auto reading = std::make_shared<SoundReading>();
    EXPECT_TRUE(Summarizer({"fr-FR"}, reading, speech).summarize(path)->textFromSpeech);
    EXPECT_EQ(speech->heard, 100U);
    EXPECT_EQ(*Summarizer({"fr-FR"}, reading).summarize(path), recording(100).summary);
}

} // namespace
} // namespace vesto
