#pragma once
#include "core/support/Time.h"

#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace vesto {

/// Turns speech into text; the model's host does it.
class SpeechTranscribing {
public:
    virtual ~SpeechTranscribing() = default;

    /// The lines of what is said, or nothing where no speech was understood within `timeout`. `samples`:
    /// 16,000 a second, one channel; `locales` (as "fr_FR") are tried in order. Returns soon after a stop
    /// request.
    [[nodiscard]] virtual std::optional<std::vector<std::string>>
    transcribe(std::span<const std::int16_t> samples, const std::vector<std::string>& locales,
               Seconds timeout, std::stop_token stop) = 0;
};

} // namespace vesto
