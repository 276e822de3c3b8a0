#include "tests/cli/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

namespace vesto::test {
namespace {

using testing::HasSubstr;

class ModelVerbs : public testing::Test {
protected:
    RunResult vesto(std::vector<std::string> words) const {
        words.insert(words.begin(), "model");
        return runVesto(words, std::nullopt, nullptr, [this] {
            ::setenv("XDG_DATA_HOME", home.path().c_str(), 1);
            ::setenv("XDG_CONFIG_HOME", home.path().c_str(), 1);
        });
    }

    Folder home;
};

TEST_F(ModelVerbs, ListChooseAndRemove) {
    std::filesystem::create_directories(home.path() / "vesto" / "models");
    for (const char* name : {"a.gguf", "-b.gguf"})
        home.write(std::string("vesto/models/") + name, "GGUF");
    struct Row {
        std::vector<std::string> words;
        int status;
        std::string_view says;
    };
    const std::vector<Row> rows{
        {{}, 2, "manque"},
        {{"list", "x"}, 2, "en trop"},
        {{"use"}, 2, "manque"},
        {{"remove", "a", "b"}, 2, "en trop"},
        {{"list"}, 0, "-b.gguf, 0,0\u00A0Mo : c'est lui qui sert"},
        {{"use", "a"}, 0, "c'est lui qui sert"},
        {{"list"}, 0, "a.gguf, 0,0\u00A0Mo : c'est lui qui sert"},
        {{"list", "--json"}, 0, R"("name":"a.gguf","bytes":4,"link":false,"used":true)"},
        {{"use", "--json", "--", "-b"}, 0, R"("name":"-b.gguf","bytes":4,"link":false,"used":true)"},
        {{"off"}, 0, "hors service"},
        {{"list"}, 0, "Le modèle est hors service."},
        {{"test", home.path()}, 1, "Le modèle est désactivé dans les réglages."},
        {{"on", "--json"}, 0, R"({"enabled":true})"},
        {{"remove", "--", "-b.gguf"}, 0, "retiré"},
        {{"remove", "c"}, 1, "Aucun modèle de ce nom."},
        {{"remove", "a", "--json"}, 0, R"({"name":"a","outcome":"removed"})"},
        {{"list"}, 0, "Aucun modèle."},
        {{"test", home.path()}, 1, "Modèle indisponible."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        const RunResult run = vesto(row.words);
        EXPECT_EQ(run.status, row.status) << run.out << run.err;
        EXPECT_THAT(run.out + run.err, HasSubstr(std::string(row.says)));
    }
}

TEST_F(ModelVerbs, AddTakesNoFileThatGivesNoTitle) {
    const Folder downloads;
    for (const auto& [file, says] :
         {std::pair{downloads.write("notes.txt", "Bonjour"), "pas un modèle"},
          {downloads.write("broken.gguf", "GGUF and nothing more"), "broken.gguf : "},
          {downloads.path() / "absent.gguf", "n'existe pas"}}) {
        const RunResult run = vesto({"add", file});
        EXPECT_EQ(run.status, 1) << run.out;
        EXPECT_THAT(run.err, HasSubstr(says));
    }
    EXPECT_FALSE(std::filesystem::exists(home.path() / "vesto" / "models"));
}

} // namespace
} // namespace vesto::test
