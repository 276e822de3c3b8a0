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
    // What a program holds open, or saves while it is read, is read when that is over.
    if (wasAgain && reason != Fruitless::held && reason != Fruitless::changed)
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
        waiting.isDue = waiting.reason == Fruitless::replaced && !comesToNoRest(name);
        waiting.wasClosedBefore = waiting.reason != Fruitless::restless && wasTouchedLately(name) &&
                                  !(waiting.isUnrest() && comesToNoRest(name));
        // One that was gone and came back is found at the next look, which its return made due.
        const bool wasGone = waiting.isDue && !waiting.seen;
        isAnyDue = isAnyDue || (!wasGone && isDue(name, waiting));
        m_waiting.insert_or_assign(std::move(name), waiting);
    }
    return isAnyDue;
}

bool SecondReports::closed(std::string_view name) {
    Waiting* waiting = touched(name);
    if (waiting && waiting->isUnrest() && comesToNoRest(name))
        waiting = nullptr;
    if (waiting)
        waiting->wasClosed = true;
    return waiting != nullptr;
}

bool SecondReports::movedOnto(std::string_view name) {
    Waiting* waiting = touched(name);
    if (waiting && waiting->isUnrest() && comesToNoRest(name))
        waiting = nullptr;
    if (waiting)
        waiting->isDue = true;
    return waiting != nullptr;
}

bool SecondReports::wasTouchedLately(std::string_view name) const {
    return m_closedLately.contains(name) || m_closedEarlier.contains(name);
}

/// Whether a close or a replacement has been no end of its unrest so often that only standing still is one.
bool SecondReports::comesToNoRest(std::string_view name) {
    const std::lock_guard lock(m_mutex);
    const auto tally = m_tallies.find(name);
    return tally != m_tallies.end() && tally->second.amidUnrest >= vainLimit;
}

/// The name's entry, where a close or a move may be its writer's last.
SecondReports::Waiting* SecondReports::touched(std::string_view name) {
    const bool isRepeated = wasTouchedLately(name);
    m_closedLately.emplace(name);
    const auto found = m_waiting.find(name);
    // One of many that come all the time ends no unrest.
    if (found == m_waiting.end() || (isRepeated && found->second.reason == Fruitless::restless))
        return nullptr;
    return &found->second;
}

void SecondReports::rescan() {
    m_closedEarlier = std::exchange(m_closedLately, {});
    for (auto& [name, waiting] : m_waiting) {
        if (waiting.reason == Fruitless::held)
            continue;
        const auto state = look(name);
        const bool isStill = state && state == waiting.lastLook;
        const bool isNews = waiting.reason == Fruitless::restless || waiting.reason == Fruitless::replaced ||
                            (state && waiting.differs(*state));
        if (isStill && isNews)
            waiting.isDue = waiting.stoodStill = true;
        waiting.lastLook = state;
    }
}

bool SecondReports::take(const std::string& name) {
    const auto found = m_waiting.find(name);
    if (found == m_waiting.end() || !isDue(name, found->second))
        return false;
    const bool isPromising = found->second.isPromising();
    m_waiting.erase(found);
    // Before it is reported: the answer may come at once.
    const std::lock_guard lock(m_mutex);
    Tally& tally = m_tallies[name];
    tally.isAgain = isPromising;
    tally.amidUnrest += isPromising ? 0 : 1;
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
        // Closed without having been written to is no reason; after unrest it is.
        const bool isReason = waiting.reason == Fruitless::restless || (state && waiting.differs(*state));
        const bool isNews = state && waiting.seen && *state != *waiting.seen;
        waiting.isDue = (wasClosed && isReason) || (wasClosedBefore && isNews);
    }
    return waiting.isDue;
}

} // namespace vesto
