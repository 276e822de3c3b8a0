#include "app/model/FolderState.h"

#include "app/model/AppModel.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <fmt/format.h>

#include <cstdlib>

namespace vesto {
namespace {

std::string_view troubleWords(FolderTrouble trouble) {
    switch (trouble) {
    case FolderTrouble::missing:
        return text("dossier introuvable");
    case FolderTrouble::volumeAbsent:
        return text("volume absent");
    case FolderTrouble::denied:
        return text("accès refusé");
    case FolderTrouble::replaced:
        return text("un autre dossier est à sa place");
    }
    return {};
}

std::string_view modeWords(FolderWatcher::Mode mode) {
    switch (mode) {
    case FolderWatcher::Mode::events:
        break;
    case FolderWatcher::Mode::rescanRemote:
        return text("revu toutes les 30 secondes");
    case FolderWatcher::Mode::rescanLimited:
        return text("revu toutes les 30 secondes, faute de surveillance du système");
    }
    return {};
}

} // namespace

std::string shownPath(std::string_view path) {
    const char* home = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): set before any thread
    const std::string_view root = home == nullptr ? std::string_view() : std::string_view(home);
    const bool isAtHome =
        root.size() > 1 && path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/');
    return isAtHome ? "~" + unicode::repaired(path.substr(root.size())) : unicode::repaired(path);
}

FolderState folderState(const AppModel& model, const WatchedFolder& folder) {
    if (const auto trouble = model.folderTrouble(folder.id); trouble && folder.enabled && !model.paused())
        return {FolderState::Kind::caution,
                fmt::format("{} {}", text("Surveillance arrêtée :"), troubleWords(*trouble))};
    const auto mode = model.watchMode(folder.id);
    if (const std::string_view words = mode ? modeWords(*mode) : std::string_view(); !words.empty())
        return {FolderState::Kind::note, fmt::format("{} · {}", shownPath(folder.path), words)};
    return {FolderState::Kind::path, shownPath(folder.path)};
}

} // namespace vesto
