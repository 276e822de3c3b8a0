#include "services/client/SharedTranscriber.h"

#include "core/support/Clock.h"
#include "services/client/ControlClient.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>

namespace vesto {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds greetingTakes{2000}; // of an engine that is alive
constexpr milliseconds answerTakes{2000};   // beyond the time that it has for the recording

} // namespace

std::optional<std::vector<std::string>> SharedTranscriber::transcribe(std::span<const std::int16_t> samples,
                                                                      const std::vector<std::string>& locales,
                                                                      Seconds timeout, std::stop_token stop) {
    const auto start = systemClock().sinceBoot();
    if (const auto speech = m_own.ifTurnedTo())
        return speech->transcribe(samples, locales, timeout, std::move(stop));
    const bool isToBeHeard = !isSilent(samples);
    const auto sound = isToBeHeard ? SealedSound::of(samples) : std::nullopt;
    auto heard = sound ? ask(*sound, locales, timeout, stop) : std::nullopt;
    if (stop.stop_requested())
        return std::nullopt;
    if (sound && !heard) {
        const Seconds left = timeout - (systemClock().sinceBoot() - start);
        return m_own.turnTo()->transcribe(samples, locales, std::max(left, Seconds(0)), std::move(stop));
    }
    const std::scoped_lock lock(m_mutex);
    if (heard)
        m_facts = heard->facts;
    else
        m_facts.end = isToBeHeard ? RemoteTranscriber::End::failed : RemoteTranscriber::End::silence;
    if (!heard || heard->lines.empty())
        return std::nullopt;
    return std::move(heard->lines);
}

RemoteTranscriber::Facts SharedTranscriber::facts() {
    if (const auto speech = m_own.ifTurnedTo())
        return speech->facts();
    const std::scoped_lock lock(m_mutex);
    return m_facts;
}

std::optional<lent::Heard> SharedTranscriber::ask(const SealedSound& sound,
                                                  const std::vector<std::string>& locales, Seconds timeout,
                                                  const std::stop_token& stop) {
    auto engine = ControlClient::connect(m_dataFolder, greetingTakes);
    if (!engine)
        return std::nullopt;
    // Which ends the request there, and the wait here.
    const std::stop_callback hangUp(stop, [&engine] { engine->hangUp(); });
    const auto patience = std::chrono::ceil<milliseconds>(timeout) + answerTakes;
    const auto line = engine->askLine(
        lent::speechOrder(
            {.file = m_file, .samples = sound.samples(), .locales = locales, .timeout = timeout}),
        patience, sound.descriptor());
    return line ? lent::heardIn(*line) : std::nullopt;
}

} // namespace vesto
