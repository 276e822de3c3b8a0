#include "app/model/AnalysisEstimate.h"
#include "app/model/EvidenceSheet.h"
#include "app/model/FolderState.h"
#include "app/model/TemplateDraft.h"
#include "core/support/UnicodeDates.h"
#include "tests/app/support/World.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vesto {
namespace {

using namespace std::chrono_literals;

std::vector<std::string> linesOf(const EvidenceSheet& sheet) {
    std::vector<std::string> lines;
    for (const EvidenceLine& line : sheet.lines) {
        lines.push_back(line.text());
        for (const std::string_view mark : {"\u2068", "\u2069"}) // which nobody sees
            for (std::size_t at = lines.back().find(mark); at != std::string::npos;
                 at = lines.back().find(mark))
                lines.back().erase(at, mark.size());
    }
    return lines;
}

Proposal proposed(std::string title, ConfidenceScorer::Source source, double confidence,
                  ContentSummary summary) {
    Proposal proposal;
    proposal.title = std::move(title);
    proposal.source = source;
    proposal.confidence = confidence;
    proposal.summary = std::move(summary);
    return proposal;
}

TEST(EvidenceSheet, SaysWhatWasFoundWhere) {
    const ContentSummary lease{
        .lines = {"CONTRAT DE LOCATION", "chambre\tmeublée\u202E", "Lyon, le 12/03/2026"},
        .documentTitle = "Bail"};
    ContentSummary scan = lease;
    scan.textFromOCR = true;
    ContentSummary statement = lease;
    statement.period = {3, 2026};
    using Source = ConfidenceScorer::Source;
    struct Row {
        Proposal proposal;
        std::string title; // empty: the proposal's
        std::vector<std::string> sentences;
        std::vector<std::string> lines;
    };
    const std::vector<Row> rows{
        {proposed("Contrat meublé Bellecour mars", Source::model, 0.84, lease),
         "",
         {"3 mots du titre sur 4 retrouvés dans le texte du fichier"},
         {"Contrat «\u00A0CONTRAT DE LOCATION\u00A0» · ligne 1",
          "meublé proche de «\u00A0meublée\u00A0» · ligne 2", "Bellecour absent du texte",
          "mars date «\u00A012/03/2026\u00A0» · ligne 3"}},
        {proposed("Contrat", Source::fallback, 0.55, scan),
         "",
         {"1 mot du titre sur 1 retrouvé dans le texte du fichier",
          "Titre pris dans le texte lu : confiance plafonnée à 55 %"},
         {"Contrat «\u00A0CONTRAT DE LOCATION\u00A0» · ligne 1 · texte reconnu"}},
        {proposed("Contrat", Source::fallback, 0.55, statement),
         "Bail chambre mars",
         {"2 mots du titre sur 2 retrouvés dans le texte du fichier"},
         {"Bail «\u00A0Bail\u00A0» · titre des métadonnées",
          "chambre «\u00A0chambre meublée\u00A0» · ligne 2", "mars période détectée, non comptée"}},
        {proposed("De la", Source::model, 0.35, lease), "", {"Aucun mot du titre ne peut être vérifié"}, {}},
        {proposed("Chat", Source::model, 0.52, {.labels = {{"cat", 0.92}}}),
         "",
         {"Trop peu de texte dans ce fichier pour vérifier le titre"},
         {"cat reconnu dans l'image · 92\u202F%"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.proposal.title + " " + row.title);
        const bool isEdited = !row.title.empty();
        const EvidenceSheet sheet = evidenceSheet(row.proposal, isEdited ? row.title : row.proposal.title);
        EXPECT_EQ(sheet.sentences, row.sentences);
        EXPECT_EQ(linesOf(sheet), row.lines);
        EXPECT_EQ(sheet.confidence, isEdited ? std::nullopt : std::optional(row.proposal.confidence));
    }
}

TEST(AnalysisEstimate, FallsFreelyAndRisesSeldom) {
    AnalysisEstimate estimate;
    struct Step {
        std::size_t analysed;
        std::chrono::nanoseconds now;
        std::optional<std::chrono::seconds> left;
    };
    const std::vector<Step> steps{
        {0, 0s, {}},    {4, 12s, {}}, // too few
        {6, 18s, 282s},               // 3 s a file, 94 to go
        {7, 20s, 265s},               // falls
        {8, 26s, 265s},               // would rise, but it was set eight seconds ago
        {9, 31s, 313s},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.analysed);
        estimate.update(step.analysed, 100, step.now);
        EXPECT_EQ(estimate.left(), step.left);
    }
    estimate.update(100, 100, 80s);
    EXPECT_EQ(estimate.left(), std::nullopt);

    AnalysisEstimate quick;
    for (std::size_t file = 0; file <= 6; ++file)
        quick.update(file, 1'000, file * 100ms);
    EXPECT_EQ(quick.left(), std::nullopt); // ten seconds are not over
}

TEST(AnalysisEstimate, IsSaidInRoundNumbers) {
    const std::vector<std::pair<std::chrono::seconds, std::string>> rows{
        {0s, "moins d'une minute"},
        {29s, "moins d'une minute"},
        {31s, "encore 1\u00A0min environ"},
        {150s, "encore 3\u00A0min environ"},
        {3'569s, "encore 59\u00A0min environ"},
        {3'590s, "encore 1\u00A0h environ"},
        {4'200s, "encore 1\u00A0h\u00A010 environ"},
        {7'100s, "encore 2\u00A0h environ"},
    };
    for (const auto& [left, words] : rows)
        EXPECT_EQ(timeLeftWords(left), words) << left.count();
}

TEST(TemplateDraft, IsKeptOnceItIsValid) {
    const TestFolder folder;
    const Settings settings{SettingsFile(folder / "vesto.conf")};
    const Instant now = unicode::instantOf({.year = 2026, .month = 11, .day = 21}).value();
    const auto take = [&](std::string_view pattern) {
        return takeTemplateDraft(pattern, settings, Locale("fr_FR"), now);
    };
    TemplateDraft draft = take("{date:yyyy-MM-dd} {title}");
    EXPECT_TRUE(draft.isDefault);
    EXPECT_EQ(draft.example, "2026-11-21 Facture EDF octobre 2026");
    draft = take("{kind} {title} {original}");
    EXPECT_FALSE(draft.isDefault);
    EXPECT_EQ(draft.example, "Document Facture EDF octobre 2026 FDP-0502");
    for (const auto& [pattern, error] :
         std::vector<std::pair<std::string, std::string>>{{"{titel}", "Jeton inconnu : {titel}."},
                                                          {"{kind}", "Le modèle doit contenir {title}."},
                                                          {"", "Le modèle doit contenir {title}."},
                                                          {"{title", "Accolades non appariées."}}) {
        draft = take(pattern);
        EXPECT_EQ(draft.error, error);
        EXPECT_EQ(draft.example, "Document Facture EDF octobre 2026 FDP-0502"); // what counts still
        EXPECT_EQ(settings.nameTemplate(), "{kind} {title} {original}");
    }
    std::filesystem::remove(folder / "vesto.conf");
    std::filesystem::create_directory(folder / "vesto.conf");
    EXPECT_NE(take("{title}").saveError, 0);
}

TEST(FolderStateThreads, SaysWhyAFolderIsNotWatched) {
    World world;
    const std::filesystem::path place = world.home / "Numérisations";
    std::filesystem::create_directory(place);
    world.start();
    const std::string id = world.watch(place).id;
    const auto state = [&] { return folderState(*world.model, world.model->folders().front()); };
    EXPECT_EQ(state(), (FolderState{FolderState::Kind::path, place.native()}));
    const auto withDisk = [&](const std::vector<FolderNote>& notes) {
        return folderState(*world.model, world.model->folders().front(), notes);
    };
    using Note = FolderNote::Kind;
    EXPECT_EQ(
        withDisk({{Note::noAttributes, "Sans attributs."}}),
        (FolderState{FolderState::Kind::note, place.native(), "disque sans attributs", "Sans attributs."}));
    EXPECT_EQ(withDisk({{Note::noAttributes, "Sans attributs."}, {Note::noSafeRename, "Risque."}}),
              (FolderState{FolderState::Kind::caution, "Disque sans renommage sûr : rien n'y sera renommé",
                           "", "Sans attributs.\nRisque."}));
    EXPECT_EQ(withDisk({{Note::readOnly, "Seule."}}).text, "Lecture seule : rien n'y sera renommé");
    std::filesystem::remove(place);
    ASSERT_TRUE(world.eventually([&] { return world.model->folderTrouble(id).has_value(); }));
    const FolderState missing{FolderState::Kind::caution, "Surveillance arrêtée : dossier introuvable"};
    EXPECT_EQ(state(), missing);
    std::filesystem::create_directory(world.home / "place"); // so that the inode is another one
    std::filesystem::create_directory(place);
    ASSERT_TRUE(world.eventually([&] { return state() != missing; }));
    EXPECT_EQ(state().text, "Surveillance arrêtée : un autre dossier est à sa place");
    world.model->setPaused(true);
    EXPECT_EQ(state().kind, FolderState::Kind::path);
    world.model->setPaused(false);
    world.model->setEnabled(id, false);
    EXPECT_EQ(state().kind, FolderState::Kind::path);
}

} // namespace
} // namespace vesto
