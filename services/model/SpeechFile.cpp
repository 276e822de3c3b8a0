#include "services/model/SpeechFile.h"

#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <stdexcept>

namespace vesto::model {
namespace {

constexpr std::uint32_t magic = 0x67676D6C;
constexpr std::size_t behindTheEnd = 12;      // bytes that the engine asks for in vain, to notice the end
constexpr std::uint32_t tones = 201;          // of the spectrum that the engine makes
constexpr std::uint32_t leastTokens = 51'864; // the engine knows the special ones by their number

/// How many bytes there were, from `offset`.
std::size_t readAt(int file, std::span<char> target, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < target.size()) {
        const ssize_t size =
            ::pread(file, target.data() + done, target.size() - done, static_cast<off_t>(offset + done));
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            break;
        done += static_cast<std::size_t>(size);
    }
    return done;
}

/// Little-endian numbers of four bytes, as the engine reads them on the machines it is built for.
template <std::size_t count>
bool numbersAt(int file, std::uint64_t offset, std::array<std::uint32_t, count>& numbers) {
    std::array<char, count * sizeof(std::uint32_t)> bytes{};
    if (readAt(file, bytes, offset) != bytes.size())
        return false;
    std::memcpy(numbers.data(), bytes.data(), bytes.size());
    return true;
}

} // namespace

bool SpeechFile::isPlausible() const {
    std::array<std::uint32_t, 14> head{};
    if (!numbersAt(m_file, 0, head))
        return false;
    const auto [begin, tokens, soundContext, soundWidth, soundHeads, soundLayers, textContext, textWidth,
                textHeads, textLayers, bands, kind, filters, filterWidth] = head;
    const auto isBetween = [](std::uint32_t value, std::uint32_t least, std::uint32_t most) {
        return value >= least && value <= most;
    };
    const bool isModel =
        begin == magic && isBetween(tokens, leastTokens, 60'000) && isBetween(soundContext, 16, 1500) &&
        isBetween(soundWidth, 1, 4096) && isBetween(soundLayers, 1, 100) &&
        isBetween(textContext, 16, 2048) && textWidth == soundWidth && isBetween(textLayers, 1, 100) &&
        isBetween(soundHeads, 1, soundWidth) && soundWidth % soundHeads == 0 &&
        isBetween(textHeads, 1, textWidth) && textWidth % textHeads == 0 && isBetween(bands, 1, 256) &&
        isBetween(kind, 0, 100'000) && filters == bands && filterWidth == tones;
    std::array<std::uint32_t, 1> words{};
    return isModel && numbersAt(m_file, sizeof head + std::uint64_t{bands} * tones * sizeof(float), words) &&
           words[0] <= tokens;
}

std::size_t SpeechFile::read(void* target, std::size_t size) {
    const std::span bytes(static_cast<char*>(target), size);
    const std::size_t done = readAt(m_file, bytes, m_offset);
    m_offset += done;
    m_missing += size - done;
    if (m_missing > (done > 0 ? 0 : behindTheEnd))
        throw std::runtime_error("cut off");
    std::memset(bytes.data() + done, 0, size - done);
    return size;
}

} // namespace vesto::model
