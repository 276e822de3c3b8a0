#pragma once
#include "core/support/UniqueFd.h"
#include "core/support/UserFolders.h"

#include <sys/types.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vesto {

/// Where an engine can be spoken to, as it wrote it beside its store. Nobody may be there any more.
struct EngineNote {
    pid_t pid = 0;
    std::string host; // the machine: a home folder may be on a share
    std::filesystem::path socket;

    bool operator==(const EngineNote&) const = default;
};

/// Nothing where there is no note, or none that makes sense. `folder` is the data folder.
[[nodiscard]] std::optional<EngineNote> engineNote(const std::filesystem::path& folder);

/// Tells the lock of one data folder from those of others, also of a copy of the folder and its note, and
/// however the folder is written. Empty where there is none.
[[nodiscard]] std::string lockToken(const std::filesystem::path& folder);

/// One engine a store: whoever handles files on behalf of a data folder holds the lock of its file
/// "engine.lock". The kernel frees it with the process, however that ends. The file itself stays.
class EngineLock {
public:
    /// Makes the folder where it is missing. Fails with EWOULDBLOCK where another process holds the lock,
    /// otherwise with what the system says.
    [[nodiscard]] static std::expected<EngineLock, int>
    take(const std::filesystem::path& folder = userDataFolder());

    /// As `take`, waiting for another to let go, at most for `timeout`. `goesOn` is asked every 50 ms, with
    /// the time waited so far: false ends the wait.
    [[nodiscard]] static std::expected<EngineLock, int>
    await(const std::filesystem::path& folder, std::chrono::milliseconds timeout,
          const std::function<bool(std::chrono::milliseconds)>& goesOn);

    /// Writes down where the holder can be spoken to.
    [[nodiscard]] std::expected<void, int> announce(const std::filesystem::path& socket) const;

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

    /// What the holder before had announced, where it did not take that back: its end was not a clean one.
    [[nodiscard]] const std::optional<EngineNote>& leftover() const { return m_leftover; }

private:
    EngineLock(UniqueFd file, std::filesystem::path folder, std::optional<EngineNote> leftover)
        : m_file(std::move(file))
        , m_folder(std::move(folder))
        , m_leftover(std::move(leftover)) {}

    UniqueFd m_file;
    std::filesystem::path m_folder;
    std::optional<EngineNote> m_leftover;
};

} // namespace vesto
