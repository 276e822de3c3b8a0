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

/// Short enough for a line; the note's own message says the rest.
std::string_view diskWords(FolderNote::Kind kind) {
    switch (kind) {
    case FolderNote::Kind::readOnly:
        return text("Lecture seule : rien n'y sera renommé");
    case FolderNote::Kind::noSafeRename:
        return text("Disque sans renommage sûr : rien n'y sera renommé");
    case FolderNote::Kind::noAttributes:
        return text("disque sans attributs");
    case FolderNote::Kind::missing:
    case FolderNote::Kind::notFolder:
    case FolderNote::Kind::alreadyWatched:
    case FolderNote::Kind::insideAnother:
    case FolderNote::Kind::containsAnother:
        break;
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

FolderState folderState(const AppModel& model, const WatchedFolder& folder,
                        const std::vector<FolderNote>& disk) {
    using Kind = FolderState::Kind;
    if (const auto trouble = model.folderTrouble(folder.id); trouble && folder.enabled && !model.paused())
        return {Kind::caution, fmt::format("{} {}", text("Surveillance arrêtée :"), troubleWords(*trouble))};
    FolderState state{Kind::path, shownPath(folder.path)};
    if (const auto mode = model.watchMode(folder.id))
        state.note = modeWords(*mode);
    for (const FolderNote& each : disk) {
        state.why += (state.why.empty() ? "" : "\n") + each.message;
        const std::string_view words = diskWords(each.kind);
        if (each.kind == FolderNote::Kind::noAttributes)
            state.note += (state.note.empty() ? "" : " · ") + std::string(words);
        else if (!words.empty())
            state = {Kind::caution, std::string(words), {}, state.why};
    }
    if (state.kind == Kind::path && !state.note.empty())
        state.kind = Kind::note;
    return state;
}

} // namespace vesto
