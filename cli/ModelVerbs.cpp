#include "cli/Messages.h"
#include "cli/ModelSession.h"
#include "cli/Report.h"
#include "cli/SpokenWords.h"
#include "cli/Targets.h"
#include "cli/Verbs.h"
#include "core/naming/NamingPipeline.h"
#include "core/support/Text.h"
#include "services/client/ModelNotes.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <ostream>
#include <string_view>
#include <utility>

namespace vesto::cli {
namespace {

using Code = NameGenerationError::Code;

/// Long enough for a model that is too slow to be measured.
constexpr std::chrono::seconds trialTimeout{60};

/// Passes on what a generator says and keeps it.
class Witness final : public TitleGenerating {
public:
    explicit Witness(std::shared_ptr<TitleGenerating> generator)
        : m_generator(std::move(generator)) {}

    std::expected<std::string, NameGenerationError> title(const ContentSummary& summary,
                                                          std::stop_token stop) override {
        const auto start = systemClock().sinceBoot();
        last = m_generator->title(summary, std::move(stop));
        time = systemClock().sinceBoot() - start;
        return last;
    }

    std::expected<std::string, NameGenerationError> last;
    Seconds time{0};

private:
    std::shared_ptr<TitleGenerating> m_generator;
};

/// Why there was no title, in French.
std::string reasonOf(const NameGenerationError& error) {
    switch (error.code) {
    case Code::modelUnavailable:
        return error.message;
    case Code::timeout:
        return std::string(text("pas de réponse dans le délai"));
    case Code::busy:
        return std::string(text("le modèle finit encore la réponse d'avant"));
    case Code::nothingToPropose:
    case Code::cancelled:
    case Code::platform: // the engine's own words are for the log
        break;
    }
    return std::string(text("le modèle n'a pas donné de titre, ou le texte dépasse son contexte"));
}

std::string tokensWords(std::uint32_t count) {
    return fmt::format("{} {}", count, count > 1 ? text("jetons") : text("jeton"));
}

/// "Qwen2.5 0.5B Instruct, qwen2, 0,5 milliard de paramètres", as far as it is known.
std::string factsWords(const LocalModel::Facts& facts) {
    std::string words = printable(facts.name.empty() ? std::string(text("modèle sans nom")) : facts.name);
    if (!facts.architecture.empty())
        words += ", " + printable(facts.architecture);
    if (const std::uint64_t millions = (facts.parameters + 500'000) / 1'000'000; millions > 0)
        words += fmt::format(", {} M {}", millions, text("de paramètres"));
    return words;
}

ExitStatus refuse(std::ostream& err, std::string_view name, std::string_view why) {
    err << printable(name) << " : " << printable(why) << '\n';
    return ExitStatus::notAllDone;
}

/// A bill such as everybody has, for a first try.
ContentSummary trialSummary() {
    return {.kind = ContentSummary::Kind::pdf,
            .lines = {"Énergie du Val", "Facture d'électricité", "Facture n° 20458", "Montant TTC 84,20 €"},
            .pageCount = 2,
            .period = DocumentPeriodExtractor::Period{.month = 10, .year = 2026}};
}

/// How long a title takes here, as it was measured; 0 where it was not.
Seconds secondsPerTitle(const ModelFolder& models, const ModelFolder::Model& model) {
    const auto file = openModelFile(models.pathOf(model));
    const auto note =
        file ? ModelNotes(models.notesPath()).of(model.name, file->identity) : std::optional<ModelNote>();
    return note ? note->perTitle : Seconds(0);
}

void show(const ModelFolder& models, const ModelFolder::Model& model, bool isSpeech, bool isUsed,
          const Options& options, std::ostream& out) {
    const Seconds perTitle = isSpeech ? Seconds(0) : secondsPerTitle(models, model);
    if (options.json) {
        Json record;
        record["name"] = model.name;
        record["bytes"] = model.bytes;
        record["link"] = model.isLink;
        record["used"] = isUsed;
        record["kind"] = isSpeech ? "speech" : "language";
        if (perTitle.count() > 0)
            record["secondsPerTitle"] = perTitle.count();
        out << writeJson(record) << '\n';
        return;
    }
    out << printable(model.name) << ", " << sizeWords(model.bytes);
    if (model.isLink)
        out << text(model.bytes == 0 ? ", lien rompu" : ", lien");
    if (perTitle.count() > 0)
        out << ", " << secondsWords(perTitle) << ' ' << text("par titre");
    if (isUsed)
        out << (isSpeech ? text(" : transcrit la parole") : text(" : c'est lui qui sert"));
    out << '\n';
}

/// All models, or the one that is called `only`.
ExitStatus list(const ModelFolder& models, const Options& options, std::ostream& out,
                std::string_view only = {}) {
    const auto all = models.models();
    const auto used = models.used();
    const auto speech = models.speech();
    for (const ModelFolder::Model& model : all)
        if (only.empty() || model.name == only)
            show(models, model, false, models.isEnabled() && used == model, options, out);
    if (speech && (only.empty() || speech->name == only))
        show(models, *speech, true, speech->bytes > 0, options, out);
    if (options.json)
        return ExitStatus::done;
    if (all.empty() && !speech)
        out << text("Aucun modèle. « vesto model add FICHIER » en ajoute un : GGUF pour les titres, "
                    "whisper.cpp pour la parole.")
            << '\n';
    else if (!models.isEnabled())
        out << text("Le modèle est hors service. « vesto model on » le remet en service.") << '\n';
    return ExitStatus::done;
}

/// What is to be noted of the model in this file, if it gives a title here; says how long that takes.
std::optional<ModelNote> tryModel(const std::filesystem::path& file, const std::string& name,
                                  const Options& options, std::ostream& out, std::ostream& err) {
    ModelSession session(options, openModel(file), err, ModelSession::Wait{}, trialTimeout);
    const auto generator = session.generator();
    if (!generator) {
        refuse(err, name, session.unavailableBecause());
        return std::nullopt;
    }
    Witness witness(generator);
    const auto title = witness.title(trialSummary(), {});
    if (!title) {
        refuse(err, name, reasonOf(title.error()));
        if (options.verbose && title.error().code != Code::modelUnavailable && !title.error().message.empty())
            err << text("Le moteur dit : ") << printable(title.error().message) << '\n';
        return std::nullopt;
    }
    const LocalModel::Facts facts = session.facts();
    out << printable(name) << " : " << factsWords(facts) << '\n'
        << text("Essai : ") << printable(*title) << " (" << tokensWords(facts.lastTokens) << ", "
        << secondsWords(witness.time) << ")\n";
    if (witness.time > FoundationNameGenerator::defaultTimeout)
        out << text("C'est trop lent pour cet ordinateur : au-delà de 8 secondes, le titre vient des "
                    "premières "
                    "lignes. Un modèle plus petit conviendra mieux.")
            << '\n';
    ModelNote note{.name = facts.name,
                   .architecture = facts.architecture,
                   .parameters = facts.parameters,
                   .languages = facts.languages};
    note.measured(witness.time);
    return note;
}

ExitStatus add(const ModelFolder& models, const Options& options, std::ostream& out, std::ostream& err) {
    const std::filesystem::path& file = options.paths.front();
    const auto name = models.nameFor(file);
    if (!name)
        return refuse(err, shownName(file), name.error().message());
    const bool isSpeech = *name == ModelFolder::speechName;
    std::ostream silent(nullptr); // programs are told once, at the end
    std::ostream& words = options.json ? silent : out;
    auto note = isSpeech ? std::nullopt : tryModel(file, *name, options, words, err);
    if (isSpeech ? !trySpeech(file, words, err) : !note)
        return ExitStatus::notAllDone;
    const bool isFirst = !models.used();
    const auto added = models.add(file, options.link ? ModelFolder::Way::link : ModelFolder::Way::copy);
    if (!added)
        return refuse(err, *name, added.error().message());
    words << printable(*added) << text(" : ajouté.") << '\n';
    if (isSpeech) {
        words << text("La parole des enregistrements et des films est transcrite.") << '\n';
    } else {
        if (const auto copy = openModelFile(models.path() / *added)) {
            note->identity = copy->identity;
            ModelNotes(models.notesPath()).keep(*added, *note);
        }
        // Chosen by name, so that a later one does not take its place by the alphabet.
        if (isFirst && models.use(*added))
            words << text(models.isEnabled() ? "C'est lui qui sert." : "Il servira après : vesto model on")
                  << '\n';
        else
            words << text("Pour qu'il serve : ") << "vesto model use '" << printable(*added) << "'\n";
    }
    return options.json ? list(models, options, out, *added) : ExitStatus::done;
}

ExitStatus use(const ModelFolder& models, const std::string& name, const Options& options, std::ostream& out,
               std::ostream& err) {
    if (const auto result = models.use(name); !result)
        return refuse(err, name, result.error().message());
    if (const auto used = models.used(); used && options.json)
        return list(models, options, out, used->name);
    out << printable(name)
        << text(models.isEnabled() ? " : c'est lui qui sert." : " : il servira après « vesto model on ».")
        << '\n';
    return ExitStatus::done;
}

ExitStatus remove(const ModelFolder& models, const std::string& name, const Options& options,
                  std::ostream& out, std::ostream& err) {
    if (const auto result = models.remove(name); !result)
        return refuse(err, name, result.error().message());
    if (options.json)
        out << writeJson(Json{{"name", name}, {"outcome", "removed"}}) << '\n';
    else
        out << printable(name) << text(" : retiré.") << '\n';
    return ExitStatus::done;
}

ExitStatus setEnabled(const ModelFolder& models, bool enabled, const Options& options, std::ostream& out,
                      std::ostream& err) {
    if (const auto result = models.setEnabled(enabled); !result)
        return refuse(err, text("Modèle"), result.error().message());
    if (options.json)
        out << writeJson(Json{{"enabled", enabled}}) << '\n';
    else
        out << text("Modèle") << text(enabled ? " : en service." : " : hors service.") << '\n';
    return ExitStatus::done;
}

} // namespace

ExitStatus manageModels(const Options& options, bool offline, std::ostream& out, std::ostream& err) {
    const ModelFolder models;
    if (models.path().is_relative())
        return refuse(err, "vesto", text("ce système ne connaît pas votre dossier personnel."));
    const std::string name = options.names.empty() ? std::string() : options.names.front();
    switch (options.modelAction) {
    case ModelAction::list:
        return list(models, options, out);
    case ModelAction::add:
        if (!offline)
            return refuse(err, "vesto", text("ce noyau ne sait pas filtrer les appels système (seccomp)."));
        return add(models, options, out, err);
    case ModelAction::remove:
        return remove(models, name, options, out, err);
    case ModelAction::use:
        return use(models, name, options, out, err);
    case ModelAction::enable:
    case ModelAction::disable:
        return setEnabled(models, options.modelAction == ModelAction::enable, options, out, err);
    case ModelAction::test:
        break; // reads files: testModel
    }
    return ExitStatus::wrongUsage;
}

ExitStatus testModel(const Options& options, ReadingSession& session, std::ostream& out, std::ostream& err) {
    const ModelFolder models;
    ModelSession modelSession(options, openUsedModel(models), err);
    const auto generator = modelSession.generator();
    if (!generator)
        return refuse(err, text("Modèle"), modelSession.unavailableBecause());
    const auto witness = std::make_shared<Witness>(generator);
    const Summarizer summarizer = session.summarizer();
    const NamingPipeline withModel(summarizer, witness, options.nameTemplate, options.locale, NamingPolicy{});
    const NamingPipeline without(summarizer, nullptr, options.nameTemplate, options.locale, NamingPolicy{});

    const Targets targets = targetsOf(options.paths);
    Report report(options, out);
    report.folders(targets);
    for (const Target& target : targets.files) {
        if (!report.heard())
            break;
        session.tellStart(target.path);
        Json record;
        record["path"] = target.path.native();
        const auto summary = summarizer.summarize(target.path);
        if (!summary) {
            session.tellWhetherReaderRuns();
            record["error"] = summary.error().name();
            report.refused(target.path, messageOf(summary.error()), record);
            continue;
        }
        const auto title = withModel.titleOf(*summary);
        const auto fallback = without.titleOf(*summary);
        const bool isModels = title && title->source == ConfidenceScorer::Source::model;
        const std::string fallbackText = fallback ? fallback->text : std::string(text("aucun titre"));
        const std::uint32_t tokens = modelSession.facts().lastTokens;
        const std::string more =
            fmt::format("{}, {} ; {} {}", tokensWords(tokens), secondsWords(witness->time),
                        text("sans le modèle :"), printable(fallbackText));
        record["seconds"] = witness->time.count();
        if (fallback)
            record["fallback"] = fallback->text;
        if (isModels) {
            record["title"] = title->text;
            record["tokens"] = tokens;
            report.done(target.path, title->text, more, record);
        } else {
            const std::string why = witness->last
                                        ? std::string(text("rien d'utilisable dans le titre du modèle"))
                                        : reasonOf(witness->last.error());
            record["reason"] = why;
            report.refused(target.path, why, record,
                           fmt::format("{} ; {} {}", secondsWords(witness->time), text("sans le modèle :"),
                                       printable(fallbackText)));
        }
    }
    return report.status();
}

} // namespace vesto::cli
