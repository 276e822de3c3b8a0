#pragma once
#include "core/files/Disk.h"
#include "core/files/ExclusiveRename.h"
#include "core/files/FileIdentity.h"
#include "core/files/RenameError.h"
#include "core/naming/NamingPolicy.h"
#include "core/support/Clock.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string_view>

namespace vesto {

/// A rename that took place.
struct RenameResult {
    std::filesystem::path from;
    std::filesystem::path to;
    FileIdentity identity; // as it is under the new name
    bool marked = false;   // whether the processed marker could be written
    Leftover leftover = Leftover::none;

    bool operator==(const RenameResult&) const = default;
};

/// Gives a file a proposed name, and never overwrites another: a name that is taken gets a number.
/// Synchronous, stateless, callable from any thread; never two renames of one file at once.
class Renamer {
public:
    /// `maxAttempts`, at least 1: how many names are tried. `disk` and `clock` must outlive the renamer.
    explicit Renamer(NamingPolicy policy = {}, std::int64_t maxAttempts = 99, Disk& disk = systemDisk(),
                     const Clock& clock = systemClock());

    /// `baseName` comes without extension. With `expectedIdentity`, taken when the file was analysed, a file
    /// that was replaced since, or written to where the identity carries a state, fails with
    /// `identityMismatch`. Every failure leaves the file where it was, but for the error's `keptNames`.
    [[nodiscard]] std::expected<RenameResult, RenameError>
    rename(const std::filesystem::path& path, std::string_view baseName,
           const std::optional<FileIdentity>& expectedIdentity, bool mark) const;

private:
    [[nodiscard]] std::expected<RenameResult, RenameError>
    renameToFreeName(const std::filesystem::path& path, std::string_view base,
                     const FileIdentity& current) const;

    NamingPolicy m_policy;
    std::int64_t m_maxAttempts;
    Disk& m_disk;
    const Clock& m_clock;
};

} // namespace vesto
