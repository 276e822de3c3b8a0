#pragma once
#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <sys/file.h>

#include <fstream>
#include <string>

namespace vesto {

/// The longest queue that the system keeps for those who listen from now on, put back at the end. There is
/// one at a time on a machine: another would put this one back.
class ShortQueue {
public:
    ShortQueue()
        : m_lock(::open(place, O_RDONLY | O_CLOEXEC)) {
        ::flock(m_lock.get(), LOCK_EX);
        std::ifstream(place) >> m_before;
        isShort = !m_before.empty() && set("16");
    }
    ShortQueue(const ShortQueue&) = delete;
    ~ShortQueue() { set(m_before); }
    bool isShort = false;

private:
    static constexpr const char* place = "/proc/sys/fs/inotify/max_queued_events";
    static bool set(const std::string& value) {
        return static_cast<bool>(std::ofstream(place) << value << std::flush);
    }
    UniqueFd m_lock;
    std::string m_before;
};

} // namespace vesto
