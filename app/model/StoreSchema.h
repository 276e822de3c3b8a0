#pragma once
#include "app/model/Sqlite.h"

#include <cstdint>
#include <expected>

/// The tables of the store, and how older ones are brought up to date.
namespace vesto::StoreSchema {

inline constexpr std::int64_t version = 1;                // as `PRAGMA user_version` says it
inline constexpr std::int64_t applicationId = 0x5673746F; // in the file's header: "Vsto"

/// From `version`, 0 for an empty file, to the present one: all of it or nothing.
[[nodiscard]] std::expected<void, sqlite::Error> bringUpToDate(sqlite::Connection& connection,
                                                               std::int64_t version);

/// Looks at every table and index, at their first and last rows only: fails where one is not there or its
/// beginning is unreadable. A small file is checked whole.
[[nodiscard]] std::expected<void, sqlite::Error> check(sqlite::Connection& connection);

} // namespace vesto::StoreSchema
