#pragma once
#include "core/support/Unicode.h"

#include <cstddef>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace vesto {

/// Texts drawn by chance. The same seed gives the same texts on every machine.
class RandomText {
public:
    explicit RandomText(unsigned seed)
        : m_engine(seed) {}

    std::size_t below(std::size_t bound) { return m_engine() % bound; }

    /// Up to `most` scalars of `alphabet`.
    std::string of(std::u32string_view alphabet, std::size_t most) {
        std::string text;
        for (std::size_t left = below(most + 1); left > 0; --left)
            unicode::append(text, alphabet[below(alphabet.size())]);
        return text;
    }

    /// Up to `most` of `pieces` in a row.
    std::string of(std::span<const std::string_view> pieces, std::size_t most) {
        std::string text;
        for (std::size_t left = below(most + 1); left > 0; --left)
            text += pieces[below(pieces.size())];
        return text;
    }

    /// Up to `most` bytes, valid or not.
    std::string bytes(std::size_t most) {
        std::string text;
        for (std::size_t left = below(most + 1); left > 0; --left)
            text += static_cast<char>(below(256));
        return text;
    }

private:
    std::mt19937 m_engine;
};

inline std::string repeated(std::string_view piece, std::size_t times) {
    std::string text;
    for (; times > 0; --times)
        text += piece;
    return text;
}

/// Enough of `piece` that quadratic work on it does not end within a test's time limit.
inline std::string hostile(std::string_view piece) {
    return repeated(piece, 200'000 / piece.size());
}

using namespace std::string_view_literals; // keeps the NUL

/// Letters, marks, blanks, breaks, joiners, controls, symbols and all that names must not hold.
inline constexpr std::u32string_view hostileAlphabet{
    U"aAéqQudh' ’\u0301\u0316\u0338 "
    U"\t\u00A0\u202F\u3000\n\r\u0085\u2028\u200B\u200C\u200D\u202E\uFEFF\u0001\u0000"
    U"./:\\?*\"<>|«»`-_–—·•…,;!()[]{}0123T٣hß\uFB01İſ\u212A😀\U0001F3FD\U0001F1EB\u0600\u1100\u1161"sv};

} // namespace vesto
