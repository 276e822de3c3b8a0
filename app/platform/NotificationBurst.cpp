#include "app/platform/NotificationBurst.h"

namespace vesto {

bool NotificationBurst::take(std::string_view identifier, const std::string& folder) {
    const auto now = m_clock.sinceBoot();
    while (!m_times.empty() && now - m_times.front() >= window)
        m_times.pop_front();
    const bool isApart = m_times.size() < shownApart;
    m_times.push_back(now);
    if (isApart)
        return true;
    m_times.pop_front();
    m_members.insert_or_assign(std::string(identifier), folder);
    return false;
}

bool NotificationBurst::drop(std::string_view identifier) {
    const auto member = m_members.find(identifier);
    if (member == m_members.end())
        return false;
    m_members.erase(member);
    return true;
}

std::set<std::string> NotificationBurst::folders() const {
    std::set<std::string> folders;
    for (const auto& [identifier, folder] : m_members)
        folders.insert(folder);
    return folders;
}

} // namespace vesto
