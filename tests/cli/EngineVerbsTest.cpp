#include "core/files/ProcessedMarker.h"
#include "services/client/ControlClient.h"
#include "services/client/EngineLock.h"
#include "tests/cli/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <fstream>

namespace vesto::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

constexpr std::string_view invoice =
    "Facture d'électricité\nÉnergie du Val\nDate de facture : 12/10/2026\nMontant 84,20 €\n";
constexpr std::string_view lease = "Contrat de location meublée\nentre les soussignés\n";
constexpr const char* leaseName = "Contrat de location meublée.txt";

/// The records that a verb prints with --json; it must end with `status`.
std::vector<Json> ask(std::vector<std::string> words, int status = 0) {
    words.emplace_back("--json");
    const RunResult run = runVesto(words);
    EXPECT_EQ(run.status, status) << testing::PrintToString(words) << run.out << run.err;
    return objects(run.out);
}

/// An id as somebody may type it.
std::string upper(std::string id) {
    for (char& letter : id)
        if (letter >= 'a' && letter <= 'f')
            letter = static_cast<char>(letter - 'a' + 'A');
    return id;
}

std::vector<std::string> outcomes(const std::vector<Json>& records) {
    std::vector<std::string> result;
    result.reserve(records.size());
    for (const Json& record : records)
        result.push_back(record.value("outcome", record.value("status", "")));
    return result;
}

/// A profile whose names are the title alone, and a folder to watch.
class EngineVerbs : public testing::Test {
protected:
    EngineVerbs() { (void)ask({"settings", "set", "template", "{title}"}); }

    [[nodiscard]] std::string watched() const { return m_folder.path().native(); }
    /// A file that arrives: what it is about, in a folder that is watched.
    void arrive(const char* name, std::string_view content) const {
        const fs::path beside = m_folder.path().native() + "-" + name;
        std::ofstream(beside, std::ios::binary) << content;
        fs::rename(beside, m_folder.path() / name);
    }

    Profile m_profile;
    Folder m_folder;
};

TEST_F(EngineVerbs, WatchesProposesObeysAndStopsCleanly) {
    RunningVesto engine({"watch", "--json", watched()});
    ASSERT_TRUE(engine.says(R"("event":"watching")")) << engine.out();
    const auto folder = ask({"folders", "list"});
    ASSERT_EQ(folder.size(), 1U);
    EXPECT_EQ(folder[0].value("path", ""), watched());
    EXPECT_EQ(folder[0].value("mode", ""), "events");
    EXPECT_FALSE(folder[0].value("automatic", true));

    arrive("scan0001.txt", lease);
    ASSERT_TRUE(engine.says(R"("event":"proposed")")) << engine.out();
    auto waiting = ask({"pending"});
    ASSERT_EQ(waiting.size(), 1U);
    EXPECT_EQ(waiting[0].value("fileName", ""), leaseName);
    const std::string id = waiting[0].value("id", "");
    EXPECT_THAT(outcomes(ask({"accept", id.substr(0, 4), "--title", "  "}, 1)), ElementsAre("error"));
    EXPECT_THAT(outcomes(ask({"accept", id.substr(0, 4)})), ElementsAre("renamed"));
    EXPECT_THAT(m_folder.names(), ElementsAre(leaseName));
    EXPECT_TRUE(engine.says(R"("event":"renamed")"));
    EXPECT_THAT(outcomes(ask({"accept", id}, 1)), ElementsAre("rejected")); // no longer waits
    EXPECT_THAT(outcomes(ask({"history", "--search", "LOCATION"})), ElementsAre("done"));
    EXPECT_THAT(ask({"history", "--search", "absent"}, 1), IsEmpty());
    EXPECT_THAT(outcomes(ask({"undo", "--last"})), ElementsAre("undone"));
    EXPECT_THAT(m_folder.names(), ElementsAre("scan0001.txt"));
    EXPECT_THAT(outcomes(ask({"history"})), ElementsAre("undone"));

    arrive("scan0002.txt", invoice);
    ASSERT_TRUE(engine.says(R"("event":"proposed","path":")" + watched() + "/scan0002.txt")) << engine.out();
    waiting = ask({"pending"});
    ASSERT_EQ(waiting.size(), 1U);
    EXPECT_THAT(outcomes(ask({"ignore", waiting[0].value("id", "")})), ElementsAre("ignored"));
    EXPECT_THAT(ask({"pending"}), IsEmpty());

    EXPECT_THAT(outcomes(ask({"folders", "auto", watched() + "/"})), ElementsAre("changed"));
    (void)ask({"settings", "set", "autoThreshold", "0.5"});
    arrive("scan0003.txt", lease);
    EXPECT_TRUE(engine.says(R"("automatic":true)")) << engine.out();
    EXPECT_THAT(m_folder.names(), ElementsAre(leaseName, "scan0001.txt", "scan0002.txt"));

    // A file that is named by hand is renamed by the engine, which is told so.
    EXPECT_THAT(outcomes(ask({"rename", "--again", (m_folder.path() / "scan0002.txt").native()})),
                ElementsAre("proposal"));
    EXPECT_EQ(ask({"history"}).size(), 3U);
    EXPECT_THAT(outcomes(ask({"undo", watched()})), ElementsAre("undone", "undone"));
    EXPECT_THAT(m_folder.names(), ElementsAre("scan0001.txt", "scan0002.txt", "scan0003.txt"));

    EXPECT_TRUE(ask({"settings", "set", "paused", "true"}).at(0).at("value").get<bool>());
    EXPECT_TRUE(engine.says(R"("event":"paused","paused":true)"));
    EXPECT_EQ(engine.end(SIGTERM), 0);
    EXPECT_FALSE(fs::exists(m_profile.data() / "run") && !fs::is_empty(m_profile.data() / "run"));
}

TEST_F(EngineVerbs, GoesOnWithoutAnEngineThatWasKilled) {
    std::string id;
    {
        RunningVesto engine({"watch", watched()});
        ASSERT_TRUE(engine.says("Surveillance en cours")) << engine.out();
        arrive("scan0001.txt", lease);
        arrive("scan0002.txt", invoice);
        ASSERT_TRUE(engine.says("scan0002.txt →") && engine.says("scan0001.txt →")) << engine.out();
        EXPECT_THAT(engine.out(), HasSubstr("vesto accept "));
        EXPECT_EQ(engine.end(SIGKILL), -1);
    }
    const auto waiting = ask({"pending"});
    ASSERT_EQ(waiting.size(), 2U);
    for (const Json& record : waiting)
        if (record.value("path", "").ends_with("scan0001.txt"))
            id = record.value("id", "");
    EXPECT_THAT(outcomes(ask({"accept", id, "--title", "Bail du moulin"})), ElementsAre("renamed"));
    EXPECT_THAT(m_folder.names(), ElementsAre("Bail du moulin.txt", "scan0002.txt"));
    const auto rows = ask({"history"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_THAT(outcomes(ask({"undo", upper(rows[0].value("id", "").substr(0, 13))})), ElementsAre("undone"));
    EXPECT_THAT(outcomes(ask({"undo", rows[0].value("id", "")}, 1)), ElementsAre("error")); // not twice
    EXPECT_EQ(ask({"pending"}).size(), 1U);

    RunningVesto next({"watch"});
    ASSERT_TRUE(next.says("Surveillance en cours")) << next.out();
    EXPECT_EQ(ask({"pending"}).size(), 1U);
    EXPECT_EQ(next.end(SIGINT), 0);
}

TEST_F(EngineVerbs, OneEngineAtATimeWhichLeavesWhenAsked) {
    RunningVesto engine({"watch", watched()});
    ASSERT_TRUE(engine.says("Surveillance en cours")) << engine.out();
    const RunResult second = runVesto({"watch"});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr("surveille déjà vos dossiers"));
    auto client = ControlClient::connect(m_profile.data());
    ASSERT_TRUE(client);
    const auto left = client->ask(Json{{"verb", "leave"}}, [](const Json&) { return true; });
    ASSERT_TRUE(left);
    EXPECT_EQ(engine.wait(), 0);
    EXPECT_FALSE(ControlClient::connect(m_profile.data()));
}

TEST_F(EngineVerbs, AWatchThatWaitsForItsTurnObeysCtrlC) {
    const auto lock = EngineLock::take(m_profile.data());
    ASSERT_TRUE(lock);
    RunningVesto engine({"watch"});
    ASSERT_TRUE(engine.says("attente…"));
    EXPECT_EQ(engine.end(SIGINT), 0);
}

TEST_F(EngineVerbs, AnOrderThatCouldNotBeStoredIsNotDone) {
    const RunningVesto engine({"watch", watched()});
    ASSERT_TRUE(engine.says("Surveillance en cours")) << engine.out();
    const rlimit full{.rlim_cur = fs::file_size(m_profile.data() / "history.sqlite-wal"),
                      .rlim_max = RLIM_INFINITY};
    ASSERT_EQ(::prlimit(engine.process(), RLIMIT_FSIZE, &full, nullptr), 0);
    for (const char* order : {"auto", "disable", "remove"}) {
        const auto told = ask({"folders", order, watched()}, 1);
        EXPECT_THAT(outcomes(told), ElementsAre("error")) << order;
        EXPECT_THAT(told.at(0).value("reason", ""), HasSubstr("Journal non enregistré")) << order;
    }
}

TEST_F(EngineVerbs, ClientsThatMisbehaveHoldNothingUp) {
    RunningVesto engine({"watch", watched()});
    ASSERT_TRUE(engine.says("Surveillance en cours")) << engine.out();
    const auto note = engineNote(m_profile.data());
    ASSERT_TRUE(note);
    std::vector<UniqueFd> silent;
    for (int i = 0; i < 40; ++i) // more than it keeps
        if (auto socket = connectTo(note->socket))
            silent.push_back(*std::move(socket));
    EXPECT_EQ(ask({"folders"}).size(), 1U);

    const std::vector<std::string> nonsense{"",
                                            "x",
                                            std::string("\1") + "[]",
                                            std::string("\1") + "{",
                                            std::string("\1") + R"({"verb":7})",
                                            std::string("\1") + R"({"verb":"accept","id":["a"]})",
                                            std::string("\1") + R"({"verb":"rename","url":"file:///%00"})",
                                            std::string("\1") +
                                                R"({"verb":"rename","url":"file:///a","template":"{x}"})",
                                            std::string("\1") + std::string(30'000, '['),
                                            std::string(32'768, '\0'),
                                            std::string(100'000, '\0')};
    for (const std::string& packet : nonsense) {
        SCOPED_TRACE(packet.substr(0, 60));
        const auto socket = connectTo(note->socket);
        ASSERT_TRUE(socket);
        for (int i = 0; i < 20; ++i)
            (void)::send(socket->get(), packet.data(), packet.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        EXPECT_EQ(ask({"folders"}).size(), 1U);
    }
    {
        // Asks again and again and reads nothing, then dies.
        const auto socket = connectTo(note->socket);
        const std::string order = std::string("\1") + R"({"verb":"folders"})";
        for (int i = 0; i < 2000; ++i)
            (void)::send(socket->get(), order.data(), order.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        EXPECT_EQ(ask({"folders"}).size(), 1U);
    }
    EXPECT_EQ(engine.end(SIGTERM), 0) << engine.out();
}

TEST_F(EngineVerbs, ABatchProposesThenRenamesThenIsUndone) {
    m_folder.write("scan0001.txt", lease);
    m_folder.write("scan0002.txt", invoice);
    m_folder.write("Vacances en Bretagne.txt", "Bail du moulin\nentre les soussignés\n");
    const auto proposed = ask({"batch", watched()});
    EXPECT_THAT(outcomes(proposed), ElementsAre("proposal", "proposal", "summary"));
    EXPECT_EQ(proposed[2].value("counter", ""), "wellNamed");
    EXPECT_THAT(ask({"history"}), IsEmpty());
    // No title without a model reaches the setting's 60 %.
    EXPECT_THAT(outcomes(ask({"batch", watched(), "--apply"}, 1)),
                ElementsAre("summary", "proposal", "proposal"));
    EXPECT_THAT(ask({"history"}), IsEmpty());

    const RunResult applied =
        runVesto({"batch", watched(), "--apply", "--min-confidence", "0.3", "--also", "well-named"});
    EXPECT_EQ(applied.status, 0) << applied.out << applied.err;
    EXPECT_THAT(applied.out, HasSubstr("vesto undo --batch "));
    EXPECT_THAT(applied.err, IsEmpty()); // no progress bar where nobody sits before it
    EXPECT_THAT(m_folder.names(), Not(testing::Contains("scan0001.txt")));
    const auto rows = ask({"history"});
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_THAT(ask({"undo", "--batch", upper(rows[0].value("batchID", "").substr(0, 13))}).size(), 3U);
    EXPECT_THAT(m_folder.names(), ElementsAre("Vacances en Bretagne.txt", "scan0001.txt", "scan0002.txt"));
    EXPECT_EQ(runVesto({"batch", (m_folder.path() / "absent").native()}).status, 1);
}

TEST_F(EngineVerbs, TheEngineUndoesAFileWhereverItStandsNow) {
    const fs::path link = m_folder.path() / "lien";
    const fs::path place = m_folder.path() / "place";
    const fs::path other = m_folder.path() / "ailleurs";
    fs::create_directory(place);
    fs::create_directory(other);
    fs::create_directory_symlink(place, link);
    struct Row {
        fs::path renamedIn;
        fs::path undoneIn;
        bool hasHistory;
    };
    const std::vector<Row> rows{
        {link, place, true}, {place, link, true}, {place, other, true}, {place, place, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.renamedIn.native() + " " + row.undoneIn.native());
        std::ofstream(row.renamedIn / "scan0001.txt", std::ios::binary) << lease;
        ASSERT_EQ(runVesto({"rename", (row.renamedIn / "scan0001.txt").native()}).status, 0);
        fs::rename(row.renamedIn / leaseName, row.undoneIn / leaseName);
        std::optional<Profile> otherComputer;
        if (!row.hasHistory)
            otherComputer.emplace();
        const RunningVesto engine({"watch", "--json"});
        ASSERT_TRUE(engine.says(R"("event":"started")")) << engine.out();
        EXPECT_THAT(outcomes(ask({"undo", (row.undoneIn / leaseName).native()})), ElementsAre("undone"));
        EXPECT_TRUE(engine.says(R"("event":"undone")")) << engine.out();
        EXPECT_EQ(contentOf(row.undoneIn / "scan0001.txt"), lease);
        EXPECT_THAT(outcomes(ask({"history"})), testing::Each("undone"));
        fs::remove(row.undoneIn / "scan0001.txt");
    }
}

TEST_F(EngineVerbs, AFileThatIsThereWinsOverAnId) {
    const std::string file = m_folder.write("scan0001.txt", lease);
    ASSERT_EQ(runVesto({"rename", file}).status, 0);
    const auto rows = ask({"history"});
    const std::string prefix = rows.at(0).value("id", "").substr(0, 8);
    const std::string named = m_folder.write(prefix, "x");
    const RunResult run =
        runVesto({"undo", prefix}, {}, nullptr, [&] { (void)::chdir(m_folder.path().c_str()); });
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("n'a pas renommé ce fichier"));
    fs::remove(named);
    EXPECT_EQ(runVesto({"undo", prefix}, {}, nullptr, [&] { (void)::chdir(m_folder.path().c_str()); }).status,
              0);
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(EngineVerbs, StatusAndShapeOfEveryVerb) {
    const std::string absent = (m_folder.path() / "absent").native();
    struct Row {
        std::vector<std::string> words;
        int status;
        std::string_view says; // in what it prints, wherever
    };
    const std::vector<Row> rows{
        {{"folders", "add", watched(), absent}, 1, R"("outcome":"added")"},
        {{"folders", "add", watched()}, 1, R"("kind":"alreadyWatched")"},
        {{"folders"}, 0, R"("enabled":true)"},
        {{"folders", "disable", watched()}, 0, R"("enabled":false)"},
        {{"folders", "add", watched()}, 0, R"("enabled":true)"},
        {{"folders", "remove", absent}, 1, "n'est pas surveillé"},
        {{"folders", "remove", watched()}, 0, R"("outcome":"removed")"},
        {{"folders", "remove"}, 2, "manque"},
        {{"folders"}, 0, ""},
        {{"pending"}, 0, ""},
        {{"accept", "abcd"}, 1, "Rien ne porte l'identifiant"},
        {{"accept", "abc"}, 1, "quatre premiers"},
        {{"accept"}, 2, "manque"},
        {{"ignore", "zzzz"}, 1, "quatre premiers"},
        {{"history", "--limit", "0"}, 2, "--limit"},
        {{"undo"}, 2, "manque"},
        {{"undo", "--last"}, 1, "Rien à annuler"},
        {{"undo", "--batch", "abcd"}, 1, "Rien ne porte l'identifiant"},
        {{"undo", "0123abcd"}, 1, "Rien ne porte l'identifiant"},
        {{"batch"}, 2, "manque"},
        {{"batch", watched(), "--also", "all"}, 2, "--also"},
        {{"batch", watched(), "--template", "{title}"}, 2, "en trop : --template"},
        {{"batch", watched()}, 1, "Aucun fichier à renommer"},
        {{"batch", "--also", "well-named", "--also", "no-title", watched()}, 1, "Aucun fichier à renommer"},
        {{"settings", "get"}, 0, R"({"key":"autoThreshold","value":0.6})"},
        {{"settings", "set", "autoThreshold", "2"}, 1, "un nombre de 0 à 1"},
        {{"settings", "set", "template", "{titel}"}, 1, "Jeton inconnu"},
        {{"settings", "set", "theme", "dark"}, 1, "Réglage inconnu"},
        {{"settings", "set", "paused"}, 2, "manque"},
        {{"doctor"}, 0, "fs.inotify.max_user_watches"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        auto words = row.words;
        words.emplace_back("--json");
        const RunResult run = runVesto(words);
        EXPECT_EQ(run.status, row.status) << run.out << run.err;
        EXPECT_THAT(run.out + run.err, HasSubstr(std::string(row.says)));
        (void)objects(run.out);
        const RunResult forPeople = runVesto(row.words);
        EXPECT_THAT(forPeople.out, Not(HasSubstr("{\"")));
    }
    const std::string gone = (m_folder.path() / "clé").native();
    fs::create_directory(gone);
    (void)ask({"folders", "add", gone});
    fs::remove(gone);
    const std::string diagnosis = runVesto({"doctor"}).out;
    EXPECT_THAT(diagnosis, HasSubstr("~ Dossier " + gone + " : ce dossier n'existe pas"));
    EXPECT_THAT(diagnosis, HasSubstr("rm -r '"));
}

TEST_F(EngineVerbs, NothingIsRenamedWithADamagedHistory) {
    const std::string file = m_folder.write("scan0001.txt", lease);
    ASSERT_EQ(runVesto({"rename", file}).status, 0);
    ASSERT_EQ(runVesto({"undo", "--last"}).status, 0);
    std::ofstream(m_profile.data() / "history.sqlite", std::ios::binary | std::ios::trunc)
        << std::string(20'000, 'x');
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"rename", "--again", file}, {"watch"}, {"history"}, {"pending"}}) {
        const RunResult run = runVesto(words);
        EXPECT_EQ(run.status, 1) << words.front();
        EXPECT_THAT(run.err, HasSubstr("vesto : Base de données : ")) << words.front();
        EXPECT_THAT(run.err, HasSubstr((m_profile.data() / "history.sqlite").native())) << words.front();
    }
    EXPECT_THAT(m_folder.names(), ElementsAre("scan0001.txt"));
    EXPECT_TRUE(fs::exists(m_profile.data() / "history.sqlite"));
}

} // namespace
} // namespace vesto::test
