#include "core/support/Uuid.h"

#include "core/support/Assert.h"

#include <sys/random.h>
#include <sys/types.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace vesto {
namespace {

constexpr std::size_t textSize = 36;

bool isHyphenPlace(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

} // namespace

std::string randomUuid() {
    std::array<std::uint8_t, 16> bytes{};
    ssize_t got = 0;
    do { // up to 256 bytes come whole or, interrupted while the machine boots, not at all
        got = ::getrandom(bytes.data(), bytes.size(), 0);
    } while (got < 0 && errno == EINTR);
    VESTO_ASSERT(got == static_cast<ssize_t>(bytes.size()));
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80); // variant of RFC 9562
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(textSize);
    for (const std::uint8_t byte : bytes) {
        if (isHyphenPlace(text.size()))
            text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

std::optional<std::string> parsedUuid(std::string_view text) {
    if (text.size() != textSize)
        return std::nullopt;
    std::string result(text);
    for (std::size_t i = 0; i < result.size(); ++i) {
        char& c = result[i];
        if (c >= 'A' && c <= 'F')
            c = static_cast<char>(c - 'A' + 'a');
        const bool isHex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
        if (isHyphenPlace(i) ? c != '-' : !isHex)
            return std::nullopt;
    }
    return result;
}

} // namespace vesto
