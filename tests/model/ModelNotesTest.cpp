#include "services/client/ModelNotes.h"

#include "tests/model/engine/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vesto::tests {
namespace {

TEST(ModelNotes, KnowTheFileThatWasNotedAndNoOther) {
    const Folder folder;
    const ModelNotes notes(folder.file("notes.json"));
    write(folder.file("a.gguf"), "GGUF");
    write(folder.file("b.gguf"), "GGUF");
    ModelNote note{.identity = {.device = 1, .inode = 2, .bytes = 3, .modified = -4, .changed = 5},
                   .name = "Modèle \"A\"",
                   .architecture = "llama",
                   .parameters = 600'000'000,
                   .languages = {"fr", "en"}};
    note.measured(std::chrono::seconds(2));
    note.measured(std::chrono::seconds(4));
    EXPECT_EQ(note.perTitle, std::chrono::seconds(3));
    notes.keep("a.gguf", note);
    notes.keep("b.gguf", note);
    EXPECT_EQ(notes.of("a.gguf", note.identity), note);

    struct stat status{};
    ASSERT_EQ(::stat(folder.file("notes.json").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);

    ModelIdentity other = note.identity;
    other.device = 9; // another number after a restart
    EXPECT_TRUE(notes.of("a.gguf", other));
    for (auto* member : {&other.inode, &other.bytes}) {
        other = note.identity;
        ++*member;
        EXPECT_FALSE(notes.of("a.gguf", other));
    }
    for (auto* member : {&other.modified, &other.changed}) {
        other = note.identity;
        ++*member;
        EXPECT_FALSE(notes.of("a.gguf", other));
    }

    std::filesystem::remove(folder.file("b.gguf"));
    notes.keep("a.gguf", note);
    EXPECT_FALSE(notes.of("b.gguf", note.identity)); // gone with its file
    notes.forget("a.gguf");
    EXPECT_FALSE(notes.of("a.gguf", note.identity));
}

TEST(ModelNotes, WhatMakesNoSenseIsNotKnown) {
    const Folder folder;
    const ModelNotes notes(folder.file("notes.json"));
    const ModelIdentity identity{.inode = 2, .bytes = 3};
    for (const char* content :
         {"", "{", "[]", "null", R"({"a.gguf":7})", R"({"a.gguf":{"inode":2,"bytes":"3"}})"}) {
        SCOPED_TRACE(content);
        write(folder.file("notes.json"), content);
        EXPECT_FALSE(notes.of("a.gguf", identity));
    }
    write(folder.file("notes.json"),
          R"({"a.gguf":{"inode":2,"bytes":3,"modified":0,"changed":0,"languages":[1,"fr"],"titles":-1,)"
          R"("secondsPerTitle":1e99}})");
    const auto note = notes.of("a.gguf", identity);
    ASSERT_TRUE(note);
    EXPECT_EQ(note->languages, std::vector<std::string>{"fr"});
    EXPECT_EQ(note->titles, 0U);
    EXPECT_EQ(note->perTitle.count(), 0);
    EXPECT_FALSE(ModelNotes().of("a.gguf", identity));
}

} // namespace
} // namespace vesto::tests
