#include "core/watch/FolderEvents.h"

#include <sys/inotify.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

namespace vesto {
namespace {

// Nothing that reading makes: what Vesto does itself in the folder, but for renames and markers, goes
// unheard.
constexpr std::uint32_t mask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB |
                               IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

FolderEvents::Kind kindOf(std::uint32_t event) {
    using enum FolderEvents::Kind;
    if ((event & IN_Q_OVERFLOW) != 0)
        return lost;
    if ((event & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) != 0)
        return ended;
    if ((event & IN_MOVED_TO) != 0)
        return movedOnto;
    if ((event & IN_CLOSE_WRITE) != 0)
        return closed;
    if ((event & IN_ATTRIB) != 0)
        return attributes;
    return entries;
}

} // namespace

std::expected<FolderEvents, int> FolderEvents::of(const std::filesystem::path& folder) {
    FolderEvents events{UniqueFd(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))};
    if (!events.m_fd || ::inotify_add_watch(events.m_fd.get(), folder.c_str(), mask) < 0)
        return std::unexpected(errno);
    return events;
}

void FolderEvents::take(const std::function<void(Kind, std::string_view name)>& handler) const {
    constexpr int readsAtOnce = 16;
    alignas(inotify_event) std::array<char, 16'384> buffer;
    for (int reads = 0; reads < readsAtOnce; ++reads) {
        const ssize_t got = ::read(m_fd.get(), buffer.data(), buffer.size());
        if (got <= 0)
            return;
        const auto size = static_cast<std::size_t>(got);
        inotify_event event{};
        for (std::size_t at = 0; at + sizeof event <= size; at += sizeof event + event.len) {
            std::memcpy(&event, &buffer[at], sizeof event);
            const char* name = &buffer[at] + sizeof event;
            handler(kindOf(event.mask), std::string_view(name, ::strnlen(name, event.len)));
        }
    }
}

} // namespace vesto
