#include "services/ipc/Answer.h"

#include "core/support/Unicode.h"
#include "services/ipc/Wire.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>

namespace vesto::ipc {
namespace {

using Kind = ContentSummary::Kind;

// The first byte of a frame.
constexpr std::uint8_t stageFrame = 1;
constexpr std::uint8_t readingFrame = 2;
constexpr std::uint8_t previewFrame = 3;
constexpr std::uint8_t failureFrame = 4;
constexpr std::size_t headBytes = 5;

constexpr auto kindCount = static_cast<std::uint8_t>(Kind::ebook) + 1;
constexpr auto stageCount = static_cast<std::uint8_t>(ReadingStage::decodingFrames) + 1;

constexpr Instant firstDate = std::chrono::sys_days{std::chrono::year{1} / 1 / 1};
constexpr Instant endOfDates = std::chrono::sys_days{std::chrono::year{10000} / 1 / 1};

constexpr std::size_t largestPayload(std::uint8_t kind) {
    switch (kind) {
    case stageFrame:
    case failureFrame:
        return 1;
    case readingFrame:
        return limits::answerBytes + limits::soundSamples * sizeof(std::int16_t);
    case previewFrame:
        return limits::previewBytes + 2 * sizeof(std::uint32_t);
    default:
        return 0;
    }
}

std::string frame(std::uint8_t kind, std::string_view payload) {
    WireWriter out;
    out.number(kind);
    out.text(payload);
    return out.take();
}

// ---- Writing ----

template <typename T> void writeInteger(WireWriter& out, const std::optional<T>& value, T least, T most) {
    const bool written = value && *value >= least && *value <= most;
    out.boolean(written);
    if (written)
        out.integer(*value);
}

/// As Tesseract names its data: "fra", "chi_sim".
bool isLanguageCode(std::string_view code) {
    return code.size() >= 3 && code.size() <= 12 &&
           code.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") == std::string_view::npos;
}

void writeUTF8(WireWriter& out, const std::string& text) {
    out.text(unicode::isValid(text) ? text : unicode::repaired(text));
}

void writeText(WireWriter& out, const std::optional<std::string>& value, std::size_t mostBytes) {
    // Repairing makes a text longer.
    const std::string text =
        !value || unicode::isValid(*value) ? value.value_or("") : unicode::repaired(*value);
    const bool written = value && text.size() <= mostBytes;
    out.boolean(written);
    if (written)
        out.text(text);
}

void writeTexts(WireWriter& out, const std::vector<std::string>& texts) {
    out.number(static_cast<std::uint32_t>(texts.size()));
    for (const std::string& text : texts)
        writeUTF8(out, text);
}

/// The labels that a decoder takes: their words come from a file of the user's.
std::vector<ContentSummary::Label> sendable(const std::vector<ContentSummary::Label>& labels) {
    std::vector<ContentSummary::Label> result;
    for (const ContentSummary::Label& label : labels)
        if (label.identifier.size() <= limits::wordBytes && unicode::isValid(label.identifier) &&
            label.confidence >= 0 && label.confidence <= 1 && result.size() < limits::labels)
            result.push_back(label);
    return result;
}

void writeSummary(WireWriter& out, const ContentSummary& summary) {
    out.number(static_cast<std::uint8_t>(summary.kind));
    writeTexts(out, summary.lines);
    const auto labels = sendable(summary.labels);
    out.number(static_cast<std::uint32_t>(labels.size()));
    for (const ContentSummary::Label& label : labels) {
        out.text(label.identifier);
        out.real(label.confidence);
    }
    writeText(out, summary.documentTitle, limits::textBytes);
    writeInteger(out, summary.pageCount, std::int64_t{0}, limits::pages);
    writeInteger(out, summary.pixelWidth, std::int64_t{0}, limits::pixels);
    writeInteger(out, summary.pixelHeight, std::int64_t{0}, limits::pixels);
    const bool dated = summary.date && *summary.date >= firstDate && *summary.date < endOfDates;
    out.boolean(dated);
    if (dated)
        out.integer(summary.date->time_since_epoch().count());
    out.boolean(summary.textFromOCR);
    out.boolean(summary.period.has_value());
    if (summary.period) {
        out.integer(summary.period->month);
        out.integer(summary.period->year);
    }
    const bool lasting = summary.duration && std::isfinite(summary.duration->count()) &&
                         summary.duration->count() >= 0 && summary.duration->count() <= limits::seconds;
    out.boolean(lasting);
    if (lasting)
        out.real(summary.duration->count());
    out.boolean(summary.textFromSpeech);
    writeText(out, summary.formatName, limits::wordBytes);
}

std::string payloadOf(const Reading& reading) {
    WireWriter out;
    writeSummary(out, reading.summary);
    std::vector<std::string> languages = reading.missingLanguages;
    std::erase_if(languages, [](const std::string& code) { return !isLanguageCode(code); });
    writeTexts(out, languages);
    out.number(static_cast<std::uint32_t>(reading.sound.size()));
    for (const std::int16_t sample : reading.sound)
        out.number(static_cast<std::uint16_t>(sample));
    return out.take();
}

std::string payloadOf(const Preview& preview) {
    WireWriter out;
    out.number(preview.width);
    out.number(preview.height);
    out.raw({reinterpret_cast<const char*>(preview.rgba.data()), preview.rgba.size()});
    return out.take();
}

// ---- Reading ----

std::optional<std::int64_t> readInteger(WireReader& in, std::int64_t least, std::int64_t most) {
    return in.boolean() ? std::optional(in.integer(least, most)) : std::nullopt;
}

std::optional<std::string> readText(WireReader& in, std::size_t mostBytes) {
    return in.boolean() ? std::optional(in.utf8(mostBytes)) : std::nullopt;
}

std::vector<std::string> readTexts(WireReader& in, std::size_t most, std::size_t mostBytes) {
    std::vector<std::string> texts(in.count(most, sizeof(std::uint32_t)));
    for (std::string& text : texts)
        text = in.utf8(mostBytes);
    return texts;
}

ContentSummary readSummary(WireReader& in) {
    ContentSummary summary;
    summary.kind = in.enumerator<Kind>(kindCount);
    summary.lines = readTexts(in, limits::answerBytes, limits::textBytes);
    summary.labels.resize(in.count(limits::labels, sizeof(std::uint32_t) + sizeof(double)));
    for (ContentSummary::Label& label : summary.labels) {
        label.identifier = in.utf8(limits::wordBytes);
        label.confidence = in.real(0, 1);
    }
    summary.documentTitle = readText(in, limits::textBytes);
    summary.pageCount = readInteger(in, 0, limits::pages);
    summary.pixelWidth = readInteger(in, 0, limits::pixels);
    summary.pixelHeight = readInteger(in, 0, limits::pixels);
    if (const auto date =
            readInteger(in, firstDate.time_since_epoch().count(), endOfDates.time_since_epoch().count() - 1))
        summary.date = Instant(std::chrono::microseconds(*date));
    summary.textFromOCR = in.boolean();
    if (in.boolean()) {
        const std::int64_t month = in.integer(1, 12);
        summary.period = DocumentPeriodExtractor::Period{month, in.integer(1990, 2100)};
    }
    if (in.boolean())
        summary.duration = Seconds(in.real(0, limits::seconds));
    summary.textFromSpeech = in.boolean();
    summary.formatName = readText(in, limits::wordBytes);
    return summary;
}

std::optional<Answer> readingOf(std::string_view payload) {
    WireReader in(payload);
    Reading reading;
    reading.summary = readSummary(in);
    reading.missingLanguages = readTexts(in, limits::languages, limits::wordBytes);
    // They end up in a sentence that tells people what to install.
    in.require(std::ranges::all_of(reading.missingLanguages, isLanguageCode));
    in.require(payload.size() - in.left() <= limits::answerBytes);
    reading.sound.resize(in.count(limits::soundSamples, sizeof(std::int16_t)));
    const std::string_view samples = in.raw(reading.sound.size() * sizeof(std::int16_t));
    if (!in.isComplete())
        return std::nullopt;
    WireReader sound(samples);
    for (std::int16_t& sample : reading.sound)
        sample = static_cast<std::int16_t>(sound.number<std::uint16_t>());
    return reading;
}

std::optional<Answer> previewOf(std::string_view payload) {
    WireReader in(payload);
    Preview preview;
    preview.width = in.number<std::uint32_t>();
    preview.height = in.number<std::uint32_t>();
    in.require(preview.width >= 1 && preview.width <= Preview::maxSide && preview.height >= 1 &&
               preview.height <= Preview::maxSide);
    if (!in.isValid())
        return std::nullopt;
    const std::string_view pixels = in.raw(std::size_t{preview.width} * preview.height * 4);
    if (!in.isComplete())
        return std::nullopt;
    preview.rgba.assign(pixels.begin(), pixels.end());
    return preview;
}

std::optional<Answer> failureOf(std::string_view payload) {
    WireReader in(payload);
    const auto failure = in.enumerator<Failure>(2);
    return in.isComplete() ? std::optional<Answer>(failure) : std::nullopt;
}

} // namespace

std::string encodeStage(ReadingStage stage) {
    return frame(stageFrame, std::string(1, static_cast<char>(stage)));
}

std::string encodeAnswer(const Answer& answer) {
    const std::string unreadable =
        frame(failureFrame, std::string(1, static_cast<char>(Failure::unreadable)));
    std::uint8_t kind = failureFrame;
    std::string payload;
    if (const auto* reading = std::get_if<Reading>(&answer)) {
        kind = readingFrame;
        payload = payloadOf(*reading);
    } else if (const auto* preview = std::get_if<Preview>(&answer)) {
        kind = previewFrame;
        payload = payloadOf(*preview);
    } else {
        payload.push_back(static_cast<char>(std::get<Failure>(answer)));
    }
    return payload.size() > largestPayload(kind) ? unreadable : frame(kind, payload);
}

bool AnswerDecoder::take(std::string_view bytes) {
    m_valid = m_valid && !(m_answer && !bytes.empty());
    if (!m_valid)
        return false;
    m_waiting += bytes;
    std::string_view rest = m_waiting;
    while (m_valid && rest.size() >= headBytes) {
        WireReader head(rest.substr(0, headBytes));
        const auto kind = head.number<std::uint8_t>();
        const std::size_t size = head.number<std::uint32_t>();
        // Nothing follows the result, and no frame is empty.
        m_valid = !m_answer && size >= 1 && size <= largestPayload(kind);
        if (!m_valid || rest.size() - headBytes < size)
            break;
        m_valid = takeFrame(kind, rest.substr(headBytes, size));
        rest.remove_prefix(headBytes + size);
    }
    m_valid = m_valid && !(m_answer && !rest.empty());
    m_waiting.erase(0, m_waiting.size() - rest.size());
    return m_valid;
}

bool AnswerDecoder::takeFrame(std::uint8_t kind, std::string_view payload) {
    switch (kind) {
    case stageFrame: {
        WireReader in(payload);
        const auto stage = in.enumerator<ReadingStage>(stageCount);
        if (!in.isComplete() || ++m_stages > limits::stages)
            return false;
        if (m_onStage)
            m_onStage(stage);
        return true;
    }
    case readingFrame:
        m_answer = readingOf(payload);
        return m_answer.has_value();
    case previewFrame:
        m_answer = previewOf(payload);
        return m_answer.has_value();
    case failureFrame:
        m_answer = failureOf(payload);
        return m_answer.has_value();
    default:
        return false;
    }
}

std::optional<Answer> AnswerDecoder::finish() {
    return m_valid && m_waiting.empty() ? std::move(m_answer) : std::nullopt;
}

} // namespace vesto::ipc
