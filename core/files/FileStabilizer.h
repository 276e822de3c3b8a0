#pragma once
#include "core/files/Disk.h"
#include "core/files/FileIdentity.h"
#include "core/files/OfficeLock.h"
#include "core/support/Clock.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <stop_token>

namespace vesto {

/// Waits until a file has stopped changing. A plain value; callable from any thread, any number at once.
struct FileStabilizer {
    std::chrono::nanoseconds quietPeriod = std::chrono::seconds(2); // of unchanged size and modification time
    std::chrono::nanoseconds pollInterval = std::chrono::milliseconds(500);
    std::chrono::nanoseconds timeout = std::chrono::seconds(120); // from the start of the wait
    bool (*officeProgramRuns)() = vesto::officeProgramRuns;

    enum class End {
        stable,
        empty,     // quiet, with nothing in it
        held,      // quiet, but an office program holds it open
        restless,  // the time ran out
        gone,      // cannot be looked at any more
        cancelled, // the stop was asked for
    };

    /// How a wait ended, and what the file looked like last.
    struct Settling {
        End end = End::gone;
        std::optional<FileState> lastLook;
    };

    /// A look at a file before the wait, by somebody who had to wait anyway: what stood still since then
    /// need not be waited for again.
    struct Look {
        FileState state;
        std::chrono::nanoseconds sinceBoot; // by the same clock
    };

    /// Blocks. A document that an office program holds open is not waited for: nobody knows how long that
    /// takes, and others wait behind it.
    [[nodiscard]] Settling settle(const std::filesystem::path& path, const std::stop_token& stop = {},
                                  std::optional<Look> earlier = std::nullopt, Disk& disk = systemDisk(),
                                  const Clock& clock = systemClock()) const;

    /// Whether it ended `stable`.
    [[nodiscard]] bool waitUntilStable(const std::filesystem::path& path, const std::stop_token& stop = {},
                                       Disk& disk = systemDisk(), const Clock& clock = systemClock()) const;
};

} // namespace vesto
