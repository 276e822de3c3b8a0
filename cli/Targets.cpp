#include "cli/Targets.h"

#include "core/files/FileName.h"

#include <algorithm>

namespace vesto::cli {
namespace fs = std::filesystem;

namespace {

void addFolder(const fs::path& folder, Targets& targets) {
    std::error_code error;
    std::vector<fs::path> files;
    fs::directory_iterator entries(folder, error);
    if (error) {
        targets.unreadable.push_back(folder);
        return;
    }
    for (; entries != fs::directory_iterator(); entries.increment(error)) {
        std::error_code ignored;
        const bool isFolder = fs::is_directory(entries->symlink_status(ignored));
        if (!isFolder && !lastComponentOf(entries->path()).starts_with('.'))
            files.push_back(entries->path());
    }
    if (error) // the listing broke off: what it gave is not the folder
        targets.unreadable.push_back(folder);
    else if (files.empty())
        targets.empty.push_back(folder);
    std::ranges::sort(files);
    for (fs::path& file : files)
        targets.files.push_back({std::move(file), true});
}

} // namespace

Targets targetsOf(const std::vector<fs::path>& paths) {
    Targets targets;
    for (const fs::path& path : paths) {
        std::error_code ignored;
        if (fs::is_directory(path, ignored)) // a link to a folder that was named is that folder
            addFolder(path, targets);
        else
            targets.files.push_back({path, false});
    }
    return targets;
}

} // namespace vesto::cli
