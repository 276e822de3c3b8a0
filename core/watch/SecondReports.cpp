#include "core/watch/SecondReports.h"

#include "core/files/Disk.h"
#include "core/support/Clock.h"

#include <algorithm>
#include <utility>

namespace vesto {

using Fruitless = FolderWatcher::Fruitless;

bool SecondReports::fruitless(std::string_view name, Fruitless reason, std::optional<FileState> seen) {
    const std::lock_guard lock(m_mutex);
    Tally& tally = m_tallies.try_emplace(std::string(name)).first->second;
    const bool wasAgain = std::exchange(tally.isAgain, false);
    if (wasAgain && reason != Fruitless::held)
        ++tally.inVain;
    if (tally.inVain >= vainLimit)
        return false;
    m_told.push_back({std::string(name), {.reason = reason, .seen = seen}});
    return true;
}

bool SecondReports::takeNews() {
    std::vector<Told> told;
    {
        const std::lock_guard lock(m_mutex);
        told.swap(m_told);
    }
    bool isAnyDue = false;
    for (auto& [name, waiting] : told) {
        waiting.isDue = waiting.reason == Fruitless::replaced;
        waiting.wasClosedBefore = m_closedLately.contains(name) || m_closedEarlier.contains(name);
        isAnyDue = isAnyDue || isDue(name, waiting);
        m_waiting.insert_or_assign(std::move(name), waiting);
    }
    return isAnyDue;
}

bool SecondReports::closed(std::string_view name) {
    m_closedLately.emplace(name);
    const auto found = m_waiting.find(name);
    if (found == m_waiting.end())
        return false;
    found->second.wasClosed = true;
    return true;
}

bool SecondReports::movedOnto(std::string_view name) {
    m_closedLately.emplace(name);
    const auto found = m_waiting.find(name);
    if (found == m_waiting.end())
        return false;
    found->second.isDue = true;
    return true;
}

void SecondReports::rescan() {
    m_closedEarlier = std::exchange(m_closedLately, {});
    for (auto& [name, waiting] : m_waiting) {
        if (waiting.reason == Fruitless::held)
            continue;
        const auto state = look(name);
        const bool isStill = state && state == waiting.lastLook;
        if (isStill && (waiting.reason == Fruitless::restless || waiting.differs(*state)))
            waiting.isDue = true;
        waiting.lastLook = state;
    }
}

bool SecondReports::take(const std::string& name) {
    const auto found = m_waiting.find(name);
    if (found == m_waiting.end() || !isDue(name, found->second))
        return false;
    m_waiting.erase(found);
    // Before it is reported: the answer may come at once.
    const std::lock_guard lock(m_mutex);
    m_tallies[name].isAgain = true;
    return true;
}

void SecondReports::keepOnly(const std::vector<std::string>& names) {
    const auto isGone = [&names](const auto& entry) {
        return !std::ranges::binary_search(names, entry.first);
    };
    std::erase_if(m_waiting, isGone);
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_tallies, isGone);
}

std::optional<FileState> SecondReports::look(const std::string& name) const {
    const auto status = systemDisk().status(m_folder / name);
    if (!status)
        return std::nullopt;
    return FileState{status->size, status->modified};
}

bool SecondReports::isDue(const std::string& name, Waiting& waiting) const {
    if (waiting.reason == Fruitless::held)
        return !OfficeLock(m_folder / name, m_officeProgramRuns).isHeld(systemDisk(), systemClock());
    const bool wasClosed = std::exchange(waiting.wasClosed, false);
    const bool wasClosedBefore = std::exchange(waiting.wasClosedBefore, false);
    if (!waiting.isDue && (wasClosed || wasClosedBefore)) {
        const auto state = look(name);
        // Closed without having been written to is no reason; after unrest any close is.
        const bool isReason = waiting.reason == Fruitless::restless || (state && waiting.differs(*state));
        const bool isNews = state && waiting.seen && *state != *waiting.seen;
        waiting.isDue = (wasClosed && isReason) || (wasClosedBefore && isNews);
    }
    return waiting.isDue;
}

} // namespace vesto
