#pragma once
#include "core/support/UniqueFd.h"

#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace vesto {

/// Whether there is nothing to hear in the part of it that is heard. Models of speech make words even of
/// nothing.
[[nodiscard]] bool isSilent(std::span<const std::int16_t> samples);

/// A recording as it goes from one process to the next: in memory that nobody can change any more. 16,000
/// samples a second, one channel, at most as many as are heard.
class SealedSound {
public:
    /// Of what is longer, the beginning. Nothing where the system refuses, or there is no sample.
    [[nodiscard]] static std::optional<SealedSound> of(std::span<const std::int16_t> samples);

    /// Of another process: nothing where it could still change, or is not of this length.
    [[nodiscard]] static std::optional<SealedSound> from(UniqueFd memory, std::uint64_t samples);

    [[nodiscard]] int descriptor() const { return m_memory.get(); }
    [[nodiscard]] std::uint32_t samples() const { return m_samples; }

private:
    SealedSound(UniqueFd memory, std::uint32_t samples)
        : m_memory(std::move(memory))
        , m_samples(samples) {}

    UniqueFd m_memory;
    std::uint32_t m_samples = 0;
};

} // namespace vesto
