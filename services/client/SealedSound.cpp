#include "services/client/SealedSound.h"

#include "services/ipc/ModelMessages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace vesto {
namespace {

constexpr int loudestSilence = 32; // of 32,768; a thousandth
constexpr int closed = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

std::span<const std::int16_t> heardPart(std::span<const std::int16_t> samples) {
    return samples.first(std::min<std::size_t>(samples.size(), ipc::limits::heardSamples));
}

} // namespace

bool isSilent(std::span<const std::int16_t> samples) {
    return std::ranges::all_of(heardPart(samples),
                               [](int sample) { return std::abs(sample) <= loudestSilence; });
}

std::optional<SealedSound> SealedSound::of(std::span<const std::int16_t> samples) {
    samples = heardPart(samples);
    UniqueFd memory(::memfd_create("vesto-sound", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const auto bytes = std::as_bytes(samples);
    for (std::size_t done = 0; memory && done < bytes.size();) {
        const ssize_t size = ::write(memory.get(), bytes.data() + done, bytes.size() - done);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return std::nullopt;
        done += static_cast<std::size_t>(size);
    }
    if (!memory || samples.empty() || ::fcntl(memory.get(), F_ADD_SEALS, closed | F_SEAL_SEAL) != 0)
        return std::nullopt;
    return SealedSound(std::move(memory), static_cast<std::uint32_t>(samples.size()));
}

std::optional<SealedSound> SealedSound::from(UniqueFd memory, std::uint64_t samples) {
    struct stat status{};
    const int seals = memory ? ::fcntl(memory.get(), F_GET_SEALS) : -1;
    if (seals < 0 || (seals & closed) != closed || samples == 0 || samples > ipc::limits::heardSamples ||
        ::fstat(memory.get(), &status) != 0 ||
        static_cast<std::uint64_t>(status.st_size) != samples * sizeof(std::int16_t))
        return std::nullopt;
    return SealedSound(std::move(memory), static_cast<std::uint32_t>(samples));
}

} // namespace vesto
