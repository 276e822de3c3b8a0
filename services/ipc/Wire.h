#pragma once
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Numbers and texts as bytes: little-endian, fixed sizes, a text behind its length in 4 bytes.
namespace vesto::ipc {

class WireWriter {
public:
    template <std::unsigned_integral T> void number(T value) {
        for (std::size_t i = 0; i < sizeof(T); ++i)
            m_bytes.push_back(static_cast<char>(static_cast<unsigned char>(value >> (8 * i))));
    }
    void integer(std::int64_t value) { number(static_cast<std::uint64_t>(value)); }
    void real(double value) { number(std::bit_cast<std::uint64_t>(value)); }
    void boolean(bool value) { number(static_cast<std::uint8_t>(value)); }
    void raw(std::string_view bytes) { m_bytes += bytes; }
    /// At most 4 GiB − 1.
    void text(std::string_view bytes) {
        number(static_cast<std::uint32_t>(bytes.size()));
        raw(bytes);
    }

    [[nodiscard]] const std::string& bytes() const { return m_bytes; }
    [[nodiscard]] std::string take() { return std::move(m_bytes); }

private:
    std::string m_bytes;
};

/// Takes the bytes of somebody who may lie. The first thing that is wrong makes the whole message wrong: from
/// then on every call gives a zero or an empty text, and `isComplete` is false.
class WireReader {
public:
    explicit WireReader(std::string_view bytes)
        : m_rest(bytes) {}

    template <std::unsigned_integral T> [[nodiscard]] T number() {
        T value = 0;
        const std::string_view bytes = raw(sizeof(T));
        for (std::size_t i = 0; i < bytes.size(); ++i)
            value =
                static_cast<T>(value | static_cast<T>(T{static_cast<unsigned char>(bytes[i])} << (8 * i)));
        return value;
    }
    [[nodiscard]] std::int64_t integer(std::int64_t least, std::int64_t most);
    [[nodiscard]] double real(double least, double most); // refuses what is not finite
    [[nodiscard]] bool boolean();                         // 0 or 1
    /// The enumerator whose number is the next byte, below `count`.
    template <typename Enum> [[nodiscard]] Enum enumerator(std::uint8_t count) {
        const auto value = number<std::uint8_t>();
        if (value >= count)
            m_valid = false;
        return m_valid && value < count ? static_cast<Enum>(value) : Enum{};
    }
    /// A number of things of which each takes at least `leastBytes`, so that a lie cannot make anybody
    /// reserve memory for them.
    [[nodiscard]] std::size_t count(std::size_t most, std::size_t leastBytes);
    /// Any bytes, at most `mostBytes`.
    [[nodiscard]] std::string_view text(std::size_t mostBytes);
    /// Valid UTF-8, at most `mostBytes`.
    [[nodiscard]] std::string utf8(std::size_t mostBytes);
    [[nodiscard]] std::string_view raw(std::size_t size);

    void require(bool condition) { m_valid = m_valid && condition; }
    [[nodiscard]] bool isValid() const { return m_valid; }
    [[nodiscard]] std::size_t left() const { return m_rest.size(); }
    /// Everything was right and nothing is left.
    [[nodiscard]] bool isComplete() const { return m_valid && m_rest.empty(); }

private:
    std::string_view m_rest;
    bool m_valid = true;
};

} // namespace vesto::ipc
