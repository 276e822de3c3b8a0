#include "cli/CommandLine.h"

#include "app/model/Settings.h"
#include "cli/EngineWords.h"
#include "cli/Messages.h"
#include "cli/ModelSession.h"
#include "cli/Options.h"
#include "cli/ReadingSession.h"
#include "cli/Verbs.h"
#include "services/sandbox/SystemCalls.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <ostream>

namespace vesto::cli {
namespace {

constexpr const char* version = "vesto " VESTO_VERSION;

/// Help shows the words of a verb by their names alone ("DOSSIER", "[CLÉ]", "ID..."): how many there must be
/// is looked at after CLI11, which does not know what follows "--".
class Formatter final : public CLI::Formatter {
public:
    std::string make_option_usage(const CLI::Option* option) const override {
        return make_option_name(option, /*is_positional=*/true);
    }
    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_positional() ? std::string() : CLI::Formatter::make_option_opts(option);
    }
};

/// Help in French: CLI11 asks its formatter for every word of its own.
std::shared_ptr<CLI::Formatter> frenchFormatter() {
    auto formatter = std::make_shared<Formatter>();
    formatter->label("Usage", "Utilisation ");
    formatter->label("OPTIONS", "OPTIONS");
    formatter->label("SUBCOMMAND", "COMMANDE");
    formatter->label("SUBCOMMANDS", "COMMANDES");
    formatter->label("Subcommands", "Commandes");
    formatter->label("Positionals", "Arguments");
    formatter->label("REQUIRED", "(obligatoire)");
    formatter->label("TEXT", "TEXTE");
    formatter->label("FLOAT", "NOMBRE");
    formatter->column_width(34);
    return formatter;
}

/// The first word where it should be a verb and is none.
std::optional<std::string> unknownVerb(const CLI::App& app, int argc, char** argv) {
    if (argc < 2 || std::string_view(argv[1]).starts_with('-'))
        return std::nullopt;
    const auto named = app.get_subcommands([&](const CLI::App* verb) { return verb->get_name() == argv[1]; });
    return named.empty() ? std::optional<std::string>(argv[1]) : std::nullopt;
}

/// The words that no verb takes.
std::string unknownWords(const CLI::App& app) {
    std::string words;
    for (const std::string& word : app.remaining(/*recurse=*/true))
        words += (words.empty() ? "" : " ") + printable(word);
    return words;
}

std::string inFrench(const CLI::ParseError& error, const std::optional<std::string>& wrongVerb,
                     const CLI::App& app) {
    const auto code = static_cast<CLI::ExitCodes>(error.get_exit_code());
    if (wrongVerb)
        return fmt::format("Commande inconnue : {}.", printable(*wrongVerb));
    if (code == CLI::ExitCodes::ExtrasError)
        return fmt::format("Un argument est inconnu ou en trop : {}", unknownWords(app));
    if (code == CLI::ExitCodes::RequiredError)
        return "Il manque un argument ou une commande.";
    if (code == CLI::ExitCodes::ArgumentMismatch)
        return "Une option n'a pas la valeur qu'elle attend.";
    return fmt::format("Arguments incompréhensibles ({}).", printable(error.what()));
}

/// The words as CLI11 fills them in, before they are checked.
struct Words {
    EngineWords engine;
    std::vector<std::string> paths;
    std::vector<std::string> names;
    std::string pattern;
    std::string locale;
    std::string minConfidence;
};

void addPaths(CLI::App& verb, Words& words, const char* what) {
    verb.add_option("CHEMIN...", words.paths, what);
}

void addNaming(CLI::App& verb, Words& words, Options& options) {
    verb.add_option("--template", words.pattern, "Modèle de nom, par exemple « {date:yyyy-MM} {title} »");
    verb.add_option("--locale", words.locale, "Langue des dates et de {kind}, par exemple fr_FR");
    verb.add_flag("--generic-only", options.genericOnly, "Seulement les fichiers dont le nom ne dit rien");
    verb.add_flag("--again", options.again, "Aussi les fichiers que Vesto a déjà traités");
}

void addJson(CLI::App& verb, Options& options) {
    verb.add_flag("--json", options.json, "Un objet JSON par ligne, pour les programmes");
}

void addVerbose(CLI::App& verb, Options& options) {
    verb.add_flag("-v,--verbose", options.verbose,
                  "Dit ce qui est en cours et comment les fichiers sont isolés");
}

void declareModelVerbs(CLI::App& model, Words& words, Options& options) {
    model.require_subcommand(1);
    const auto verb = [&](const char* word, ModelAction action, const char* what) -> CLI::App& {
        CLI::App& added = *model.add_subcommand(word, what)->group("Commandes")->callback([&options, action] {
            options.modelAction = action;
        });
        addJson(added, options);
        return added;
    };
    verb("list", ModelAction::list, "Montre les modèles, et celui qui sert");
    CLI::App& add =
        verb("add", ModelAction::add, "Essaie un modèle (GGUF ; whisper.cpp pour la parole) et l'ajoute");
    add.add_option("FICHIER", words.paths, "Le fichier");
    add.add_flag("--link", options.link, "Fait un lien au lieu d'une copie");
    CLI::App& remove = verb("remove", ModelAction::remove, "Retire un modèle");
    remove.add_option("NOM", words.names, "Son nom");
    CLI::App& use = verb("use", ModelAction::use, "Choisit le modèle qui sert");
    use.add_option("NOM", words.names, "Son nom");
    verb("on", ModelAction::enable, "Remet le modèle en service");
    verb("off", ModelAction::disable,
         "Met le modèle hors service : les titres viennent des premières lignes");
    CLI::App& test = verb("test", ModelAction::test, "Essaie le modèle sur des fichiers, sans rien toucher");
    addPaths(test, words, "Fichiers, ou dossiers (leurs fichiers, sans les sous-dossiers)");
    for (CLI::App* titled : {&add, &test}) {
        titled->add_option("--locale", words.locale, "Langue du titre, par exemple fr_FR");
        addVerbose(*titled, options);
    }
}

void declareVerbs(CLI::App& app, Words& words, Options& options) {
    constexpr const char* filesOrFolders = "Fichiers, ou dossiers (leurs fichiers, sans les sous-dossiers)";

    const auto verb = [&app](const char* word, const char* what) -> CLI::App& {
        return *app.add_subcommand(word, what)->group("Commandes");
    };
    CLI::App& nameVerb = verb("name", "Propose un nom pour chaque fichier, sans rien toucher");
    addPaths(nameVerb, words, filesOrFolders);
    addNaming(nameVerb, words, options);
    addJson(nameVerb, options);
    addVerbose(nameVerb, options);

    CLI::App& readVerb = verb("read", "Montre ce qui est lu dans chaque fichier");
    addPaths(readVerb, words, filesOrFolders);
    readVerb.add_option("--locale", words.locale, "Langue du mois dans --prompt");
    readVerb.add_flag("--prompt", options.prompt, "Le texte exact qui serait donné au modèle");
    addJson(readVerb, options);
    addVerbose(readVerb, options);

    CLI::App& renameVerb = verb("rename", "Renomme chaque fichier d'après son contenu");
    addPaths(renameVerb, words, filesOrFolders);
    addNaming(renameVerb, words, options);
    renameVerb.add_option("--min-confidence", words.minConfidence,
                          "Laisse les fichiers moins sûrs (de 0 à 1)");
    addJson(renameVerb, options);
    addVerbose(renameVerb, options);

    declareEngineVerbs(app, words.engine, words.paths, words.names, options);
    CLI::App& batchVerb = *app.get_subcommand("batch");
    batchVerb.add_option("--min-confidence", words.minConfidence,
                         "Ce qu'il faut de confiance (de 0 à 1) ; sinon le réglage autoThreshold");
    addVerbose(batchVerb, options);

    declareModelVerbs(verb("model", "Gère les modèles locaux, des titres et de la parole"), words, options);

    CLI::App& genericVerb = verb("generic", "Dit si un nom de fichier est générique");
    genericVerb.add_option("NOM...", words.names, "Noms de fichiers, avec ou sans extension");
    addJson(genericVerb, options);

    CLI::App& templateVerb = verb("template", "Vérifie un modèle de nom et en montre un exemple");
    templateVerb.add_option("MODÈLE", words.pattern, "Le modèle, entre apostrophes");
    templateVerb.add_option("--locale", words.locale, "Langue des dates et de {kind}");
    addJson(templateVerb, options);
}

/// Whether the words of a verb are names, not files.
bool takesNames(std::string_view verb, const Options& options) {
    return verb == "generic" || verb == "accept" || verb == "ignore" || verb == "settings" ||
           (verb == "model" &&
            (options.modelAction == ModelAction::remove || options.modelAction == ModelAction::use));
}

WordCount modelWordCount(ModelAction action) {
    switch (action) {
    case ModelAction::list:
    case ModelAction::enable:
    case ModelAction::disable:
        return {.least = 0, .most = 0};
    case ModelAction::add:
    case ModelAction::remove:
    case ModelAction::use:
        return {.least = 1, .most = 1};
    case ModelAction::test:
        break;
    }
    return {};
}

WordCount wordCount(std::string_view verb, const Options& options) {
    if (verb == "template")
        return {.least = 0};
    if (verb == "model")
        return modelWordCount(options.modelAction);
    return engineWordCount(verb, options).value_or(WordCount{});
}

/// One more word for `verb`, which is no option whatever it looks like.
void takeWord(Words& words, std::string_view verb, const Options& options, const char* word) {
    if (takesNames(verb, options))
        words.names.emplace_back(word);
    else if (verb == "template")
        words.pattern = word;
    else
        words.paths.emplace_back(word);
}

/// Absolute and without "." in it; links stay as they are. Nothing where there is no current folder any more.
std::optional<std::filesystem::path> absolutePath(const std::string& word) {
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(word, error);
    if (error)
        return std::nullopt;
    std::filesystem::path cleaned;
    for (const auto& part : whole)
        if (part != "." && !part.empty())
            cleaned /= part;
    return cleaned;
}

/// Nothing where the words are right; otherwise what is wrong with them.
std::optional<std::string> fillIn(Options& options, const Words& words, std::string_view verb) {
    const bool checksPattern = verb == "template";
    const WordCount wanted = wordCount(verb, options);
    const std::size_t given = words.paths.size() + words.names.size();
    if (given > wanted.most)
        return "Un argument est inconnu ou en trop.";
    if (given < wanted.least)
        return "Il manque un fichier, un dossier ou un nom.";
    if (checksPattern && words.pattern.empty())
        return "Il manque un modèle.";
    options.names = words.names;
    options.words = words.paths;
    if (auto wrong = takeEngineWords(words.engine, options))
        return wrong;
    for (const std::string& word : words.paths) {
        if (word.empty())
            return "Un chemin est vide.";
        const auto path = absolutePath(word);
        if (!path)
            return "Le dossier courant n'existe plus : donnez des chemins complets.";
        options.paths.push_back(*path);
    }
    if (!words.locale.empty())
        options.locale = Locale{words.locale};
    if (!words.pattern.empty() || checksPattern)
        options.nameTemplate.pattern = words.pattern;
    else if (verb == "name" || verb == "rename")
        options.nameTemplate.pattern = Settings().nameTemplate();
    if (!checksPattern)
        if (const auto valid = options.nameTemplate.validate(); !valid)
            return fmt::format("--template : {}", valid.error().message());
    if (!words.minConfidence.empty()) {
        double confidence = 0;
        if (!CLI::detail::lexical_cast(words.minConfidence, confidence) ||
            !(confidence >= 0 && confidence <= 1))
            return "--min-confidence : un nombre de 0 à 1 est attendu, par exemple 0.6.";
        options.minConfidence = confidence;
    }
    return std::nullopt;
}

/// Does what reads files, once it is sure that they stay on this computer and in their jail.
ExitStatus performReading(const std::string& verb, const Options& options, bool offline, std::ostream& out,
                          std::ostream& err) {
    ReadingSession session(options, err);
    if (!session.begin(offline))
        return ExitStatus::notAllDone;
    if (verb == "read")
        return read(options, session, out);
    if (verb == "model")
        return testModel(options, session, out, err);
    ModelSession model(options, openUsedModel(ModelFolder{}), err);
    return name(options, session, model, out);
}

ExitStatus perform(const std::string& verb, const Options& options, std::ostream& out, std::ostream& err) {
    // Before the first file is touched; what is started later inherits it.
    const bool offline = sandbox::refuseNetwork();
    const bool testsModel = verb == "model" && options.modelAction == ModelAction::test;
    if (verb == "name" || verb == "read" || testsModel)
        return performReading(verb, options, offline, out, err);
    if (verb == "model")
        return manageModels(options, offline, out, err);
    if (const auto status = performEngineVerb(verb, options, offline, {out, err}))
        return *status;
    if (verb == "generic")
        return generic(options, out);
    return checkTemplate(options, out);
}

} // namespace

int run(int argc, char** argv, std::ostream& out, std::ostream& err) {
    CLI::App app{
        "Vesto donne aux fichiers des noms qui disent ce qu'ils contiennent. Tout reste sur cet ordinateur."};
    app.name("vesto");
    app.formatter(frenchFormatter());
    app.set_help_flag("-h,--help", "Affiche cette aide");
    app.set_version_flag("--version", version, "Affiche la version");
    app.require_subcommand(1);

    Words words;
    Options options;
    declareVerbs(app, words, options);
    // What follows "--" is never an option; CLI11 takes that word only where nothing stands before it.
    const auto rest = std::find(argv, argv + argc, std::string_view("--"));
    const int parsed = static_cast<int>(rest - argv);
    try {
        app.parse(parsed, argv);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return static_cast<int>(ExitStatus::done);
    } catch (const CLI::CallForVersion&) {
        out << version << '\n';
        return static_cast<int>(ExitStatus::done);
    } catch (const CLI::ParseError& error) {
        err << "vesto : " << inFrench(error, unknownVerb(app, argc, argv), app) << "\nAide : vesto --help\n";
        return static_cast<int>(ExitStatus::wrongUsage);
    }
    const std::string verb = app.get_subcommands().front()->get_name();
    for (char** word = rest; word < argv + argc; ++word)
        if (word != rest)
            takeWord(words, verb, options, *word);
    if (const auto wrong = fillIn(options, words, verb)) {
        err << "vesto : " << *wrong << '\n';
        return static_cast<int>(ExitStatus::wrongUsage);
    }
    const ExitStatus status = perform(verb, options, out, err);
    out.flush();
    if (!out) {
        err << "vesto : la sortie n'a pas pu être écrite.\n";
        return static_cast<int>(ExitStatus::notAllDone);
    }
    return static_cast<int>(status);
}

} // namespace vesto::cli
