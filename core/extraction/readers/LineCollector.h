#pragma once
#include "core/extraction/readers/ReadingLimits.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

/// Gathers the lines of a summary: valid UTF-8, trimmed, none empty, no control characters but tabs, at most
/// `maxCharacters` scalars all together. The line that passes the limit is cut.
class LineCollector {
public:
    void add(std::string_view line);

    [[nodiscard]] bool full() const { return m_room == 0; }
    [[nodiscard]] std::size_t characters() const { return maxCharacters - m_room; } // scalars
    [[nodiscard]] bool empty() const { return m_lines.empty(); }
    [[nodiscard]] const std::vector<std::string>& lines() const { return m_lines; }
    [[nodiscard]] std::vector<std::string> take() { return std::move(m_lines); }

private:
    std::vector<std::string> m_lines;
    std::size_t m_room = maxCharacters;
};

/// The line that begins at byte `offset` of `text`, which moves behind its line break (LF, CR, CR LF, VT, FF,
/// NEL, U+2028, U+2029). `offset` must be below the size.
[[nodiscard]] std::string_view nextLine(std::string_view text, std::size_t& offset);

} // namespace vesto::readers
