#pragma once
#include "core/extraction/ContentReading.h"

#include <expected>
#include <functional>
#include <memory>

namespace vesto::readers {

/// What a reading has so far, for the case that the rest takes too long. Thread-safe.
class ReadingSoFar {
public:
    /// Takes the place of what was told before.
    void tell(Reading reading);

private:
    friend std::expected<Reading, SummarizerError> readInTime(
        const ReadRequest& request,
        std::function<std::expected<Reading, SummarizerError>(const ReadRequest&, ReadingSoFar&)> read);

    struct State;
    explicit ReadingSoFar(std::shared_ptr<State> state)
        : m_state(std::move(state)) {}
    std::shared_ptr<State> m_state;
};

/// Calls `read`, which uses a library that nothing can interrupt, and gives what it told last where it has
/// not ended when the request's last moment has passed; `unreadable` where it told nothing. It runs on in a
/// thread of its own then: for a process that ends with its answer. A request without a last moment is read
/// by the calling thread.
[[nodiscard]] std::expected<Reading, SummarizerError>
readInTime(const ReadRequest& request,
           std::function<std::expected<Reading, SummarizerError>(const ReadRequest&, ReadingSoFar&)> read);

} // namespace vesto::readers
