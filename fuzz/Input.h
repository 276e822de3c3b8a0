#pragma once
#include "core/support/Assert.h"
#include "core/support/Unicode.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::fuzz {

/// The bytes that a fuzzer was given, taken apart: choices first, then texts with 0xFF between them. Seeds
/// can so be written by hand.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    /// A number below `count`, which is at most 256; a digit or a letter of a seed means its position from
    /// "0" on. 0 where nothing is left.
    [[nodiscard]] unsigned choice(unsigned count) {
        if (m_rest.empty())
            return 0;
        const unsigned byte = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return (byte >= '0' ? byte - '0' : byte) % count;
    }

    /// What stands before the next 0xFF, or all that is left. Never valid UTF-8 by chance only: other bad
    /// bytes stay in it.
    [[nodiscard]] std::string_view text() {
        const std::size_t end = m_rest.find('\xFF');
        const std::string_view result = m_rest.substr(0, end);
        m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        return result;
    }

    [[nodiscard]] std::string_view rest() const { return m_rest; }

private:
    std::string_view m_rest;
};

/// What holds for the lines of every reader: tidy, and no more than naming can use.
inline void checkLines(const std::vector<std::string>& lines, std::size_t mostBytes) {
    std::size_t bytes = 0;
    for (const std::string& line : lines) {
        VESTO_ASSERT(!line.empty());
        VESTO_ASSERT(unicode::isValid(line));
        VESTO_ASSERT(unicode::trimmedWhiteSpace(line).size() == line.size());
        bytes += line.size();
    }
    VESTO_ASSERT(bytes <= mostBytes);
}

/// What holds for every name that may reach a folder.
inline void checkFileName(std::string_view name) {
    VESTO_ASSERT(!name.empty() && !name.starts_with('.'));
    VESTO_ASSERT(unicode::isValid(name));
    VESTO_ASSERT(name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos);
}

} // namespace vesto::fuzz
