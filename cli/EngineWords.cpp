#include "cli/EngineWords.h"

#include <CLI/CLI.hpp>
#include <signal.h>

#include <charconv>

namespace vesto::cli {
namespace {

constexpr const char* commands = "Commandes"; // the group that help shows them under

void addJson(CLI::App& verb, Options& options) {
    verb.add_flag("--json", options.json, "Un objet JSON par ligne, pour les programmes");
}

void declareFolders(CLI::App& folders, std::vector<std::string>& paths, Options& options) {
    folders.require_subcommand(0, 1);
    addJson(folders, options);
    const auto action = [&](const char* word, FolderAction which, const char* what) {
        CLI::App& verb = *folders.add_subcommand(word, what)->group(commands)->callback([&options, which] {
            options.folderAction = which;
        });
        addJson(verb, options);
        if (which != FolderAction::list)
            verb.add_option("DOSSIER...", paths,
                            which == FolderAction::add ? "Dossiers" : "Dossiers, ou leurs identifiants");
    };
    action("list", FolderAction::list, "Montre les dossiers, et comment ils sont surveillés");
    action("add", FolderAction::add, "Ajoute des dossiers");
    action("remove", FolderAction::remove, "Retire des dossiers ; leurs fichiers restent comme ils sont");
    action("enable", FolderAction::enable, "Surveille à nouveau des dossiers");
    action("disable", FolderAction::disable, "Cesse de surveiller des dossiers, sans les retirer");
    action("auto", FolderAction::automatic, "Y renomme sans demander, quand le nom est assez sûr");
    action("propose", FolderAction::propose, "Y propose chaque nom");
}

void declareSettings(CLI::App& settings, std::vector<std::string>& names, Options& options) {
    settings.require_subcommand(1);
    CLI::App& get = *settings.add_subcommand("get", "Montre les réglages, ou l'un d'eux")->group(commands);
    get.add_option("[CLÉ]", names, "Par exemple autoThreshold");
    addJson(get, options);
    CLI::App& set = *settings.add_subcommand("set", "Change un réglage")->group(commands);
    set.callback([&options] { options.setsKey = true; });
    set.add_option("CLÉ VALEUR", names, "Par exemple autoThreshold 0.7");
    addJson(set, options);
}

} // namespace

void declareEngineVerbs(CLI::App& app, EngineWords& words, std::vector<std::string>& paths,
                        std::vector<std::string>& names, Options& options) {
    const auto verb = [&](const char* word, const char* what) -> CLI::App& {
        CLI::App& added = *app.add_subcommand(word, what)->group(commands);
        return added;
    };
    CLI::App& undoVerb = verb("undo", "Rend à chaque fichier renommé son nom d'avant");
    undoVerb.add_option("[CHEMIN...]", paths,
                        "Fichiers, dossiers (leurs fichiers), ou identifiants de l'historique");
    undoVerb.add_flag("--last", options.last, "Le dernier renommage");
    undoVerb.add_option("--batch", options.batchID, "Tout ce qu'un lot a renommé : son identifiant");
    addJson(undoVerb, options);

    CLI::App& watchVerb = verb("watch", "Surveille les dossiers jusqu'à Ctrl-C");
    watchVerb.add_option("[DOSSIER...]", paths, "Dossiers à ajouter d'abord");
    watchVerb.add_option_function<std::string>(
        "--locale", [&options](const std::string& name) { options.locale = Locale{name}; },
        "Langue des dates et de {kind}, par exemple fr_FR");
    watchVerb.add_flag("-v,--verbose", options.verbose, "Dit aussi ce qui est en cours");
    addJson(watchVerb, options);

    declareFolders(verb("folders", "Gère les dossiers surveillés"), paths, options);

    CLI::App& pendingVerb = verb("pending", "Montre les noms qui attendent votre accord");
    addJson(pendingVerb, options);
    CLI::App& acceptVerb = verb("accept", "Donne le nom proposé");
    acceptVerb.add_option("ID...", names,
                          "Identifiants des propositions, ou leurs quatre premiers caractères");
    acceptVerb.add_option_function<std::string>(
        "--title", [&options](const std::string& title) { options.title = title; },
        "Un autre titre que celui proposé");
    addJson(acceptVerb, options);
    CLI::App& ignoreVerb = verb("ignore", "Refuse le nom proposé ; le fichier garde le sien");
    ignoreVerb.add_option("ID...", names,
                          "Identifiants des propositions, ou leurs quatre premiers caractères");
    addJson(ignoreVerb, options);

    CLI::App& historyVerb = verb("history", "Montre les renommages, le dernier d'abord");
    historyVerb.add_option("--search", options.search, "Seulement ceux dont un nom contient ce texte");
    historyVerb.add_option("--limit", words.limit, "Combien au plus ; 50 si rien n'est dit");
    addJson(historyVerb, options);

    CLI::App& batchVerb = verb("batch", "Propose des noms pour les fichiers d'un dossier");
    batchVerb.add_option("DOSSIER", paths, "Le dossier");
    batchVerb.add_flag("--apply", options.apply, "Renomme ceux dont le nom est assez sûr");
    batchVerb
        .add_option("--also", words.also,
                    "Aussi : well-named (noms déjà parlants), no-title (sans résultat auparavant)")
        ->allow_extra_args(false); // one value each time, so that a folder may follow
    addJson(batchVerb, options);

    declareSettings(verb("settings", "Montre et change les réglages"), names, options);
    CLI::App& doctorVerb = verb("doctor", "Examine ce dont Vesto a besoin, et dit où il garde tout");
    addJson(doctorVerb, options);
}

std::optional<std::string> takeEngineWords(const EngineWords& words, Options& options) {
    for (const std::string& which : words.also) {
        if (which == "well-named")
            options.alsoWellNamed = true;
        else if (which == "no-title")
            options.alsoNoTitle = true;
        else
            return "--also : well-named ou no-title est attendu.";
    }
    if (!words.limit.empty()) {
        const char* end = words.limit.data() + words.limit.size();
        const auto [rest, error] = std::from_chars(words.limit.data(), end, options.limit);
        if (error != std::errc() || rest != end || options.limit == 0)
            return "--limit : un nombre d'au moins 1 est attendu.";
    }
    if (options.title && options.names.size() > 1)
        return "--title : pour une seule proposition.";
    return std::nullopt;
}

std::optional<WordCount> engineWordCount(std::string_view verb, const Options& options) {
    if (verb == "undo")
        return WordCount{.least = options.last || !options.batchID.empty() ? 0U : 1U};
    if (verb == "watch")
        return WordCount{.least = 0};
    if (verb == "accept" || verb == "ignore")
        return WordCount{};
    if (verb == "batch")
        return WordCount{.least = 1, .most = 1};
    if (verb == "folders")
        return options.folderAction == FolderAction::list ? WordCount{.least = 0, .most = 0} : WordCount{};
    if (verb == "settings")
        return options.setsKey ? WordCount{.least = 2, .most = 2} : WordCount{.least = 0, .most = 1};
    if (verb == "pending" || verb == "history" || verb == "doctor")
        return WordCount{.least = 0, .most = 0};
    return std::nullopt;
}

std::optional<ExitStatus> performEngineVerb(std::string_view verb, const Options& options, bool offline,
                                            Streams streams) {
    // Where the output is a pipe that nobody reads any more, what changes files ends after the file at hand.
    if (verb == "rename" || verb == "undo" || verb == "batch")
        ::signal(SIGPIPE, SIG_IGN);
    if (verb == "rename")
        return rename(options, offline, streams);
    if (verb == "undo")
        return undo(options, streams);
    if (verb == "watch")
        return watch(options, offline, streams);
    if (verb == "folders")
        return folders(options, streams);
    if (verb == "pending")
        return pending(options, streams);
    if (verb == "accept")
        return accept(options, streams);
    if (verb == "ignore")
        return ignore(options, streams);
    if (verb == "history")
        return history(options, streams);
    if (verb == "batch")
        return batch(options, offline, streams);
    if (verb == "settings")
        return settings(options, streams);
    if (verb == "doctor")
        return doctor(options, offline, streams);
    return std::nullopt;
}

} // namespace vesto::cli
