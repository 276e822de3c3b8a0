#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Numbers and texts of binary formats, the lowest byte first. Whatever lies beyond the end reads as 0 or as
/// nothing, so that a lying offset needs no check of its own.
namespace vesto::readers::littleEndian {

[[nodiscard]] constexpr std::uint8_t number8(std::string_view bytes, std::uint64_t at) {
    return at < bytes.size() ? static_cast<std::uint8_t>(bytes[at]) : std::uint8_t{0};
}
[[nodiscard]] constexpr std::uint16_t number16(std::string_view bytes, std::uint64_t at) {
    return static_cast<std::uint16_t>(number8(bytes, at) | number8(bytes, at + 1) << 8);
}
[[nodiscard]] constexpr std::uint32_t number32(std::string_view bytes, std::uint64_t at) {
    return number16(bytes, at) | std::uint32_t{number16(bytes, at + 2)} << 16U;
}
[[nodiscard]] constexpr std::uint64_t number64(std::string_view bytes, std::uint64_t at) {
    return number32(bytes, at) | std::uint64_t{number32(bytes, at + 4)} << 32U;
}

/// As much of `size` bytes from `at` on as there is.
[[nodiscard]] constexpr std::string_view part(std::string_view bytes, std::uint64_t at, std::uint64_t size) {
    return at < bytes.size() ? bytes.substr(at, size) : std::string_view();
}

} // namespace vesto::readers::littleEndian
