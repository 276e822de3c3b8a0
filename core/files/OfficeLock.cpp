#include "core/files/OfficeLock.h"

#include "core/files/FileName.h"
#include "core/files/RemoteFolder.h"
#include "core/support/UniqueFd.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vesto {
namespace {

using std::chrono::seconds;

constexpr seconds longestHold = std::chrono::hours(24);

/// As the kernel names a process, in at most 15 bytes.
constexpr std::array<std::string_view, 3> programs{"soffice.bin", "DesktopEditors", "editors"};

bool isOfficeProgram(const char* processID) {
    const std::string path = std::string("/proc/") + processID + "/comm";
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 16> name{};
    const ssize_t size = file ? ::read(file.get(), name.data(), name.size()) : 0;
    std::string_view line(name.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    line = line.substr(0, line.find('\n'));
    return std::ranges::find(programs, line) != programs.end();
}

} // namespace

bool officeProgramRuns() {
    const std::unique_ptr<DIR, int (*)(DIR*)> processes(::opendir("/proc"), &::closedir);
    if (!processes)
        return true;
    while (const dirent* entry =
               ::readdir(processes.get())) { // NOLINT(concurrency-mt-unsafe): our own stream
        const char* name = entry->d_name;
        if (*name >= '1' && *name <= '9' && isOfficeProgram(name))
            return true;
    }
    return false;
}

OfficeLock::OfficeLock(const std::filesystem::path& document, bool (*programRuns)())
    : m_path(siblingOf(document, ".~lock." + std::string(lastComponentOf(document)) + "#"))
    , m_programRuns(programRuns) {}

bool OfficeLock::isHeld(Disk& disk, const Clock& clock) const {
    const auto lock = disk.status(m_path);
    if (!lock)
        return false;
    constexpr std::int64_t farFuture = std::int64_t{1} << 40U;
    const seconds written(std::clamp<std::int64_t>(lock->modified.seconds, 0, farFuture));
    const auto age = std::chrono::floor<seconds>(clock.now()).time_since_epoch() - written;
    if (age > longestHold)
        return false;
    if (isRemoteFolder(folderOf(m_path)))
        return true;
    return age <= std::chrono::ceil<seconds>(clock.sinceBoot()) && m_programRuns();
}

} // namespace vesto
