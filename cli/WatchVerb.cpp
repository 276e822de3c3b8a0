#include "app/model/CurrentModel.h"
#include "app/model/EndSignals.h"
#include "app/model/FolderCheck.h"
#include "app/model/LocalModel.h"
#include "app/model/Store.h"
#include "cli/EngineVerbs.h"
#include "cli/FolderWords.h"
#include "cli/Messages.h"
#include "cli/ReadingSession.h"
#include "cli/Report.h"
#include "core/files/FileName.h"
#include "core/support/Text.h"
#include "core/support/UserFolders.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <ostream>
#include <utility>

namespace vesto::cli {
namespace {

/// One `vesto rename` may be at work for a moment.
constexpr std::chrono::seconds lockPatience(60);
constexpr std::chrono::seconds silentWait(1); // before it is said that another one is at work

std::string folderWords(const Json& record) {
    const std::string mode = stringMember(record, "mode").value_or("events");
    return fmt::format(
        "{}, {}", boolMember(record, "automatic").value_or(false) ? text("automatique") : text("propose"),
        watchWords(mode));
}

std::string_view pauseWords() {
    return text("Surveillance en pause : « vesto settings set paused false » la reprend.");
}

std::string_view startWords(const Json& event) {
    if (integerMember(event, "folders").value_or(0) == 0)
        return integerMember(event, "disabled").value_or(0) == 0
                   ? text("Aucun dossier surveillé : « vesto folders add DOSSIER » en ajoute un.")
                   : text("Aucun dossier surveillé : ils sont désactivés ; « vesto folders enable DOSSIER » "
                          "en "
                          "réactive un.");
    return boolMember(event, "paused").value_or(false)
               ? pauseWords()
               : text("Surveillance en cours, Ctrl-C pour l'arrêter.");
}

/// Prints what happens as it happens.
class WatchLog {
public:
    WatchLog(const Options& options, std::ostream& out)
        : m_options(options)
        , m_out(out) {}

    /// Whether somebody heard it.
    bool tell(const Json& event) {
        const std::string kind = stringMember(event, "event").value_or("");
        if (m_options.json)
            m_out << writeJson(event) << '\n';
        else
            tellPeople(kind, event);
        m_out.flush();
        return m_out.good();
    }

private:
    void tellPeople(const std::string& kind, const Json& event) {
        const std::string path = printable(stringMember(event, "path").value_or(""));
        if (kind == "started")
            m_out << startWords(event) << '\n';
        else if (kind == "paused")
            m_out << (boolMember(event, "paused").value_or(false) ? pauseWords()
                                                                  : text("La surveillance reprend."))
                  << '\n';
        else if (kind == "watching")
            m_out << path << " : " << folderWords(event) << '\n';
        else if (kind == "unwatched")
            m_out << path << " : " << text("n'est plus surveillé") << '\n';
        else if (kind == "note" || kind == "error")
            m_out << (path.empty() ? std::string() : path + " : ")
                  << printable(stringMember(event, "message").value_or("")) << '\n';
        else if (kind == "proposed")
            m_out << shownName(path) << " → " << printable(stringMember(event, "fileName").value_or(""))
                  << " ?\n    " << proposalWords(event) << " ; vesto accept "
                  << shortID(stringMember(event, "id").value_or("")) << '\n';
        else if (kind == "renamed")
            m_out << printable(stringMember(event, "originalName").value_or("")) << " → "
                  << printable(stringMember(event, "newName").value_or("")) << "\n    "
                  << proposalWords(event) << " ; vesto undo "
                  << shortID(stringMember(event, "id").value_or("")) << '\n';
        else if (kind == "undone")
            m_out << printable(stringMember(event, "newName").value_or("")) << " → "
                  << printable(stringMember(event, "originalName").value_or("")) << text(" (annulé)") << '\n';
        else if (kind == "processing" && m_options.verbose)
            m_out << printable(stringMember(event, "name").value_or("")) << " : " << text("lecture…") << '\n';
        else if (kind == "stopping")
            m_out << text("Arrêt : le fichier en cours est terminé d'abord.") << '\n';
    }

    const Options& m_options;
    std::ostream& m_out;
};

/// Whether every folder that was named can be watched; says which cannot.
bool canWatch(const Options& options, std::ostream& err) {
    bool result = true;
    for (const std::filesystem::path& folder : options.paths)
        for (const FolderNote& note : checkFolder(folder, {}).notes)
            if (note.isError()) {
                err << "vesto : " << printable(folder.native()) << " : " << printable(note.message) << '\n';
                result = false;
            }
    return result;
}

/// Another `vesto watch` is told from a verb that is done in a moment.
std::string whyNot(int error) {
    if (error == EWOULDBLOCK)
        if (const auto note = engineNote(userDataFolder()))
            return fmt::format("{} ({} {}).", text("Un programme Vesto surveille déjà vos dossiers"),
                               text("processus"), note->pid);
    return lockFailure(error);
}

} // namespace

ExitStatus watch(const Options& options, bool offline, Streams streams) {
    Engine::prepareToStop();
    if (!canWatch(options, streams.err))
        return ExitStatus::notAllDone;
    const auto refuse = [&](std::string_view why) {
        streams.err << "vesto : " << printable(why) << '\n';
        return ExitStatus::notAllDone;
    };
    // An engine that announced itself stays: no sense in waiting.
    bool isTold = false;
    auto lock = EngineLock::await(userDataFolder(), lockPatience, [&](std::chrono::milliseconds waited) {
        if (waited > silentWait && !std::exchange(isTold, true))
            streams.err << "vesto : "
                        << text("Un autre programme Vesto est au travail sur vos fichiers : attente…") << '\n'
                        << std::flush;
        return !EndSignals::isWaiting() && !ControlClient::connect(userDataFolder());
    });
    if (!lock && EndSignals::isWaiting())
        return ExitStatus::done;
    if (!lock)
        return refuse(whyNot(lock.error()));
    ReadingSession reading(options, streams.err);
    if (!reading.begin(offline))
        return ExitStatus::notAllDone;
    const auto model = std::make_shared<CurrentModel>(options.locale);
    const auto speech = openSpeech(ModelFolder{});
    auto engine = Engine::open(
        *std::move(lock),
        {.summarizer = reading.summarizer(speech),
         .generator = model,
         .modelAvailability = [model] { return model->availability(); },
         .prepareModel = [model](const std::optional<Locale>& language) { model->prepare(language); },
         .generatorIn = [model](const Locale& language) { return model->generatorIn(language); },
         .lendModel = [model](const auto& wanted) { return model->lend(wanted); },
         .speech = speech,
         .locale = options.locale});
    if (!engine)
        return refuse(engine.error());
    WatchLog log(options, streams.out);
    switch ((*engine)->watch(options.paths, [&](const Json& event) { return log.tell(event); })) {
    case Engine::WatchEnd::stopped:
        return ExitStatus::done;
    case Engine::WatchEnd::unheard:
        return ExitStatus::notAllDone;
    case Engine::WatchEnd::noControl:
        return refuse(text("Vesto n'a pas pu ouvrir sa prise de commande."));
    }
    return ExitStatus::notAllDone;
}

} // namespace vesto::cli
