#pragma once
#include "app/model/Sqlite.h"
#include "app/model/Store.h"

#include <expected>
#include <filesystem>

namespace vesto {

/// Opens the file of the store, makes it where there is none, brings an older one up to date. A file that is
/// no store of ours, or is damaged, is left as it is.
[[nodiscard]] std::expected<sqlite::Connection, StoreError> openStoreFile(const std::filesystem::path& file);

} // namespace vesto
