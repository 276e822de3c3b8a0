#pragma once
#include <string>
#include <string_view>

namespace vesto {

class AppModel;
struct WatchedFolder;

/// What a list of folders says under a folder's name.
struct FolderState {
    enum class Kind { path, note, caution };
    Kind kind = Kind::path;
    std::string text; // its path, shortened by "~"; or in French how it is watched, or why it is not

    bool operator==(const FolderState&) const = default;
};

[[nodiscard]] FolderState folderState(const AppModel& model, const WatchedFolder& folder);

/// A path for people: valid text, the user's own folder as "~".
[[nodiscard]] std::string shownPath(std::string_view path);

} // namespace vesto
