#pragma once
#include "core/files/Disk.h"
#include "core/support/Time.h"

#include <filesystem>
#include <optional>
#include <string_view>

/// Whether a file may be processed at all, decided before its content is read. Stateless and thread-safe.
namespace vesto::FileEligibility {

struct Options {
    bool genericOnly = false;         // only files whose name says nothing
    std::optional<Instant> notBefore; // files made before it are left alone
    bool includeProcessed = false;    // marked files too, where a user asks for them again

    bool operator==(const Options&) const = default;
};

enum class Rejection {
    missing, // gone, or cannot be examined
    hidden,
    notRegularFile, // links are not followed
    temporary,      // of a download or a program at work
    unsupported,
    processed,
    notGeneric,
    tooOld,
    notLocal, // never on Linux, where file systems in use fetch what they lack by themselves
    locked,   // immutable
};

/// The enumerator's name, for programs.
[[nodiscard]] std::string_view rawValue(Rejection rejection);

/// A short French sentence, for people.
[[nodiscard]] std::string_view message(Rejection rejection);

/// The first rule that rejects the file, or nothing when it is eligible. Never fails. A hidden or temporary
/// name is rejected without a look at the disk.
[[nodiscard]] std::optional<Rejection> check(const std::filesystem::path& path, const Options& options,
                                             Disk& disk = systemDisk());

} // namespace vesto::FileEligibility
