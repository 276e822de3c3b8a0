#pragma once
#include "app/model/FolderCheck.h"

#include <string>
#include <string_view>
#include <vector>

namespace vesto {

class AppModel;
struct WatchedFolder;

/// What a list of folders says under a folder's name.
struct FolderState {
    enum class Kind { path, note, caution };
    Kind kind = Kind::path;
    std::string text;   // its path, shortened by "~"; or in French why nothing is renamed there
    std::string note{}; // in French, after the path: how it is watched, what its disk cannot do
    std::string why{};  // whole sentences for who wants to know more

    bool operator==(const FolderState&) const = default;
};

/// `disk`: what `AppModel::checkDisk` told of it.
[[nodiscard]] FolderState folderState(const AppModel& model, const WatchedFolder& folder,
                                      const std::vector<FolderNote>& disk = {});

/// A path for people: valid text, the user's own folder as "~".
[[nodiscard]] std::string shownPath(std::string_view path);

} // namespace vesto
