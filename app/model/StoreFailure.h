#pragma once
#include "app/model/Sqlite.h"
#include "app/model/Store.h"

#include <filesystem>
#include <string_view>

/// What is said to the user when the store fails.
namespace vesto::StoreFailure {

/// A failure that is not the file's fault.
[[nodiscard]] StoreError ofSqlite(const std::filesystem::path& file, const sqlite::Error& error);
[[nodiscard]] StoreError ofSystem(const std::filesystem::path& file, int errorNumber);

enum class Damage { unreadable, foreign, newer, incomplete };

/// Copies the file, which must be closed.
[[nodiscard]] StoreError ofDamage(const std::filesystem::path& file, Damage damage);

} // namespace vesto::StoreFailure
