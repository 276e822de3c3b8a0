#include "core/extraction/readers/media/AudioReader.h"

#include "core/extraction/readers/Previews.h"
#include "core/extraction/readers/media/MediaTitle.h"
#include "tests/readers/support/TemporaryFile.h"
#include "tests/readers/support/WaveFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

namespace vesto {
namespace {

using tests::temporaryFile;
using tests::Wave;

std::expected<Reading, SummarizerError> readingOf(const UniqueFd& file,
                                                  const AudioSummarizer& settings = {}) {
    return readers::summarizeAudio({.fd = file.get(),
                                    .path = "a.wav",
                                    .type = {"public.audio"},
                                    .route = Route::audio,
                                    .bestDate = referenceDate},
                                   settings);
}

std::expected<Reading, SummarizerError> readingOf(const Wave& wave, const AudioSummarizer& settings = {}) {
    return readingOf(temporaryFile(wave.bytes()), settings);
}

UniqueFd openedData(const std::string& name) {
    return UniqueFd(::open((VESTO_SOURCE_DIR "/tests/readers/data/" + name).c_str(), O_RDONLY | O_CLOEXEC));
}

std::expected<Reading, SummarizerError> readingOfData(const std::string& name) {
    return readingOf(openedData(name));
}

/// How often a tone passes zero, upwards, in a second.
double pitchOf(const std::vector<std::int16_t>& sound) {
    int periods = 0;
    for (std::size_t i = 1; i < sound.size(); ++i)
        periods += sound[i - 1] < 0 && sound[i] >= 0 ? 1 : 0;
    return periods * 16'000.0 / static_cast<double>(sound.size());
}

TEST(AudioReader, GivesSpeechItsOwnRate) {
    for (const auto& [rate, channels] : {std::pair{8'000U, 1}, {16'000U, 1}, {44'100U, 2}, {48'000U, 6}}) {
        SCOPED_TRACE(rate);
        const auto reading = readingOf(Wave{.rate = rate, .channels = channels, .seconds = 2, .pitch = 440});
        ASSERT_TRUE(reading);
        EXPECT_EQ(reading->sound.size(), 32'000);
        EXPECT_NEAR(pitchOf(reading->sound), 440, 2);
        EXPECT_EQ(reading->summary,
                  (ContentSummary{
                      .kind = ContentSummary::Kind::audio, .date = referenceDate, .duration = Seconds(2)}));
    }
}

TEST(AudioReader, StopsAtTheWindow) {
    const Wave wave{.rate = 8'000, .channels = 1, .seconds = 75, .pitch = 440};
    EXPECT_EQ(readingOf(wave)->sound.size(), 60 * 16'000);
    EXPECT_EQ(readingOf(wave)->summary.duration, Seconds(75));
    AudioSummarizer settings;
    settings.transcriptionWindow = Seconds(0.5);
    EXPECT_EQ(readingOf(wave, settings)->sound.size(), 8'000);
}

TEST(AudioReader, PutsArtistAndAlbumFirst) {
    const auto reading = readingOfData("cover.mp3");
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->summary.lines,
              (std::vector<std::string>{"Artiste : Les Grèves", "Album : Marée haute"}));
    EXPECT_EQ(reading->summary.documentTitle, "Nuit d'orage");
    EXPECT_EQ(reading->summary.pixelWidth, std::nullopt);
    EXPECT_EQ(reading->sound.size(), 8'000);
    EXPECT_FALSE(reading->summary.textFromSpeech);
}

TEST(AudioReader, ShowsItsCover) {
    const auto pictureOf = [](const UniqueFd& file) {
        return readers::pictureOf(
            {.fd = file.get(), .path = "a", .type = {}, .route = Route::audio, .bestDate = {}});
    };
    const auto cover = pictureOf(openedData("cover.mp3"));
    ASSERT_TRUE(cover);
    EXPECT_EQ(cover->width, 32);
    EXPECT_EQ(cover->height, 32);
    EXPECT_GT(cover->rgba.at(1), 100); // green
    EXPECT_LT(cover->rgba.at(0), 30);
    EXPECT_FALSE(pictureOf(temporaryFile(Wave().bytes())));
}

TEST(AudioReader, ReadsTagsOfAnyAge) {
    struct Row {
        std::vector<std::pair<std::string, std::string>> tags;
        std::vector<std::string> lines;
        std::optional<std::string> title;
        bool hasDate;
    };
    const Row rows[] = {
        {{{"INAM", "Marée"}, {"IART", "Zoé"}, {"IPRD", "Été"}},
         {"Artiste : Zoé", "Album : Été"},
         "Marée",
         false},
        {{{"IPRD", "\xC9t\xE9"}, {"INAM", "  "}}, {"Album : Été"}, std::nullopt, false}, // windows-1252
        {{{"IART", " Les\n Gr\xE8ves "}}, {"Artiste : Les Grèves"}, std::nullopt, false},
        {{{"ICRD", "2021-05-03"}}, {}, std::nullopt, true},
        {{{"ICRD", "2021"}}, {}, std::nullopt, false}, // a year is no day
        {{{"ICRD", "0000-00-00"}}, {}, std::nullopt, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.tags.front().second);
        const auto reading = readingOf(Wave{.seconds = 0.1, .tags = row.tags});
        ASSERT_TRUE(reading);
        EXPECT_EQ(reading->summary.lines, row.lines);
        EXPECT_EQ(reading->summary.documentTitle, row.title);
        EXPECT_EQ(reading->summary.date != referenceDate, row.hasDate);
    }
}

TEST(AudioReader, TellsATitleFromACounter) {
    struct Row {
        const char* title;
        bool isPiece; // with an artist beside it
        bool isTitle;
    };
    const Row rows[] = {
        {"Entretien avec le maire", false, true},
        {"Nouvel enregistrement 12", false, false},
        {"IMG_0042.MOV", false, false},
        {"IMG_0042", true, true},
        {"1979", true, true},
        {"Track 01", true, false},
        {"Piste_3", false, false},
        {"Tracking", false, true},
        {"Untitled", true, false},
        {"Titre de séjour", false, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.title);
        readers::MediaTags tags{.title = row.title, .artist = {}, .album = {}, .date = {}};
        if (row.isPiece)
            tags.artist = "Les Grèves";
        EXPECT_EQ(readers::usableMediaTitle(tags).has_value(), row.isTitle);
    }
}

TEST(AudioReader, MeasuresWhatDoesNotSayHowLongItIs) {
    const auto reading = readingOfData("live.webm");
    ASSERT_TRUE(reading);
    EXPECT_NEAR(reading->summary.duration.value_or(Seconds(0)).count(), 0.5, 0.05);
}

TEST(AudioReader, TakesWhatCanBeHad) {
    const std::vector<std::pair<std::string, std::string>> tags{{"IART", "Zoé"}};
    // No decoder may be asked for such sound; the tags are all that is left.
    for (const std::uint32_t rate : {1U, 100U, 2'000'000'000U}) {
        SCOPED_TRACE(rate);
        const auto reading = readingOf(Wave{.claimedRate = rate, .seconds = 0.1, .tags = tags});
        ASSERT_TRUE(reading);
        EXPECT_EQ(reading->summary.lines, std::vector<std::string>{"Artiste : Zoé"});
        EXPECT_TRUE(reading->sound.empty());
    }
    EXPECT_FALSE(readingOf(Wave{.claimedRate = 1, .seconds = 0.1}));
    // Sizes that lie: the sound ends where the file does.
    EXPECT_EQ(readingOf(Wave{.rate = 16'000, .seconds = 1, .claimedBytes = 0xFFFFFFFF})->sound.size(),
              16'000);
    EXPECT_EQ(readingOf(Wave{.rate = 16'000, .seconds = 1, .claimedBytes = 0x7FFFFFF0})->sound.size(),
              16'000);
}

TEST(AudioReader, RefusesWhatIsNoRecording) {
    const std::string victim = VESTO_SOURCE_DIR "/tests/readers/data/cover.mp3";
    std::string noise(200'000, '\0');
    std::uint32_t state = 7;
    for (char& byte : noise) {
        state = state * 1'664'525 + 1'013'904'223;
        byte = static_cast<char>(state >> 24);
    }
    const std::string texts[] = {
        "",
        "ID3",
        noise,
        std::string(100'000, '\0'),
        "Bonjour à tous, ceci est une lettre.\n",
        // Each of these would have another file opened.
        "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + victim + "\n#EXT-X-ENDLIST\n",
        "ffconcat version 1.0\nfile '" + victim + "'\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=audio 5004 RTP/AVP 0\n",
        "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\"><Period><BaseURL>" + victim +
            "</BaseURL></Period></MPD>",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 40));
        EXPECT_EQ(readingOf(temporaryFile(text)).error(), SummarizerError::unreadable("a.wav"));
    }
    EXPECT_FALSE(readingOf(UniqueFd()));
}

} // namespace
} // namespace vesto
