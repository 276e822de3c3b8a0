#include "app/model/Batch.h"
#include "core/files/ProcessedMarker.h"
#include "tests/app/support/World.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

std::vector<std::string> linesOf(const Batch& batch) {
    std::vector<std::string> lines;
    for (const BatchLine& line : batchLines(batch))
        lines.push_back(line.text);
    return lines;
}

TEST(BatchThreads, AnalysesRenamesAndUndoes) {
    World world;
    const auto mark = [&](std::string_view name, ProcessedMarker::State state) {
        ASSERT_TRUE(
            ProcessedMarker::write(write(world.folder / name, "Texte déjà vu"), state, name, Instant{}));
    };
    write(world.folder / "scan0001.txt", "Facture EDF octobre Montpellier");
    write(world.folder / "scan0002.txt", "Devis de toiture Montpellier");
    write(world.folder / "scan0003.txt", "rien");
    write(world.folder / "scan0004.txt", "illisible");
    write(world.folder / "Vacances en Bretagne.txt", "Plan de route");
    write(world.folder / "film.part", "");
    mark("scan0005.txt", ProcessedMarker::State::skipped);
    mark("scan0006.txt", ProcessedMarker::State::ignored);
    std::filesystem::create_directory(world.folder / "Archives");
    std::filesystem::create_directory(world.folder / ".cache");
    ASSERT_TRUE(world.settings.setAutoThreshold(0.55));
    world.start(AppModel::Watching::none);

    const std::string id = world.model->startBatch(world.folder.path());
    EXPECT_EQ(batchStatus(*world.model->batch()), "Analyse en cours…");
    ASSERT_TRUE(world.eventually([&] { return !world.model->batch()->isAnalysing(); }));
    const Batch& batch = *world.model->batch();
    EXPECT_EQ(linesOf(batch),
              (std::vector<std::string>{
                  "Nom déjà parlant : 1 fichier", "Sans résultat lors d'un passage précédent : 1 fichier",
                  "Sans titre exploitable, texte illisible ou trop pauvre : 1 fichier",
                  "Déjà traité par Vesto (renommage, annulation ou refus) : 1 fichier",
                  "Sous-dossiers non parcourus, à ajouter comme dossiers surveillés : 1 fichier"}));
    ASSERT_EQ(batch.items.size(), 2);
    EXPECT_EQ(batch.selectedCount(), 2);

    world.model->analyseAlso(AlsoAnalyse::wellNamed);
    world.model->analyseAlso(AlsoAnalyse::noTitleBefore);
    ASSERT_TRUE(world.eventually([&] { return world.model->batch()->items.size() == 4; }));
    EXPECT_EQ(linesOf(batch).size(), 3);

    world.model->setItemTitle(batch.items[1].proposal.id, "  ");
    world.model->setItemsSelected({batch.items[2].proposal.id}, false);
    world.model->setItemTitle(batch.items[3].proposal.id, "Mon titre");
    world.model->setItemsSelected({batch.items[3].proposal.id}, true);
    bool isDone = false;
    world.model->renameSelected([&] { isDone = true; });
    ASSERT_TRUE(world.eventually([&] { return isDone; }));
    EXPECT_EQ(batch.items[0].state,
              decltype(Batch::Item::state)(Batch::Renamed{"Facture EDF octobre Montpellier.txt"}));
    EXPECT_EQ(batch.items[1].state, decltype(Batch::Item::state)(Batch::Failed{"Titre vide."}));
    EXPECT_TRUE(batch.items[2].isProposed());
    EXPECT_EQ(batch.items[3].state, decltype(Batch::Item::state)(Batch::Renamed{"Mon titre.txt"}));
    const auto records = world.store->batch(id);
    ASSERT_TRUE(records);
    EXPECT_EQ(records->size(), 2);

    isDone = false;
    std::filesystem::remove(world.folder / "Mon titre.txt"); // one failure stops no other
    const std::size_t errorsBefore = world.errors.size();
    world.model->undoBatch(id, [&] { isDone = true; });
    EXPECT_TRUE(batch.isUndoing);
    world.model->undoBatch(id); // pressed twice
    ASSERT_TRUE(world.eventually([&] { return isDone; }));
    EXPECT_FALSE(batch.isUndoing);
    EXPECT_EQ(world.errors.size(), errorsBefore + 1);
    EXPECT_EQ(world.errors.back(), "Annulation impossible : Le fichier n'existe plus.");
    EXPECT_TRUE(namesIn(world.folder.path()).contains("scan0001.txt"));
    EXPECT_TRUE(batch.items[0].isProposed()); // again, for who thinks better of it
    EXPECT_FALSE(batch.items[0].selected);
    EXPECT_FALSE(batch.items[3].isProposed());
}

TEST(BatchThreads, RenamesNothingButWhatWasTickedWhenItWasAsked) {
    World world;
    for (const char* name : {"scan0001.txt", "scan0002.txt", "scan0003.txt"})
        write(world.folder / name, "Facture EDF octobre Montpellier");
    world.start(AppModel::Watching::none);
    world.model->startBatch(world.folder.path());
    ASSERT_TRUE(world.eventually([&] { return !world.model->batch()->isAnalysing(); }));
    const Batch& batch = *world.model->batch();
    ASSERT_EQ(batch.items.size(), 3);
    const auto select = [&](std::size_t item, bool isSelected) {
        world.model->setItemsSelected({batch.items[item].proposal.id}, isSelected);
    };
    for (const std::size_t item : {0U, 1U})
        select(item, true);
    select(2, false);
    bool isDone = false;
    world.model->renameSelected([&] { isDone = true; }); // the first is on its way
    select(1, false);
    select(2, true); // to think about it
    ASSERT_TRUE(world.eventually([&] { return isDone; }));
    EXPECT_TRUE(std::holds_alternative<Batch::Renamed>(batch.items[0].state));
    EXPECT_TRUE(batch.items[1].isProposed());
    EXPECT_TRUE(batch.items[2].isProposed());
    EXPECT_EQ(batch.selectedCount(), 1);
    EXPECT_FALSE(batch.isRenaming);
}

TEST(BatchThreads, SkipsTheRestOnceItIsClosed) {
    World world;
    for (int number = 0; number < 20; ++number)
        write(world.folder / ("scan" + std::to_string(number) + ".txt"), "Facture EDF octobre Montpellier");
    world.start(AppModel::Watching::none);
    world.reading->isHeld = true;
    world.model->startBatch(world.folder.path());
    ASSERT_TRUE(world.eventually([&] { return world.reading->count == 1; }));
    world.model->closeBatch();
    world.reading->isHeld = false;
    ASSERT_TRUE(world.eventually([&] { return world.isQuiet(); }));
    EXPECT_EQ(world.reading->count, 1);
    EXPECT_EQ(world.model->batch(), nullptr);

    world.model->startBatch(world.home / "nulle part");
    ASSERT_TRUE(world.eventually([&] { return world.model->batch() == nullptr; }));
    EXPECT_EQ(world.errors, std::vector<std::string>{"Accès perdu à « nulle part ». Ajoutez-le à nouveau."});
}

TEST(BatchThreads, SaysWhatIsWrongWithAFolder) {
    World world;
    world.start(AppModel::Watching::none);
    const auto inner = world.folder / "Dedans";
    std::filesystem::create_directory(inner);
    std::filesystem::create_directory_symlink(world.folder.path(), world.home / "lien");
    write(world.home / "fichier", "");
    using Kind = FolderNote::Kind;
    struct Row {
        std::filesystem::path path;
        std::vector<Kind> notes;
        bool isAdded;
    };
    const std::vector<Row> rows{{world.folder.path(), {}, true},
                                {world.folder.path() / "", {Kind::alreadyWatched}, false},
                                {world.home / "lien", {Kind::alreadyWatched}, false},
                                {inner, {Kind::insideAnother}, true},
                                {world.home / "fichier", {Kind::notFolder}, false},
                                {world.home / "rien", {Kind::missing}, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        std::optional<std::vector<Kind>> kinds;
        bool isAdded = false;
        world.model->addFolder(row.path, [&](const auto& folder, const std::vector<FolderNote>& notes) {
            kinds.emplace();
            for (const FolderNote& note : notes)
                kinds->push_back(note.kind);
            isAdded = folder.has_value();
        });
        ASSERT_TRUE(world.eventually([&] { return kinds.has_value(); }));
        EXPECT_EQ(*kinds, row.notes);
        EXPECT_EQ(isAdded, row.isAdded);
    }
    EXPECT_EQ(namesIn(world.folder.path()), std::set<std::string>{"Dedans"}); // the probe is gone

    // What a look left when it was killed goes, but for what is not its own, or may be under way.
    using std::filesystem::file_time_type;
    for (const char* name : {".vesto-probe-1", ".vesto-probe-2", ".vesto-probe-3"}) {
        std::filesystem::create_directory(inner / name);
        write(inner / name / "renamed", "");
    }
    write(inner / ".vesto-probe-2" / "lettre.txt", "");
    for (const char* name : {".vesto-probe-1", ".vesto-probe-2"})
        std::filesystem::last_write_time(inner / name, file_time_type::clock::now() - std::chrono::hours(1));
    world.disk.refusesAttributes = true;
    const auto notes = checkDiskOf(inner, world.disk);
    EXPECT_EQ(namesIn(inner), (std::set<std::string>{".vesto-probe-2", ".vesto-probe-3"}));
    EXPECT_EQ(namesIn(inner / ".vesto-probe-2"), std::set<std::string>{"lettre.txt"});
    ASSERT_EQ(notes.size(), 1);
    EXPECT_EQ(notes.front().kind, Kind::noAttributes);
}

} // namespace
} // namespace vesto
