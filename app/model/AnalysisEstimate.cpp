#include "app/model/AnalysisEstimate.h"

#include "core/support/Text.h"

#include <fmt/format.h>

namespace vesto {
namespace {

using std::chrono::seconds;

constexpr std::size_t leastAnalyses = 5;
constexpr seconds leastTime{10};
constexpr std::size_t recent = 20; // analyses that count
constexpr seconds betweenRises{10};

} // namespace

void AnalysisEstimate::update(std::size_t analysed, std::size_t total, Time now) {
    if (analysed >= total) {
        *this = {};
        return;
    }
    if (!m_start || analysed < m_analysed) {
        *this = {};
        m_start = now;
        m_analysed = analysed;
        m_moments.push_back(now);
        return;
    }
    // Files that were dealt with together took their time together.
    for (; m_analysed < analysed; ++m_analysed) {
        ++m_counted;
        m_moments.push_back(now);
        if (m_moments.size() > recent + 1)
            m_moments.pop_front();
    }
    if (m_counted < leastAnalyses || now - *m_start < leastTime)
        return;
    const double mean = std::chrono::duration<double>(m_moments.back() - m_moments.front()).count() /
                        static_cast<double>(m_moments.size() - 1);
    const seconds left(static_cast<std::int64_t>(mean * static_cast<double>(total - analysed)));
    const bool isRise = !m_shown || left > *m_shown;
    if (isRise && m_shown && now - m_lastRise < betweenRises)
        return;
    m_shown = left;
    if (isRise)
        m_lastRise = now;
}

std::string timeLeftWords(seconds left) {
    constexpr std::int64_t hour = 60;
    std::int64_t minutes = (left.count() + 30) / 60;
    if (minutes < 1)
        return std::string(text("moins d'une minute"));
    std::string words(text("encore %1 environ"));
    std::string time;
    if (minutes < hour) {
        time = fmt::format("{}\u00A0min", minutes);
    } else {
        minutes = (minutes + 5) / 10 * 10;
        time = minutes % hour == 0 ? fmt::format("{}\u00A0h", minutes / hour)
                                   : fmt::format("{}\u00A0h\u00A0{}", minutes / hour, minutes % hour);
    }
    return words.replace(words.find("%1"), 2, time);
}

} // namespace vesto
