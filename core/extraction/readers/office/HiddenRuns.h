#pragma once
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace vesto::readers {

/// Where the text of a Word document is hidden, deleted or too small to be seen, by the formats of its
/// characters. Styles are not looked into.
class HiddenRuns {
public:
    /// `document`: the stream of the text; `pages`: the table of its pages of formats. Both are borrowed for
    /// the call.
    HiddenRuns(std::string_view document, std::string_view pages);

    /// Whether the character at a byte of the document is to be left out.
    [[nodiscard]] bool contains(std::uint32_t offset) const;

private:
    void readPage(std::string_view page);

    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_runs; // first byte, byte behind the last; sorted
};

} // namespace vesto::readers
