#pragma once
#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace vesto::readers {

/// The columns of a sheet that are not shown. Counted from 1; told from left to right, what is not is
/// ignored.
class HiddenColumns {
public:
    void add(std::int64_t first, std::int64_t last) {
        if (first <= last && (m_spans.empty() || m_spans.back().second < first))
            m_spans.emplace_back(first, last);
    }

    [[nodiscard]] bool contains(std::int64_t column) const {
        const auto span = std::lower_bound(m_spans.begin(), m_spans.end(), column,
                                           [](const std::pair<std::int64_t, std::int64_t>& left,
                                              std::int64_t right) { return left.second < right; });
        return span != m_spans.end() && span->first <= column;
    }

    void clear() { m_spans.clear(); }

private:
    std::vector<std::pair<std::int64_t, std::int64_t>> m_spans; // first and last
};

/// Rows that are read of a sheet: enough to tell what it is about.
inline constexpr std::int64_t maxSheetRows = 40;

} // namespace vesto::readers
