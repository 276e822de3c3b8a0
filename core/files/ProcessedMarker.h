#pragma once
#include "core/files/Disk.h"
#include "core/files/RenameError.h"
#include "core/support/Time.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// What was done to a file, remembered in an extended attribute of the file itself. On the entry, never on a
/// link's target. Stateless and thread-safe.
namespace vesto::ProcessedMarker {

inline constexpr const char* attributeName = "user.com.vesto.processed";

enum class State { renamed, undone, ignored, skipped };

/// "renamed", "undone", "ignored" or "skipped".
[[nodiscard]] std::string_view rawValue(State state);
[[nodiscard]] std::optional<State> stateOfRawValue(std::string_view raw);

struct Marker {
    std::int64_t version = 1;
    State state = State::renamed;
    std::string originalName; // full file name before the operation
    Instant date;             // of the operation

    bool operator==(const Marker&) const = default;
};

/// A JSON object without padding; the date is a number of seconds since 2001.
[[nodiscard]] std::string encode(const Marker& marker);

/// Nothing where a key is missing, has the wrong type or an unknown state. Takes any bytes.
[[nodiscard]] std::optional<Marker> decode(std::string_view bytes);

/// Whether the attribute exists with at least one byte, whatever it says.
[[nodiscard]] bool isMarked(const std::filesystem::path& path, Disk& disk = systemDisk());

/// Every problem reads as the absence of a marker.
[[nodiscard]] std::optional<Marker> read(const std::filesystem::path& path, Disk& disk = systemDisk());

/// Replaces a marker that is there. Fails with `RenameError.system` only.
[[nodiscard]] std::expected<void, RenameError> write(const std::filesystem::path& path, State state,
                                                     std::string_view originalName, Instant date,
                                                     Disk& disk = systemDisk());

} // namespace vesto::ProcessedMarker
