#pragma once
#include "core/files/Disk.h"
#include "core/support/Clock.h"

#include <filesystem>

namespace vesto {

/// Whether a program runs on this machine that writes such lock files. True where that cannot be found out.
[[nodiscard]] bool officeProgramRuns();

/// Tells whether an office program holds a document open: its lock file stands beside it. One that a crash
/// left behind says nothing: it is older than this start of the machine, or no such program runs, or it has
/// stood there for more than a day. On a share the program may run elsewhere, and only the last counts.
class OfficeLock {
public:
    OfficeLock(const std::filesystem::path& document, bool (*programRuns)());

    [[nodiscard]] bool isHeld(Disk& disk, const Clock& clock) const;

private:
    std::filesystem::path m_path;
    bool (*m_programRuns)();
};

} // namespace vesto
