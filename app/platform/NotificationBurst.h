#pragma once
#include "core/support/Clock.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace vesto {

/// Tells when notifications of one kind come too fast for each to be shown: from the sixth within ten seconds
/// on, one summary stands for the rest. Main thread.
class NotificationBurst {
public:
    static constexpr std::size_t shownApart = 5;
    static constexpr std::chrono::seconds window{10};

    explicit NotificationBurst(const Clock& clock = systemClock())
        : m_clock(clock) {}

    /// Another one has come; true where it is to be shown on its own, else the summary stands for it.
    [[nodiscard]] bool take(std::string_view identifier, const std::string& folder);

    /// No longer stood for; false where it was not.
    bool drop(std::string_view identifier);

    /// The summary is gone.
    void forget() { m_members.clear(); }

    [[nodiscard]] std::size_t count() const { return m_members.size(); }
    /// Of those that the summary stands for.
    [[nodiscard]] std::set<std::string> folders() const;

private:
    const Clock& m_clock;
    std::deque<std::chrono::nanoseconds> m_times; // of the last ones, oldest first; no more than `shownApart`
    std::map<std::string, std::string, std::less<>> m_members; // identifier to folder
};

} // namespace vesto
