#include "services/ipc/ModelMessages.h"

#include "fuzz/Input.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace vesto;

namespace {

void checkReport(const ipc::ModelReport& report) {
    const auto valid = [](const std::string& text) { return unicode::isValid(text); };
    if (const auto* loaded = std::get_if<ipc::ModelLoaded>(&report))
        VESTO_ASSERT(valid(loaded->name) && valid(loaded->architecture) &&
                     std::ranges::all_of(loaded->languages, valid));
    if (const auto* warmed = std::get_if<ipc::ModelWarmed>(&report))
        VESTO_ASSERT(warmed->stateBytes <= ipc::limits::prefixBytes);
    if (const auto* answered = std::get_if<ipc::ModelAnswered>(&report))
        VESTO_ASSERT(valid(answered->title) && answered->title.size() <= ipc::limits::titleBytes &&
                     answered->total.count() >= 0);
    if (const auto* transcribed = std::get_if<ipc::SoundTranscribed>(&report)) {
        std::size_t bytes = 0;
        for (const std::string& line : transcribed->lines) {
            VESTO_ASSERT(valid(line));
            bytes += line.size();
        }
        VESTO_ASSERT(valid(transcribed->language) && bytes <= ipc::limits::spokenBytes &&
                     transcribed->lines.size() <= ipc::limits::spokenLines);
    }
    // What was accepted fits a packet and is accepted again, as the same.
    const std::string bytes = ipc::encode(report);
    VESTO_ASSERT(bytes.size() <= ipc::limits::reportBytes);
    VESTO_ASSERT(ipc::decodeModelReport(bytes) == report);
}

} // namespace

/// A choice (report, order, greeting), and the message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    switch (input.choice(3)) {
    case 0:
        if (const auto report = ipc::decodeModelReport(input.rest()))
            checkReport(*report);
        break;
    case 1:
        if (const auto order = ipc::decodeModelOrder(input.rest())) {
            if (const auto* sound = std::get_if<ipc::TranscribeSound>(&*order))
                VESTO_ASSERT(sound->samples <= ipc::limits::heardSamples);
            VESTO_ASSERT(ipc::decodeModelOrder(ipc::encode(*order)) == order);
        }
        break;
    default:
        if (const auto greeting = ipc::decodeModelGreeting(input.rest()))
            VESTO_ASSERT(ipc::decodeModelGreeting(ipc::encode(*greeting)) == greeting);
    }
    return 0;
}
