#include "cli/EngineVerbs.h"
#include "cli/FolderWords.h"
#include "cli/Messages.h"
#include "cli/Report.h"
#include "cli/StoreSession.h"
#include "core/files/FileURL.h"
#include "core/files/ModelFolder.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/SettingsFile.h"
#include "core/support/Text.h"
#include "services/client/ModelProcess.h"
#include "services/client/RemoteReader.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ostream>
#include <system_error>

namespace vesto::cli {
namespace {

namespace fs = std::filesystem;

/// How well one thing is.
enum class Health {
    good,
    fair, // works, with less than there could be
    bad,  // keeps Vesto from its work
};

/// One line for each thing that was looked at.
class Findings {
public:
    Findings(const Options& options, std::ostream& out)
        : m_json(options.json)
        , m_out(out) {}

    /// `advice`: what to do, unless empty.
    void tell(std::string_view subject, Health health, const std::string& finding,
              std::string_view advice = {}) {
        if (health == Health::bad)
            m_status = ExitStatus::notAllDone;
        if (m_json) {
            Json record{{"subject", subject}, {"health", wordOf(health)}, {"finding", finding}};
            if (!advice.empty())
                record["advice"] = advice;
            m_out << writeJson(record) << '\n';
            return;
        }
        m_out << signOf(health) << ' ' << subject << " : " << printable(finding) << '\n';
        if (!advice.empty())
            m_out << "    " << printable(advice) << '\n';
    }

    [[nodiscard]] ExitStatus status() const { return m_status; }

private:
    static std::string_view wordOf(Health health) {
        switch (health) {
        case Health::good:
            return "good";
        case Health::fair:
            return "fair";
        case Health::bad:
            return "bad";
        }
        return {};
    }
    static std::string_view signOf(Health health) {
        switch (health) {
        case Health::good:
            return "+";
        case Health::fair:
            return "~";
        case Health::bad:
            return "!";
        }
        return {};
    }

    bool m_json;
    std::ostream& m_out;
    ExitStatus m_status = ExitStatus::done;
};

void lookAtIsolation(Findings& findings, bool offline) {
    findings.tell(text("Réseau"), offline ? Health::good : Health::bad,
                  std::string(offline ? text("refusé par le noyau à Vesto et à ce qu'il lance")
                                      : text("le noyau ne sait pas le refuser (seccomp)")));
    RemoteReader reader;
    const auto jail = reader.start();
    if (!jail)
        findings.tell(
            text("Lecture des fichiers"), Health::bad,
            fmt::format("{} {}", text("le lecteur isolé n'a pas pu démarrer :"), messageOf(jail.error())));
    else if (*jail == ipc::Jail::full)
        findings.tell(text("Lecture des fichiers"), Health::good, std::string(text("isolation complète")));
    else
        findings.tell(text("Lecture des fichiers"), Health::fair,
                      std::string(text("isolation réduite : ce noyau n'a pas Landlock")));
}

void lookAtLanguages(Findings& findings) {
    const auto isInstalled = [](std::string_view language) {
        std::vector<fs::path> folders;
        if (const char* named = std::getenv("TESSDATA_PREFIX"))
            folders.emplace_back(named);
        for (const char* version : {"5", "4.00"})
            folders.push_back(fs::path("/usr/share/tesseract-ocr") / version / "tessdata");
        folders.emplace_back("/usr/share/tessdata");
        for (const fs::path& folder : folders)
            if (::access((folder / (std::string(language) + ".traineddata")).c_str(), R_OK) == 0)
                return true;
        return false;
    };
    for (const auto& [language, name] : {std::pair{"fra", text("français")}, {"eng", text("anglais")}}) {
        const bool isThere = isInstalled(language);
        findings.tell(text("Texte des images"), isThere ? Health::good : Health::fair,
                      fmt::format("{} {}", name, isThere ? text("installé") : text("absent")),
                      isThere ? std::string()
                              : fmt::format("{} tesseract-ocr-{}", text("Installez"), language));
    }
}

void lookAtModel(Findings& findings) {
    const ModelFolder models;
    const auto used = models.used();
    const std::string_view subject = text("Modèle de langage");
    if (::access(modelProgram().c_str(), X_OK) != 0)
        findings.tell(subject, Health::fair, std::string(text("cette version de Vesto n'a pas de moteur")));
    else if (!used)
        findings.tell(subject, Health::fair,
                      std::string(text("aucun : les titres viennent des premières lignes du texte lu")),
                      text("« vesto model add FICHIER » en ajoute un (format GGUF)."));
    else if (!models.isEnabled())
        findings.tell(subject, Health::fair, fmt::format("{} {}", used->name, text("est hors service")),
                      text("« vesto model on » le remet en service."));
    else
        findings.tell(subject, Health::good, fmt::format("{}, {}", used->name, sizeWords(used->bytes)),
                      text("« vesto model test FICHIER » l'essaie."));
}

void lookAtSpeech(Findings& findings) {
    const auto speech = ModelFolder().speech();
    if (speech)
        findings.tell(text("Paroles des enregistrements"), Health::good,
                      fmt::format("{}, {}", speech->name, sizeWords(speech->bytes)));
    else
        findings.tell(text("Paroles des enregistrements"), Health::fair,
                      std::string(text("aucun modèle : elles ne sont pas transcrites")),
                      text("« vesto model add FICHIER » en ajoute un (whisper.cpp)."));
}

void lookAtSystem(Findings& findings) {
    struct Limit {
        const char* name;
        std::uint64_t least; // below it somebody with a few programs may meet it
    };
    for (const Limit& limit : {Limit{"fs.inotify.max_user_watches", 8192},
                               {"fs.inotify.max_user_instances", 128},
                               {"fs.inotify.max_queued_events", 16384}}) {
        const auto value = systemLimit(limit.name);
        const bool isFine = value.value_or(0) >= limit.least;
        findings.tell(text("Surveillance"), isFine ? Health::good : Health::fair,
                      fmt::format("{} = {}", limit.name, value ? std::to_string(*value) : "?"),
                      isFine ? std::string()
                             : fmt::format("{} {}={}", text("Pour l'augmenter : sudo sysctl"), limit.name,
                                           limit.least));
    }
}

void lookAtEngine(Findings& findings, std::ostream& err) {
    EngineSession session(err);
    const std::string_view subject = text("Programme qui surveille");
    if (!session.beginRemote()) {
        findings.tell(
            subject, Health::fair, std::string(text("aucun n'est en cours")),
            text("« vesto watch » en lance un ; « systemctl --user enable --now vesto » à chaque session."));
        return;
    }
    (void)session.ask(Json{{"verb", "status"}}, [&](const Json& event) {
        if (const Json* line = member(event, "line"))
            findings.tell(subject, Health::good,
                          fmt::format("{} {}, {} : {}{}", text("processus"),
                                      integerMember(*line, "pid").value_or(0), text("dossiers surveillés"),
                                      integerMember(*line, "watching").value_or(0),
                                      boolMember(*line, "paused").value_or(false) ? text(", en pause")
                                                                                  : std::string_view{}));
        return true;
    });
}

void lookAtFolders(Findings& findings, std::ostream& err) {
    const auto folders = watchedFolders(err);
    if (!folders) {
        findings.tell(text("Historique"), Health::bad, std::string(text("illisible")));
        return;
    }
    for (const Json& record : *folders) {
        const auto url = stringMember(record, "url");
        const auto path = url ? pathOfFileURL(*url) : std::nullopt;
        if (!path)
            continue;
        const auto notes = notesOfDisk(*path);
        const std::string subject = fmt::format("{} {}", text("Dossier"), printable(path->native()));
        if (notes.empty())
            findings.tell(subject, Health::good, std::string(text("renommage sûr et marques possibles")));
        for (const std::string& note : notes)
            findings.tell(subject, Health::fair, note);
    }
}

std::uint64_t sizeOf(const fs::path& place) {
    std::error_code error;
    if (!fs::is_directory(fs::symlink_status(place, error)))
        return fs::is_regular_file(place, error) ? fs::file_size(place, error) : 0;
    std::uint64_t size = 0;
    for (fs::recursive_directory_iterator entry(place, error), end; !error && entry != end;
         entry.increment(error))
        if (std::error_code ignored; entry->is_regular_file(ignored) && !entry->is_symlink(ignored))
            size += entry->file_size(ignored);
    return size;
}

/// As a shell takes it for one word, whatever stands in it.
std::string shellWord(std::string_view word) {
    std::string quoted = "'";
    for (const char character : word)
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return quoted + '\'';
}

void tellPlaces(Findings& findings) {
    const fs::path data = userDataFolder();
    const fs::path config = userConfigFolder();
    const char* runtimeName = std::getenv("XDG_RUNTIME_DIR");
    const fs::path runtime = runtimeName == nullptr ? fs::path() : fs::path(runtimeName) / "vesto";
    struct Place {
        std::string_view what;
        fs::path path;
    };
    // The application writes it where it is to start at login.
    const fs::path autostart = config.parent_path() / "autostart" / "fr.vesto.Vesto.desktop";
    const std::vector<Place> places{{text("Historique et propositions"), data / "history.sqlite"},
                                    {text("Modèles de langage"), data / "models"},
                                    {text("Réglages"), SettingsFile().path()},
                                    {text("Tout ce que Vesto garde"), data},
                                    {text("Lancement à la connexion"), autostart},
                                    {text("Prise de commande"), runtime}};
    const auto isThere = [](const fs::path& path) {
        std::error_code ignored;
        return path.is_absolute() && fs::exists(fs::symlink_status(path, ignored));
    };
    for (const Place& place : places)
        if (isThere(place.path))
            findings.tell(place.what, Health::good,
                          fmt::format("{} ({})", place.path.native(), sizeWords(sizeOf(place.path))));
    std::string erase;
    for (const fs::path& path : {data, config, autostart})
        if (isThere(path))
            erase += (erase.empty() ? "rm -r " : " ") + shellWord(path.native());
    findings.tell(text("Pour tout effacer"), Health::good,
                  erase.empty() ? std::string(text("rien n'est gardé")) : erase,
                  fmt::format("{} {} {}",
                              text("Chaque fichier traité (renommé, rétabli, refusé ou sans titre) porte une "
                                   "marque ; pour l'ôter : setfattr -x"),
                              ProcessedMarker::attributeName,
                              text("FICHIER (après quoi « vesto undo » ne le "
                                   "connaît plus).")));
}

} // namespace

ExitStatus doctor(const Options& options, bool offline, Streams streams) {
    Findings findings(options, streams.out);
    lookAtIsolation(findings, offline);
    lookAtLanguages(findings);
    lookAtModel(findings);
    lookAtSpeech(findings);
    lookAtSystem(findings);
    lookAtEngine(findings, streams.err);
    lookAtFolders(findings, streams.err);
    tellPlaces(findings);
    return findings.status();
}

} // namespace vesto::cli
