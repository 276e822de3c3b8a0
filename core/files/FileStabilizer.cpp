#include "core/files/FileStabilizer.h"

namespace vesto {
namespace {

using std::chrono::nanoseconds;

/// One wait: what it has seen so far.
class Wait {
public:
    enum class Seen { nothing, change, same };

    Wait(const std::filesystem::path& path, Disk& disk)
        : m_path(path)
        , m_disk(disk) {}

    Seen look(nanoseconds now) {
        const auto status = m_disk.status(m_path);
        if (!status)
            return Seen::nothing;
        const FileState state{status->size, status->modified};
        if (state == lastLook)
            return Seen::same;
        lastLook = state;
        stableSince = now;
        return Seen::change;
    }

    std::optional<FileState> lastLook;
    nanoseconds stableSince{};

private:
    const std::filesystem::path& m_path;
    Disk& m_disk;
};

/// Of the wait for a file that is quiet now.
FileStabilizer::End endOf(const FileState& state, bool isHeld) {
    using enum FileStabilizer::End;
    if (state.size == 0)
        return empty;
    return isHeld ? held : stable;
}

} // namespace

FileStabilizer::Settling FileStabilizer::settle(const std::filesystem::path& path,
                                                const std::stop_token& stop, std::optional<Look> earlier,
                                                Disk& disk, const Clock& clock) const {
    nanoseconds now = clock.sinceBoot();
    const nanoseconds deadline = now + timeout;
    Wait wait(path, disk);
    wait.stableSince = now;
    if (earlier) {
        wait.lastLook = earlier->state;
        wait.stableSince = earlier->sinceBoot;
    }
    auto seen = wait.look(now);
    if (seen == Wait::Seen::nothing)
        wait.lastLook.reset(); // whatever the next look sees is a change
    while (true) {
        if (stop.stop_requested())
            return {End::cancelled, wait.lastLook};
        if (seen == Wait::Seen::same && now - wait.stableSince >= quietPeriod)
            return {endOf(*wait.lastLook, OfficeLock(path, officeProgramRuns).isHeld(disk, clock)),
                    wait.lastLook};
        if (now >= deadline)
            return {End::restless, wait.lastLook};
        if (!clock.sleepUntil(now + pollInterval, stop))
            return {End::cancelled, wait.lastLook};
        now = clock.sinceBoot();
        seen = wait.look(now);
        if (seen == Wait::Seen::nothing)
            return {End::gone, wait.lastLook};
    }
}

bool FileStabilizer::waitUntilStable(const std::filesystem::path& path, const std::stop_token& stop,
                                     Disk& disk, const Clock& clock) const {
    return settle(path, stop, std::nullopt, disk, clock).end == End::stable;
}

} // namespace vesto
