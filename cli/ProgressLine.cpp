#include "cli/ProgressLine.h"

#include "cli/Messages.h"
#include "core/support/Clock.h"
#include "core/support/Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <ostream>

namespace vesto::cli {
namespace {

constexpr std::size_t barWidth = 24;
constexpr std::chrono::seconds firstEstimate(2); // earlier ones would only jump

std::string timeWords(std::chrono::seconds time) {
    if (time < std::chrono::minutes(1))
        return fmt::format("{}\u00A0s", time.count());
    return fmt::format("{}\u00A0min", (time + std::chrono::seconds(30)).count() / 60);
}

} // namespace

std::string progressWords(std::size_t done, std::size_t total, std::optional<std::chrono::seconds> left) {
    const std::size_t filled = total == 0 ? 0 : std::min(done, total) * barWidth / total;
    std::string words = "[" + std::string(filled, '#') + std::string(barWidth - filled, '.') + "] " +
                        fmt::format("{}/{}", done, total);
    if (left)
        words += fmt::format(", {} {}", text("encore environ"), timeWords(*left));
    return words;
}

void ProgressLine::show(const Json& progress) {
    if (!m_isTerminal)
        return;
    const std::string stage = stringMember(progress, "stage").value_or("");
    const auto done = static_cast<std::size_t>(unsignedMember(progress, "done").value_or(0));
    const auto total = static_cast<std::size_t>(unsignedMember(progress, "total").value_or(0));
    const auto now = systemClock().sinceBoot();
    if (stage != m_stage) {
        m_stage = stage;
        m_start = now;
    }
    std::optional<std::chrono::seconds> left;
    const Seconds spent = now - m_start;
    if (done > 0 && done < total && spent > firstEstimate)
        left = std::chrono::ceil<std::chrono::seconds>(
            spent * (static_cast<double>(total - done) / static_cast<double>(done)));
    m_err << "\r\x1b[K" << (stage == "renaming" ? text("Renommage ") : text("Analyse "))
          << progressWords(done, total, left) << std::flush;
    m_isShown = true;
}

void ProgressLine::clear() {
    if (m_isShown)
        m_err << "\r\x1b[K" << std::flush;
    m_isShown = false;
}

bool errorIsTerminal() {
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace vesto::cli
