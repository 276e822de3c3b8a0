#include "core/extraction/DocumentPeriodExtractor.h"
#include "core/naming/ConfidenceScorer.h"
#include "core/naming/FallbackNameGenerator.h"
#include "core/naming/GenericNameDetector.h"
#include "core/naming/NameTemplate.h"
#include "core/naming/NamingPolicy.h"
#include "core/naming/TitleMatching.h"
#include "core/support/Assert.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <benchmark/benchmark.h>

#include <optional>
#include <string>
#include <vector>

namespace vesto {
namespace {

constexpr std::size_t textLength = 1500; // grapheme clusters, the most that naming looks at

/// One file as naming sees it: what was read, the name it has, and what a language model would answer.
struct Case {
    ContentSummary summary;
    std::string currentBaseName;
    std::string answer;
    bool isPeriodic = false;
};

ContentSummary summaryOf(std::vector<std::string> lines) {
    ContentSummary summary;
    summary.kind = ContentSummary::Kind::pdf;
    summary.lines = std::move(lines);
    summary.pageCount = 2;
    summary.date = unicode::instantOf({.year = 2026, .month = 3, .day = 9}, "UTC");
    VESTO_ASSERT(unicode::graphemeCount(summary.text()) == textLength);
    return summary;
}

Case plainCase() {
    Case plain;
    plain.currentBaseName = "Compte rendu de la réunion publique sur la halle";
    plain.answer = "Titre : « Compte rendu de l'aménagement de la halle ».";
    plain.summary = summaryOf({
        "Commune de Saint-Aubin-sur-Lège",
        "Compte rendu de la réunion publique",
        "Aménagement de la halle et de la place du marché",
        "Présents : Mme Odile Kerbrat, maire ; M. Yann Le Gall, adjoint à l'urbanisme ; l'atelier Pierre & "
        "Bois, "
        "architectes ; une quarantaine d'habitants.",
        "La séance est ouverte à 18 h 30 dans la salle des fêtes. Le maire rappelle que la halle a été "
        "fermée "
        "après la tempête et que l'assurance prend en charge la moitié de la charpente. Les architectes "
        "présentent deux variantes : la première garde les piliers de fonte et refait la couverture en "
        "ardoise ; la seconde ouvre la façade nord vers la rivière et déplace les étals sous une verrière.",
        "Un commerçant demande combien de temps le marché devra s'installer ailleurs. Réponse : huit mois, "
        "sur "
        "le parking de l'école, avec des branchements d'eau et d'électricité posés par la commune. Une "
        "habitante s'inquiète du bruit des livraisons le matin ; le stationnement des camions sera déplacé "
        "derrière la poste.",
        "Les deux variantes coûtent presque autant : 412 000 € pour la première, 438 500 € pour la seconde, "
        "études comprises. Le conseil municipal choisira après l'avis de l'architecte des bâtiments de "
        "France. Les plans peuvent être consultés en mairie aux heures d'ouverture, et chacun peut laisser "
        "une remarque dans le cahier posé à l'accueil.",
        "M. Le Gall précise que la pente du toit ne change pas et que le pavage de la place, très abîmé "
        "devant "
        "la fontaine, est repris dans les deux cas. Les arbres restent, sauf le tilleul malade. La "
        "réunion s'achève à 20 heures autour d'un verre offert par le comité des fêtes. Prochaine rencontre "
        "quand les devis seront arrivés ; l'invitation sera distribuée dans les boîtes aux lettres et "
        "affichée sur le panneau de la place.",
        "Relevé de décisions joint en annexe, ainsi que les plans des deux variantes et la liste des "
        "remarques.",
    });
    return plain;
}

Case periodicCase() {
    Case periodic;
    periodic.isPeriodic = true;
    periodic.currentBaseName = "document (3)";
    periodic.answer = "Bulletin De Paie Scierie Des Trois Vallées";
    periodic.summary = summaryOf({
        "SCIERIE DES TROIS VALLÉES",
        "12 chemin de la Retenue, 88400 Xonrupt",
        "BULLETIN DE PAIE",
        "Salariée : Jeanne Maurel    Matricule : 00417    Emploi : affûteuse    Échelon : III-2",
        "Entrée le 03/09/2018    Ancienneté : 7 ans 6 mois    Convention : scieries et industries du bois",
        "Période du 01/02/2026 au 28/02/2026    Payé le 05/03/2026 par virement",
        "Désignation    Base    Taux    Montant    Part patronale",
        "Salaire de base    151,67    14,2100    2 155,23",
        "Heures supplémentaires à 25 %    6,50    17,7625    115,46",
        "Prime d'ancienneté    2 155,23    6,0000    129,31",
        "Prime de panier    19    5,2000    98,80",
        "TOTAL BRUT    2 498,80",
        "Santé, complément incapacité    2 498,80    0,4500    11,24    22,49",
        "Sécurité sociale, vieillesse plafonnée    2 498,80    6,9000    172,42    213,65",
        "Sécurité sociale, vieillesse déplafonnée    2 498,80    0,4000    10,00    47,48",
        "Retraite complémentaire, tranche 1    2 498,80    4,0100    100,20    150,18",
        "Assurance chômage    2 498,80    0,0000    0,00    101,20",
        "CSG déductible    2 455,07    6,8000    166,94",
        "CSG et CRDS non déductibles    2 455,07    2,9000    71,20",
        "Allègement de cotisations    -182,47",
        "NET À PAYER AVANT IMPÔT    1 966,80",
        "Impôt sur le revenu prélevé à la source    2 038,00    3,1000    63,18",
        "NET PAYÉ EN EUROS    1 903,62",
        "Congés : acquis 25,00    pris 11,00    solde 14,00    Repos compensateur : 3,25 heures",
        "Cumul brut depuis janvier : 4 987,40    Cumul imposable : 4 071,66    Heures : 316,34",
        "Dans votre intérêt, et pour vous aider à faire valoir vos droits, conservez ce document sans "
        "limitation "
        "de durée. Pour toute question, adressez-vous au bureau du personnel, bâtiment B, du lundi au jeudi "
        "de 9 heures à 16 heures 30.",
    });
    return periodic;
}

/// All the work between reading a file and proposing its name, a model's answer given.
void nameOneFile(benchmark::State& state, const Case& file) {
    const NamingPolicy policy;
    const ConfidenceScorer scorer;
    const Locale locale("fr_FR");
    const NameTemplate nameTemplate = NameTemplate::defaultTemplate();
    const auto months = foldedMonthNames(locale);
    for (auto _ : state) {
        benchmark::DoNotOptimize(GenericNameDetector::isGeneric(file.currentBaseName));
        ContentSummary summary = file.summary;
        const std::string text = summary.text();
        summary.period = DocumentPeriodExtractor::period(text, true);
        VESTO_ASSERT(summary.period.has_value() == file.isPeriodic);

        std::string title = withCasingOf(text, policy.cleanTitle(file.answer), months);
        if (summary.period)
            title = withPeriod(*summary.period, title, locale, policy.maxTitleLength);
        NameTemplate::Context context;
        context.title = title;
        context.date = summary.date;
        context.kind = summary.kind;
        context.originalBaseName = file.currentBaseName;
        context.locale = locale;
        const std::string name = policy.fileName(nameTemplate.render(context, policy), "pdf");
        const double confidence = scorer.score(title, summary, ConfidenceScorer::Source::model);
        VESTO_ASSERT(name.size() > 20 && confidence > 0);
        benchmark::DoNotOptimize(name.data());
    }
}

void plain(benchmark::State& state) {
    nameOneFile(state, plainCase());
}

void periodic(benchmark::State& state) {
    nameOneFile(state, periodicCase());
}

// ---- The steps one by one, to see where the time goes ----

void joinText(benchmark::State& state) {
    const Case file = plainCase();
    for (auto _ : state)
        benchmark::DoNotOptimize(file.summary.text());
}

void isGeneric(benchmark::State& state) {
    const Case file = plainCase();
    for (auto _ : state)
        benchmark::DoNotOptimize(GenericNameDetector::isGeneric(file.currentBaseName));
}

void cleanTitle(benchmark::State& state) {
    const Case file = plainCase();
    const NamingPolicy policy;
    for (auto _ : state)
        benchmark::DoNotOptimize(policy.cleanTitle(file.answer));
}

void casing(benchmark::State& state) {
    const Case file = plainCase();
    const auto months = foldedMonthNames(Locale("fr_FR"));
    const std::string text = file.summary.text();
    const std::string title = NamingPolicy().cleanTitle(file.answer);
    for (auto _ : state)
        benchmark::DoNotOptimize(withCasingOf(text, title, months));
}

void period(benchmark::State& state) {
    const std::string text = (state.range(0) == 0 ? plainCase() : periodicCase()).summary.text();
    for (auto _ : state)
        benchmark::DoNotOptimize(DocumentPeriodExtractor::period(text, true));
}

void score(benchmark::State& state) {
    const Case file = plainCase();
    const ConfidenceScorer scorer;
    const std::string title = NamingPolicy().cleanTitle(file.answer);
    for (auto _ : state)
        benchmark::DoNotOptimize(scorer.score(title, file.summary, ConfidenceScorer::Source::model));
}

void render(benchmark::State& state) {
    const NamingPolicy policy;
    NameTemplate::Context context;
    context.title = "Compte rendu de l’aménagement de la halle";
    context.date = unicode::instantOf({.year = 2026, .month = 3, .day = 9}, "UTC");
    for (auto _ : state)
        benchmark::DoNotOptimize(
            policy.fileName(NameTemplate::defaultTemplate().render(context, policy), "pdf"));
}

void fallback(benchmark::State& state) {
    const Case file = plainCase();
    for (auto _ : state)
        benchmark::DoNotOptimize(FallbackNameGenerator().propose(file.summary));
}

BENCHMARK(plain)->Name("naming/plain")->Unit(benchmark::kMicrosecond);
BENCHMARK(periodic)->Name("naming/periodic")->Unit(benchmark::kMicrosecond);
BENCHMARK(joinText)->Name("naming/step/text")->Unit(benchmark::kMicrosecond);
BENCHMARK(isGeneric)->Name("naming/step/isGeneric")->Unit(benchmark::kMicrosecond);
BENCHMARK(cleanTitle)->Name("naming/step/cleanTitle")->Unit(benchmark::kMicrosecond);
BENCHMARK(casing)->Name("naming/step/casing")->Unit(benchmark::kMicrosecond);
BENCHMARK(period)
    ->Name("naming/step/period")
    ->ArgName("periodic")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(score)->Name("naming/step/score")->Unit(benchmark::kMicrosecond);
BENCHMARK(render)->Name("naming/step/render")->Unit(benchmark::kMicrosecond);
BENCHMARK(fallback)->Name("naming/step/fallback")->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace vesto
