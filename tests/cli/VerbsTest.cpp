#include "tests/cli/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace vesto::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr uid_t nobody = 65534;
constexpr std::string_view invoice =
    "Facture d'électricité\nÉnergie du Val\nDate de facture : 12/10/2026\nMontant 84,20 €\n";
constexpr const char* invoiceBase = "Facture d’électricité Énergie du Val";

TEST(CommandLine, ExitStatusTellsWrongUsageFromWorkLeft) {
    const Folder folder;
    const std::string file = folder.write("scan0001.txt", invoice);
    const std::string plain = folder.write("x.unknownkind", "?");
    struct Row {
        std::vector<std::string> words;
        int status;
        std::string_view says; // in what it prints, wherever
    };
    const std::vector<Row> rows{
        {{}, 2, "--help"},
        {{"nome", file}, 2, "--help"},
        {{"name"}, 2, "manque"},
        {{"name", "--"}, 2, "manque"},
        {{"read", file, "--", "-absent.txt"}, 1, "-absent.txt"},
        {{"template", "--", "{x} {title}"}, 1, "Jeton inconnu : {x}."},
        {{"name", "--template", "{titre}", file}, 2, "Jeton inconnu : {titre}."},
        {{"name", "--template", "{date}", file}, 2, "Le modèle doit contenir {title}."},
        {{"rename", "--min-confidence", "60", file}, 2, "--min-confidence"},
        {{"rename", "--min-confidence", "nan", file}, 2, "--min-confidence"},
        {{"rename", "--min-confidence", "0.6", file}, 1, "laissé tel quel"},
        {{"name", file}, 0, "confiance"},
        {{"name", plain}, 1, "non pris en charge"},
        {{"name", file + ".absent.txt"}, 1, "n'existe plus"},
        {{"undo", file}, 1, "n'a pas renommé"},
        {{"--version"}, 0, "vesto"},
        {{"rename", "--help"}, 0, "--min-confidence"},
        {{"template", "{date:yyyy} {title}"}, 0, "Facture d’électricité"},
        {{"template", "{foo} {title}"}, 1, "Jeton inconnu : {foo}."},
        {{"generic", "--json", "IMG_0042.HEIC"}, 0, R"("generic":true)"},
        {{"generic", "--json", "Vacances en Bretagne.jpg"}, 0, R"("generic":false)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        const RunResult run = runVesto(row.words);
        EXPECT_EQ(run.status, row.status) << run.out << run.err;
        EXPECT_THAT(run.out + run.err, HasSubstr(std::string(row.says)));
    }
    EXPECT_THAT(folder.names(), ElementsAre("scan0001.txt", "x.unknownkind"));
}

TEST(CommandLine, RenamesNumbersAndUndoes) {
    const Folder folder;
    const std::string template_ = "{title}";
    folder.write("scan0001.txt", invoice);
    folder.write("scan0002.TXT", invoice);
    folder.write("vide.txt", "");
    std::filesystem::create_directory(folder.path() / "dossier");
    folder.write(".caché.txt", invoice);

    const RunResult named = runVesto({"name", "--template", template_, "--json", folder.path()});
    ASSERT_EQ(named.status, 1); // the empty file has nothing to propose
    ASSERT_EQ(objects(named.out).size(), 3U);
    EXPECT_EQ(folder.names().size(), 5U);
    EXPECT_LT(::getxattr((folder.path() / "scan0001.txt").c_str(), "user.com.vesto.processed", nullptr, 0),
              0);

    const RunResult renamed = runVesto({"rename", "--template", template_, "--json", folder.path()});
    EXPECT_EQ(renamed.status, 1);
    const auto records = objects(renamed.out);
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].value("to", ""), (folder.path() / (std::string(invoiceBase) + ".txt")).native());
    EXPECT_TRUE(records[0].value("marked", false));
    EXPECT_EQ(records[2].value("outcome", ""), "nothing");
    EXPECT_EQ(records[2].value("reason", ""), "Aucun contenu exploitable");
    // ".txt" and ".TXT" are two names here: no number is needed.
    EXPECT_THAT(folder.names(), ElementsAre(".caché.txt", std::string(invoiceBase) + ".TXT",
                                            std::string(invoiceBase) + ".txt", "dossier", "vide.txt"));

    // A marked file is left alone, unless asked for again; a taken name gets a number.
    const std::string third = folder.write("scan0003.txt", invoice);
    EXPECT_EQ(runVesto({"rename", "--template", template_, third}).status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / (std::string(invoiceBase) + " 2.txt")));
    const std::string second = folder.path() / (std::string(invoiceBase) + " 2.txt");
    EXPECT_THAT(runVesto({"name", "--json", second}).out, HasSubstr("processed"));
    EXPECT_EQ(runVesto({"name", "--again", second}).status, 0);

    EXPECT_EQ(runVesto({"undo", folder.path()}).status, 0);
    EXPECT_THAT(folder.names(), ElementsAre(".caché.txt", "dossier", "scan0001.txt", "scan0002.TXT",
                                            "scan0003.txt", "vide.txt"));
    EXPECT_EQ(contentOf(folder.path() / "scan0003.txt"), invoice);
    EXPECT_EQ(runVesto({"undo", (folder.path() / "scan0001.txt").native()}).status, 1); // not twice
    const RunResult again = runVesto({"undo", folder.path()});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.out, HasSubstr("Aucun fichier à rétablir"));
}

TEST(CommandLine, UndoKeepsAFileThatTookTheOldName) {
    const Folder folder;
    const std::string file = folder.write("scan0001.txt", invoice);
    ASSERT_EQ(runVesto({"rename", "--template", "{title}", file}).status, 0);
    folder.write("scan0001.txt", "un autre");
    const RunResult undone = runVesto({"undo", folder.path()});
    EXPECT_EQ(undone.status, 1);
    EXPECT_THAT(undone.out, HasSubstr("Un fichier porte déjà ce nom."));
    EXPECT_EQ(contentOf(file), "un autre");
    EXPECT_EQ(contentOf(folder.path() / (std::string(invoiceBase) + ".txt")), invoice);
}

TEST(CommandLine, OneBadFileDoesNotStopTheOthers) {
    const Folder folder;
    const std::string closed = (folder.path() / "fermé").native();
    std::filesystem::create_directory(closed);
    const std::string inside = folder.write("fermé/scan0001.txt", invoice);
    const std::string secret = folder.write("scan0002.txt", invoice);
    ::chmod(secret.c_str(), 0);
    const std::string broken = folder.write("scan0003.docx", "PK\x03\x04 et rien d'autre");
    const std::string good = folder.write("scan0004.txt", invoice);
    const std::string readOnly =
        folder.write("scan0005.txt", "Contrat de location meublée\nentre les soussignés\n");
    ::chmod(readOnly.c_str(), 0444);
    ::chmod(closed.c_str(), 0555);
    ::chmod(folder.path().c_str(), 0777);
    std::optional<uid_t> user; // root passes every permission, so root becomes somebody else
    if (::geteuid() == 0) {
        user = nobody;
        for (const std::string& file : {good, readOnly})
            ASSERT_EQ(::chown(file.c_str(), nobody, nobody), 0);
    }

    const RunResult run =
        runVesto({"rename", "--template", "{title}", inside, secret, broken, good, readOnly}, user);
    ::chmod(closed.c_str(), 0755);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.out, HasSubstr("scan0001.txt : Permission denied\n    "));
    EXPECT_THAT(run.out, HasSubstr("droit"));
    EXPECT_THAT(run.out, HasSubstr("scan0002.txt : Le contenu de ce fichier n'a pas pu être lu."));
    EXPECT_THAT(run.out, HasSubstr("scan0003.docx : Le contenu de ce fichier n'a pas pu être lu."));
    EXPECT_THAT(run.out, HasSubstr(std::string("scan0004.txt → ") + invoiceBase + ".txt"));
    EXPECT_THAT(run.out, HasSubstr("marque impossible")); // read-only: renamed, and said to be unmarked
    EXPECT_TRUE(std::filesystem::exists(inside));
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "Contrat de location meublée.txt"));
}

TEST(CommandLine, StopsChangingFilesWhereItCannotSaySo) {
    const Folder folder;
    for (const char* name : {"scan0001.txt", "scan0002.txt", "scan0003.txt"})
        folder.write(name, invoice);
    EXPECT_EQ(runVesto({"rename", "--template", "{title}", folder.path()}, std::nullopt, "/dev/full").status,
              1);
    EXPECT_THAT(folder.names(),
                ElementsAre(std::string(invoiceBase) + ".txt", "scan0002.txt", "scan0003.txt"));
}

TEST(CommandLine, NamesOfStrangersCannotDriveTheTerminal) {
    const Folder folder;
    const std::string file = folder.write("scan\x1b[2J\u202E0001.txt", invoice);
    const RunResult run = runVesto({"name", file});
    EXPECT_THAT(run.out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(run.out, Not(HasSubstr("\u202E")));
    EXPECT_EQ(objects(runVesto({"name", "--json", file}).out).at(0).value("path", ""), file);
}

TEST(CommandLine, ANameThatIsNotTextIsNeverChanged) {
    const Folder folder;
    const std::string file = folder.write("scan\xE9.txt", invoice);
    for (const char* verb : {"name", "rename"}) {
        const RunResult run = runVesto({verb, file});
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.out, HasSubstr("n'est pas en UTF-8"));
    }
    EXPECT_THAT(folder.names(), ElementsAre("scan\xE9.txt"));
}

TEST(CommandLine, ReadsAsTheModelWouldSeeIt) {
    const Folder folder;
    const std::string file = folder.write("scan0001.txt", invoice);
    const auto record = objects(runVesto({"read", file}).out).at(0);
    EXPECT_EQ(record.value("kind", ""), "document");
    EXPECT_EQ(record.at("period").value("month", 0), 10);
    const RunResult prompt = runVesto({"read", "--prompt", "--locale", "en_US", file});
    EXPECT_TRUE(prompt.out.starts_with("Type : document texte (Texte)\nPériode détectée : October 2026\n"))
        << prompt.out;
    EXPECT_TRUE(prompt.out.ends_with("84,20 €\n\"\"\"\n")) << prompt.out;
}

} // namespace
} // namespace vesto::test
