#pragma once
#include "app/model/RenameRecord.h"
#include "app/model/Sqlite.h"
#include "core/files/FileIdentity.h"

#include <bit>
#include <cstdint>
#include <optional>
#include <string>

/// Values as the store's columns hold them, and back. What no version of ours has written is damage: it fails
/// the work.
namespace vesto::StoreRows {

[[nodiscard]] constexpr std::int64_t patternOf(std::uint64_t value) {
    return std::bit_cast<std::int64_t>(value);
}

[[nodiscard]] inline std::int64_t numberOf(Instant date) {
    return date.time_since_epoch().count();
}
[[nodiscard]] inline Instant dateOf(std::int64_t number) {
    return Instant(Instant::duration(number));
}

/// The columns of an identity in their order: what `bindIdentity` binds and `identityAt` reads.
inline constexpr const char* identityColumns =
    "device, inode, birthSeconds, birthNanoseconds, name, volume, size, "
    "modifiedSeconds, modifiedNanoseconds";
inline constexpr int identityColumnCount = 9;
/// `identity` must outlive the query.
void bindIdentity(sqlite::Query& query, const FileIdentity& identity);
[[nodiscard]] FileIdentity identityAt(const sqlite::Query& query, int column, sqlite::Work& work);

/// The columns of a record in their order: what `bindRecord` binds and `recordAt` reads, from column 0.
inline constexpr const char* recordColumns =
    "id, date, folderPath, originalName, newName, statusRaw, sourceRaw, confidence, automatic, errorMessage, "
    "batchID, undoing, device, inode, birthSeconds, birthNanoseconds, name, volume, size, modifiedSeconds, "
    "modifiedNanoseconds";
/// `record` must outlive the query.
void bindRecord(sqlite::Query& query, const RenameRecord& record);
[[nodiscard]] RenameRecord recordAt(const sqlite::Query& query, sqlite::Work& work);

[[nodiscard]] std::string_view rawValue(RenameRecord::Status status);

} // namespace vesto::StoreRows
