#pragma once
#include "app/model/AppModel.h"
#include "core/support/Json.h"

#include <filesystem>
#include <string_view>

/// What the model and the store hold, as records for programs. Keys are the fields' names; "path" stands
/// beside for people, "url" where a program is to find the file again (a path may be no text). Dates are
/// seconds since 2001.
namespace vesto {

[[nodiscard]] Json recordOf(const RenameRecord& record);
[[nodiscard]] Json recordOf(const PendingProposal& pending);
[[nodiscard]] Json recordOf(const UnreadableFile& file);
[[nodiscard]] Json recordOf(const WatchedFolder& folder);
[[nodiscard]] Json recordOf(const FolderNote& note);

/// What came of naming one file: "path", "outcome" and what belongs to it: "fileName" and "proposal", or
/// "reason", and "error"; after a rename "id", "from", "to", "marked".
[[nodiscard]] Json recordOf(const std::filesystem::path& path, const NamingAnswer& answer);

// The enumerators' own names.
[[nodiscard]] std::string_view rawValue(FolderWatcher::Mode mode);
[[nodiscard]] std::string_view rawValue(FolderNote::Kind kind);
[[nodiscard]] std::string_view rawValue(BatchLine::Counter counter);

} // namespace vesto
