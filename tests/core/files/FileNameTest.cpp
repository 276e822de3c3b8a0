#include "core/files/FileName.h"

#include "core/files/FileURL.h"
#include "tests/core/RandomText.h"

#include <gtest/gtest.h>

namespace vesto {
namespace {

TEST(FileName, SplitsAtTheLastDotOfAnExtension) {
    struct Row {
        std::string_view name, base, extension;
    };
    for (const auto& [name, base, extension] : std::vector<Row>{
             {"a.pdf", "a", "pdf"},
             {"a.tar.gz", "a.tar", "gz"},
             {"..pdf", ".", "pdf"},
             {".profile", ".profile", ""},
             {"archive.", "archive.", ""},
             {"Note M. Dupont", "Note M. Dupont", ""},
             {"a.b\u00A0c", "a.b\u00A0c", ""},
             {"é.éè", "é", "éè"},
             {"", "", ""},
             {".", ".", ""},
         }) {
        SCOPED_TRACE(name);
        EXPECT_EQ(baseNameOf(name), base);
        EXPECT_EQ(extensionOf(name), extension);
    }
}

TEST(FileName, TakesPathsApartByTheirText) {
    struct Row {
        std::filesystem::path path;
        std::string_view last, folder, sibling;
    };
    for (const auto& [path, last, folder, sibling] : std::vector<Row>{
             {"/a/b.txt", "b.txt", "/a", "/a/n"},
             {"/a/b/", "b", "/a", "/a/n"},
             {"/b", "b", "/", "/n"},
             {"b", "b", ".", "n"},
             {"a//b", "b", "a", "a//n"},
             {"/", "", "/", "/n"},
         }) {
        SCOPED_TRACE(path);
        EXPECT_EQ(lastComponentOf(path), last);
        EXPECT_EQ(folderOf(path).native(), folder);
        EXPECT_EQ(siblingOf(path, "n").native(), sibling);
    }
}

TEST(FileName, ComparesWithoutCaseAndComposition) {
    EXPECT_TRUE(isSameName("Été.PDF", "e\u0301t\u00E9.pdf"));
    EXPECT_TRUE(isSameName("STRASSE", "straße"));
    EXPECT_FALSE(isSameName("ete", "été"));
}

TEST(FileURL, GivesEveryPathBack) {
    EXPECT_EQ(fileURL("/tmp/été 100%.pdf"), "file:///tmp/%C3%A9t%C3%A9%20100%25.pdf");
    RandomText random(1);
    for (int round = 0; round < 2000; ++round) {
        std::string path = "/" + random.bytes(12);
        std::erase(path, '\0');
        EXPECT_EQ(pathOfFileURL(fileURL(path)), path);
    }
}

TEST(FileURL, RefusesWhatIsNoFileHere) {
    EXPECT_EQ(pathOfFileURL("FILE://localhost/a%2fb"), "/a/b");
    for (const std::string_view url :
         {"http:///a", "file://host/a", "file:a", "file:///a%", "file:///a%4", "file:///a%4g", "file:///a%00",
          "file:///a?b", "file:///a#b", "/a", ""})
        EXPECT_FALSE(pathOfFileURL(url)) << url;
    EXPECT_FALSE(pathOfFileURL(std::string_view("file:///a\0b", 11)));
}

} // namespace
} // namespace vesto
