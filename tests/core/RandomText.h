#pragma once
#include <cstddef>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace vesto {

/// Texts that are put together by chance, the same in every run.
class RandomText {
public:
    explicit RandomText(std::uint32_t seed)
        : m_engine(seed) {}

    /// 0 to `bound` − 1.
    std::size_t below(std::size_t bound) { return m_engine() % bound; }

    /// Up to `most` pieces in a row.
    std::string of(std::span<const std::string_view> pieces, std::size_t most) {
        std::string text;
        for (std::size_t count = below(most + 1); count > 0; --count)
            text += pieces[below(pieces.size())];
        return text;
    }

    /// Up to `most` bytes, mostly no UTF-8.
    std::string bytes(std::size_t most) {
        std::string text(below(most + 1), '\0');
        for (char& byte : text)
            byte = static_cast<char>(m_engine() & 0xFF);
        return text;
    }

private:
    std::mt19937 m_engine;
};

} // namespace vesto
