#include "services/ipc/Answer.h"

#include "fuzz/Input.h"
#include "services/ipc/Question.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

using namespace vesto;

namespace {

/// What holds for everything that gets past the decoder.
void checkReading(const Reading& reading) {
    const ContentSummary& summary = reading.summary;
    const auto valid = [](const std::string& text) { return unicode::isValid(text); };
    VESTO_ASSERT(std::ranges::all_of(summary.lines, valid));
    VESTO_ASSERT(std::ranges::all_of(reading.missingLanguages, valid));
    VESTO_ASSERT(valid(summary.documentTitle.value_or("")) && valid(summary.formatName.value_or("")));
    for (const ContentSummary::Label& label : summary.labels)
        VESTO_ASSERT(valid(label.identifier) && label.confidence >= 0 && label.confidence <= 1);
    for (const auto& count : {summary.pageCount, summary.pixelWidth, summary.pixelHeight})
        VESTO_ASSERT(count.value_or(0) >= 0);
    VESTO_ASSERT(!summary.period || (summary.period->month >= 1 && summary.period->month <= 12));
    VESTO_ASSERT(!summary.duration ||
                 (std::isfinite(summary.duration->count()) && summary.duration->count() >= 0));
    VESTO_ASSERT(reading.sound.size() <= ipc::limits::soundSamples);
    // The prompt is made of it without another look.
    VESTO_ASSERT(!summary.modelPrompt(Locale{"fr"}).empty());
}

void readAnswer(std::string_view bytes, std::size_t piece) {
    std::size_t stages = 0;
    const auto decode = [&](std::size_t size) {
        stages = 0;
        ipc::AnswerDecoder decoder([&](ReadingStage) { ++stages; });
        for (std::string_view rest = bytes; !rest.empty(); rest.remove_prefix(std::min(size, rest.size())))
            if (!decoder.take(rest.substr(0, size)))
                return std::optional<ipc::Answer>();
        return decoder.finish();
    };
    const auto answer = decode(std::max<std::size_t>(bytes.size(), 1));
    VESTO_ASSERT(stages <= ipc::limits::stages);
    VESTO_ASSERT(decode(piece) == answer); // however it is cut
    if (!answer)
        return;
    if (const auto* reading = std::get_if<Reading>(&*answer))
        checkReading(*reading);
    if (const auto* preview = std::get_if<Preview>(&*answer))
        VESTO_ASSERT(preview->rgba.size() == std::size_t{preview->width} * preview->height * 4);
    // What was accepted is written so that it is accepted again, as the same.
    ipc::AnswerDecoder again({});
    VESTO_ASSERT(again.take(ipc::encodeAnswer(*answer)));
    VESTO_ASSERT(again.finish() == answer);
}

} // namespace

/// A choice (answer, question, greeting), for an answer the size of the pieces it comes in, and the message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    switch (input.choice(3)) {
    case 0: {
        const std::size_t piece = 1 + input.choice(60);
        readAnswer(input.rest(), piece);
        break;
    }
    case 1:
        if (const auto question = ipc::decodeQuestion(input.rest()))
            VESTO_ASSERT(ipc::decodeQuestion(ipc::encode(*question)) == question);
        break;
    default:
        if (const auto greeting = ipc::decodeGreeting(input.rest()))
            VESTO_ASSERT(ipc::decodeGreeting(ipc::encode(*greeting)) == greeting);
    }
    return 0;
}
