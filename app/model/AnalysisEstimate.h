#pragma once
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace vesto {

/// How long an analysis will still take, from how long the last files took. It is told what happens and has
/// no clock of its own; the times are of one steady clock.
class AnalysisEstimate {
public:
    using Time = std::chrono::nanoseconds;

    /// To be called whenever a number changes; once all are analysed it begins anew.
    void update(std::size_t analysed, std::size_t total, Time now);

    /// Nothing before five files and ten seconds. It may fall at any moment, and rises every ten seconds at
    /// most, so that it can be read.
    [[nodiscard]] std::optional<std::chrono::seconds> left() const { return m_shown; }

private:
    std::optional<Time> m_start;
    std::size_t m_analysed = 0;
    std::size_t m_counted = 0;  // since the start
    std::deque<Time> m_moments; // of the last analyses, at first the start
    std::optional<std::chrono::seconds> m_shown;
    Time m_lastRise{0};
};

/// "moins d'une minute", "encore 2 min environ", "encore 1 h 10 environ".
[[nodiscard]] std::string timeLeftWords(std::chrono::seconds left);

} // namespace vesto
