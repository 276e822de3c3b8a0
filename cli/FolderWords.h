#pragma once
#include "core/support/Json.h"

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::cli {

/// How a folder is watched, by the engine's word for it ("events", "rescanRemote", "rescanLimited"), in
/// French; says what to raise where the system grants too little.
[[nodiscard]] std::string watchWords(std::string_view mode);

/// The records of the watched folders, from the engine where one runs, else from the store; nothing where
/// that cannot be read, which was said on `err`.
[[nodiscard]] std::optional<std::vector<Json>> watchedFolders(std::ostream& err);

/// What a person should know of a folder's disk, in French. A disk that does not answer soon is one of them.
[[nodiscard]] std::vector<std::string> notesOfDisk(const std::filesystem::path& folder);

/// A limit of the system, as "fs.inotify.max_user_watches"; nothing where it does not tell.
[[nodiscard]] std::optional<std::uint64_t> systemLimit(std::string_view name);

} // namespace vesto::cli
