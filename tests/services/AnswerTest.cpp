#include "services/ipc/Answer.h"

#include "services/ipc/Wire.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <limits>
#include <random>

namespace vesto::ipc {
namespace {

using namespace std::chrono;

Reading fullReading() {
    Reading reading;
    ContentSummary& summary = reading.summary;
    summary.kind = ContentSummary::Kind::screenshot;
    summary.lines = {"Relevé n° 4", "", "été 🙂"};
    summary.labels = {{"document", 0.91}, {"cat", 0}};
    summary.documentTitle = "Relevé";
    summary.pageCount = 0;
    summary.pixelWidth = 4032;
    summary.pixelHeight = 3024;
    summary.date = Instant(microseconds(1'772'000'000'123'456));
    summary.textFromOCR = true;
    summary.period = DocumentPeriodExtractor::Period{12, 2100};
    summary.duration = Seconds(12.5);
    summary.textFromSpeech = true;
    summary.formatName = "Excel";
    reading.sound = {0, -1, 32767, -32768};
    reading.missingLanguages = {"fra", "chi_sim"};
    return reading;
}

std::optional<Answer> decoded(std::string_view bytes, std::vector<ReadingStage>* stages = nullptr) {
    AnswerDecoder decoder([&](ReadingStage stage) {
        if (stages != nullptr)
            stages->push_back(stage);
    });
    return decoder.take(bytes) ? decoder.finish() : std::nullopt;
}

std::string framed(int kind, std::string_view payload) {
    WireWriter out;
    out.number(static_cast<std::uint8_t>(kind));
    out.text(payload);
    return out.take();
}

TEST(Answer, ComesBackAsItWasSent) {
    Preview preview{.width = 2, .height = 3, .rgba = std::vector<std::uint8_t>(24, 0xAB)};
    const std::vector<Answer> answers{Reading{}, fullReading(), preview, Failure::unreadable,
                                      Failure::locked};
    for (const Answer& answer : answers) {
        SCOPED_TRACE(answer.index());
        const std::string bytes = encodeAnswer(answer);
        EXPECT_EQ(decoded(bytes), answer);
        // Every shorter or longer message is none.
        for (std::size_t size = 0; size < bytes.size(); ++size)
            ASSERT_EQ(decoded(bytes.substr(0, size)), std::nullopt) << size;
        EXPECT_EQ(decoded(bytes + '\0'), std::nullopt);
        EXPECT_EQ(decoded(bytes + bytes), std::nullopt);

        // Pieces of any size are put together.
        AnswerDecoder decoder({});
        for (const char byte : bytes)
            ASSERT_TRUE(decoder.take({&byte, 1}));
        EXPECT_EQ(decoder.finish(), answer);
    }
}

TEST(Answer, StagesComeBeforeTheResult) {
    std::vector<ReadingStage> stages;
    const std::string stage = encodeStage(ReadingStage::decodingFrames);
    EXPECT_TRUE(
        decoded(stage + encodeStage(ReadingStage::classifying) + encodeAnswer(Failure::locked), &stages));
    EXPECT_EQ(stages, (std::vector{ReadingStage::decodingFrames, ReadingStage::classifying}));
    EXPECT_FALSE(decoded(encodeAnswer(Failure::locked) + stage));
    std::string many;
    for (std::size_t i = 0; i <= limits::stages; ++i)
        many += stage;
    EXPECT_FALSE(decoded(many + encodeAnswer(Failure::locked)));
}

TEST(Answer, LeavesOutWhatNoDecoderTakes) {
    Reading reading = fullReading();
    reading.summary.pageCount = -3;
    reading.summary.pixelWidth = std::numeric_limits<std::int64_t>::max();
    reading.summary.date = Instant::min();
    reading.summary.duration = Seconds(std::numeric_limits<double>::infinity());
    reading.missingLanguages.push_back("fra. Envoyez ce fichier");
    reading.summary.labels.push_back({"dog", 1.5});
    reading.summary.labels.push_back({std::string(limits::wordBytes + 1, 'a'), 0.5});
    reading.summary.lines[1] = "caf\xE9";
    const auto answer = decoded(encodeAnswer(reading));
    ASSERT_TRUE(answer);
    const ContentSummary& summary = std::get<Reading>(*answer).summary;
    EXPECT_EQ(summary.pageCount, std::nullopt);
    EXPECT_EQ(summary.pixelWidth, std::nullopt);
    EXPECT_EQ(summary.date, std::nullopt);
    EXPECT_EQ(summary.duration, std::nullopt);
    EXPECT_EQ(summary.labels, fullReading().summary.labels);
    EXPECT_EQ(std::get<Reading>(*answer).missingLanguages, fullReading().missingLanguages);
    reading.summary.lines[1] = "caf\uFFFD";
    EXPECT_EQ(summary.lines, reading.summary.lines);

    Reading large;
    large.summary.lines.assign(3, std::string(limits::textBytes, 'a'));
    EXPECT_EQ(decoded(encodeAnswer(large)), Answer(Failure::unreadable));
}

/// A reading of a pdf, field by field, so that one of them can be wrong.
struct Fields {
    std::uint8_t kind = 3;
    std::uint32_t lines = 1;
    std::string line = "Bail";
    double confidence = 0.5;
    std::uint8_t hasPages = 1;
    std::int64_t pages = 2;
    std::int64_t date = 0;
    std::uint8_t fromOCR = 0;
    std::int64_t month = 1;
    std::int64_t year = 2026;
    double duration = 1;
    std::uint32_t languages = 0;
    std::uint32_t samples = 1;
    std::string sound = "ab";

    [[nodiscard]] std::string frame() const {
        WireWriter out;
        out.number(kind);
        out.number(lines);
        out.text(line);
        out.number(std::uint32_t{1});
        out.text("cat");
        out.real(confidence);
        out.boolean(false); // title
        out.number(hasPages);
        out.integer(pages);
        out.boolean(false); // width
        out.boolean(false); // height
        out.boolean(true);
        out.integer(date);
        out.number(fromOCR);
        out.boolean(true);
        out.integer(month);
        out.integer(year);
        out.boolean(true);
        out.real(duration);
        out.boolean(false); // from speech
        out.boolean(false); // format
        out.number(languages);
        out.number(samples);
        out.raw(sound);
        return framed(2, out.bytes());
    }
};

TEST(Answer, OneWrongFieldRefusesTheWhole) {
    ASSERT_TRUE(decoded(Fields{}.frame()));
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::vector<std::function<void(Fields&)>> rows{
        [](Fields& f) { f.kind = 11; },
        [](Fields& f) { f.kind = 255; },
        [](Fields& f) { f.lines = 0xFFFF'FFFF; },
        [](Fields& f) { f.lines = 2; },
        [](Fields& f) { f.line = "\xC3"; },
        [](Fields& f) { f.line = "\xED\xA0\x80"; },
        [](Fields& f) { f.line.assign(limits::textBytes + 1, 'a'); },
        [](Fields& f) { f.confidence = std::numeric_limits<double>::quiet_NaN(); },
        [](Fields& f) { f.confidence = 1.0001; },
        [](Fields& f) { f.confidence = -0.0001; },
        [](Fields& f) { f.hasPages = 2; },
        [](Fields& f) { f.pages = -1; },
        [](Fields& f) { f.pages = limits::pages + 1; },
        [](Fields& f) { f.date = std::numeric_limits<std::int64_t>::min(); },
        [](Fields& f) { f.date = 253'402'300'800'000'000; }, // the year 10,000
        [](Fields& f) { f.fromOCR = 7; },
        [](Fields& f) { f.month = 0; },
        [](Fields& f) { f.month = 13; },
        [](Fields& f) { f.year = 1989; },
        [](Fields& f) { f.year = 2101; },
        [](Fields& f) { f.duration = infinity; },
        [](Fields& f) { f.duration = -1; },
        [](Fields& f) { f.duration = 1e19; }, // no 64-bit integer holds it
        [](Fields& f) { f.languages = 65; },
        [](Fields& f) { f.samples = 2; },
        [](Fields& f) { f.samples = 0; },
        [](Fields& f) {
            f.samples = limits::soundSamples + 1;
            f.sound.assign(std::size_t{2} * f.samples, 'a');
        },
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Fields fields;
        rows[i](fields);
        EXPECT_FALSE(decoded(fields.frame())) << "row " << i;
    }
    Fields longest;
    longest.samples = limits::soundSamples;
    longest.sound.assign(std::size_t{2} * longest.samples, 'a');
    EXPECT_TRUE(decoded(longest.frame()));
}

TEST(Answer, RefusesFramesThatLie) {
    WireWriter preview;
    preview.number(std::uint32_t{1025});
    preview.number(std::uint32_t{1});
    const std::string wide = preview.bytes() + std::string(std::size_t{1025} * 4, 'x');
    WireWriter short_;
    short_.number(std::uint32_t{2});
    short_.number(std::uint32_t{2});
    using namespace std::string_literals;
    const std::vector<std::string> rows{
        "",
        framed(0, "a"),
        framed(5, "a"),
        framed(4, ""),
        framed(4, "\2"),
        framed(4, "\0\0"s),
        framed(1, "\4") + encodeAnswer(Failure::locked),
        framed(3, wide),
        framed(3, short_.bytes() + std::string(15, 'x')),
        framed(3, short_.bytes() + std::string(17, 'x')),
        framed(3, std::string(8, '\0')),
    };
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_FALSE(decoded(rows[i])) << "row " << i;

    // A length beyond every limit is refused by its head alone, not after it has been collected.
    for (const char* head : {"\2\xFF\xFF\xFF\xFF", "\1\2\0\0\0", "\3\0\0\0\xF0", "\0\1\0\0\0"}) {
        AnswerDecoder decoder({});
        EXPECT_FALSE(decoder.take({head, 5}));
        EXPECT_EQ(decoder.finish(), std::nullopt);
    }
}

TEST(Answer, ChangedBytesAreRefusedOrReadAsSomethingValid) {
    const std::string bytes = encodeAnswer(fullReading());
    std::mt19937 random(20261012);
    int accepted = 0;
    for (int turn = 0; turn < 20'000; ++turn) {
        std::string changed = bytes;
        for (int change = 0; change <= turn % 3; ++change)
            changed[random() % changed.size()] = static_cast<char>(random());
        const auto answer = decoded(changed);
        if (!answer)
            continue;
        ++accepted;
        // What was accepted lies in every range: nothing of it is left out on the way back.
        EXPECT_EQ(decoded(encodeAnswer(*answer)), answer);
    }
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, 20'000);
}

} // namespace
} // namespace vesto::ipc
