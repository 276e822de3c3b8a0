#include "core/extraction/readers/TimedReading.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace vesto::readers {
namespace {

using Outcome = std::expected<Reading, SummarizerError>;

// Recognition, which looks at its watch itself, comes a little after the last moment.
constexpr std::chrono::milliseconds grace{600};

} // namespace

struct ReadingSoFar::State {
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<Reading> told;
    std::optional<Outcome> end;
    bool isLeft = false; // nobody waits any more: no stage is told behind the answer
};

void ReadingSoFar::tell(Reading reading) {
    const std::scoped_lock lock(m_state->mutex);
    m_state->told = std::move(reading);
}

Outcome readInTime(const ReadRequest& request,
                   std::function<Outcome(const ReadRequest&, ReadingSoFar&)> read) {
    const auto state = std::make_shared<ReadingSoFar::State>();
    if (request.lastMoment == std::chrono::steady_clock::time_point::max()) {
        ReadingSoFar soFar(state);
        return read(request, soFar);
    }
    ReadRequest own = request;
    own.onStage = [state, onStage = request.onStage](ReadingStage stage) {
        const std::scoped_lock lock(state->mutex);
        if (onStage && !state->isLeft)
            onStage(stage);
    };
    try {
        std::thread([state, own = std::move(own), read = std::move(read)] {
            ReadingSoFar soFar(state);
            auto outcome = read(own, soFar);
            const std::scoped_lock lock(state->mutex);
            state->end = std::move(outcome);
            state->changed.notify_all();
        }).detach();
    } catch (const std::system_error&) {
        return std::unexpected(SummarizerError::unreadable(request.path));
    }
    std::unique_lock lock(state->mutex);
    state->changed.wait_until(lock, request.lastMoment + grace, [&] { return state->end.has_value(); });
    state->isLeft = true;
    if (state->end)
        return *std::move(state->end);
    if (state->told)
        return *std::move(state->told);
    return std::unexpected(SummarizerError::unreadable(request.path));
}

} // namespace vesto::readers
