#pragma once
#include "app/model/Sqlite.h"

#include <cstdint>
#include <expected>
#include <span>

/// The tables of the store, and how older ones are brought up to date.
namespace vesto::StoreSchema {

inline constexpr std::int64_t version = 1;                // as `PRAGMA user_version` says it
inline constexpr std::int64_t applicationId = 0x5673746F; // in the file's header: "Vsto"

/// What leads from each version to the next, the first from an empty file.
using Steps = std::span<const char* const>;
[[nodiscard]] Steps steps();

/// From `version`, 0 for an empty file, to the last: all of it or nothing.
[[nodiscard]] std::expected<void, sqlite::Error> bringUpToDate(sqlite::Connection& connection,
                                                               std::int64_t version, Steps path = steps());

/// Looks at every table and index, at their first and last rows only: fails where one is not there or its
/// beginning is unreadable. A small file is checked whole.
[[nodiscard]] std::expected<void, sqlite::Error> check(sqlite::Connection& connection);

} // namespace vesto::StoreSchema
