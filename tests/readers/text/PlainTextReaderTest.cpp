#include "core/extraction/readers/text/PlainTextReader.h"

#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/text/SourceText.h"
#include "core/support/Unicode.h"

#include <gtest/gtest.h>

#include <vector>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;

struct Row {
    std::string text;
    Lines lines;
    std::optional<std::string> title = {};
};

TEST(PlainText, splitsAtEveryKindOfLineBreak) {
    EXPECT_EQ(plainText(" a \r\nb\rc\n\n\td\fe\u2028f\u0085g ").lines,
              (Lines{"a", "b", "c", "d", "e", "f", "g"}));
    EXPECT_EQ(plainText("a\x01z\xFFz\n\x7F\n").lines, (Lines{"az\uFFFDz"}));
}

TEST(PlainText, cutsTheLineThatPassesTheLimit) {
    const Lines lines = plainText(std::string(15'000, 'a') + "\n" + std::string(15'000, 'b') + "\nc").lines;
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1].size(), maxCharacters - 15'000);
}

TEST(DocumentText, takesTitlesThatPeopleGave) {
    EXPECT_EQ(usableTitle("  Rapport\n annuel "), "Rapport annuel");
    for (const char* made :
         {"", "  ", "Sans titre", "UNTITLED", "Microsoft Word - lettre.doc", "Microsoft Word - "})
        EXPECT_EQ(usableTitle(made), std::nullopt) << made;
}

TEST(Markdown, losesItsMarks) {
    const std::vector<Row> rows{
        {"# Titre principal #\n\n## Suite", {"Titre principal", "Suite"}},
        {"Titre\n=====\nTexte\n-----", {"Titre", "Texte"}},
        {"#hashtag", {"#hashtag"}},
        {"Un **mot** _fort_, `code`, ~~barré~~", {"Un mot fort, code, barré"}},
        {"2 * 3, snake_case, ~/src, \\*pas\\*", {"2 * 3, snake_case, ~/src, *pas*"}},
        {"[lien](http://a.fr/x_(y)) et ![photo](p.png)", {"lien et photo"}},
        {"[![Build](b.svg)](http://ci)\n\nRéel", {"Réel"}},
        {"[texte][1] et [note][] et [crochets]\n\n[1]: http://a.fr", {"texte et note et crochets"}},
        {"[[Page|montré]] suite[^1]", {"montré suite"}},
        {"<https://a.fr> &eacute;t&eacute;<br/>fin", {"https://a.fr été fin"}},
        {"> - [x] fait\n* puce\n1. un", {"fait", "puce", "1. un"}},
        {"| a | b |\n|---|:-:|\n| c | d |", {"a   b", "c   d"}},
        {"a <!-- secret\nencore --> b\n***\n```cpp\nint i;\n```", {"a", "b", "int i;"}},
        {"---\ntitle: \"Mon titre\"\n---\n# Corps", {"Corps"}, "Mon titre"},
        {"+++\ntitle = 'T'\n+++\nx", {"x"}, "T"},
        {"---\npas de fin", {"pas de fin"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const DocumentText read = markdownText(row.text);
        EXPECT_EQ(read.lines, row.lines);
        EXPECT_EQ(read.title, row.title);
    }
    EXPECT_EQ(markdownText("---\ndate: 2025-03-12\n---\n").date, documentDate("2025-03-12"));
    EXPECT_EQ(markdownText("---\ndate: 0001-01-01\n---\n").date, std::nullopt); // what is not filled in yet
}

TEST(JSON, givesItsStringsInOrder) {
    const std::vector<Row> rows{
        {R"({"id": 7, "client": "Dupont", "tags": ["a b", "c"], "ok": true})",
         {"client : Dupont", "a b", "c"}},
        {R"({"name": "n", "x": {"title": "inner"}, "title": "Bilan"})", {"n", "inner", "Bilan"}, "Bilan"},
        {R"([{"title": "pas du tout"}])", {"pas du tout"}},
        {R"({"t": "un\ndeux"})", {"t : un", "deux"}},
        {R"({"data": ")" + std::string(300, 'A') + R"(", "sign": "--", "é": "à"})", {"é : à"}},
        {"{\"a\": \"x\"}\n{\"a\": \"y\"}\n", {"a : x", "a : y"}},
        {"{not json\nat all", {"{not json", "at all"}},
        {"", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const DocumentText read = jsonText(row.text, true);
        EXPECT_EQ(read.lines, row.lines);
        EXPECT_EQ(read.title, row.title);
    }
    EXPECT_EQ(jsonText(R"({"a": "x", "b": "cou)", false).lines, (Lines{"a : x"}));
    EXPECT_EQ(jsonText(R"({"a": "x", "b": "cou)", true).lines, (Lines{R"({"a": "x", "b": "cou)"}));
}

TEST(DelimitedText, joinsTheCellsOfARow) {
    const std::vector<Row> rows{
        {"nom;prix\nPain;1,20\nLait;0,95\n", {"nom prix", "Pain 1,20", "Lait 0,95"}},
        {"a,b\r\n\"x, y\",\"dit \"\"oui\"\"\"\r\n", {"a b", "x, y dit \"oui\""}},
        {"a\tb, c\n,\td\n", {"a b, c", ", d"}},
        {"\"deux\nlignes\",z\n,,\nfin,", {"deux lignes z", "fin"}},
        {"sep=|\na|b;c\n", {"a b;c"}},
        {"a,\"jamais fermé\nb,c", {"a \"jamais fermé", "b c"}},
        {"une seule colonne\nsans rien", {"une seule colonne", "sans rien"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(delimitedText(row.text).lines, row.lines);
    }
    std::string many;
    for (int i = 0; i < 100; ++i)
        many += "a,b\n";
    EXPECT_EQ(delimitedText(many).lines.size(), 40U);
}

TEST(SourceText, putsLicencesAndImportsAside) {
    using enum CommentStyle;
    struct SourceRow {
        CommentStyle style;
        std::string text;
        Lines lines;
    };
    const std::vector<SourceRow> rows{
        {slashes,
         "//\n//  Foo.swift\n//  Copyright © 2024 A.\n//  Encore la licence.\n//\n\nimport UI\n\n"
         "/// Trie les factures.\nstruct Foo {\n}\n",
         {"Foo.swift", "Trie les factures.", "struct Foo {"}},
        {slashes,
         "/* Licensed under X.\n *\n * Unless required by law.\n */\n#include <a>\n/** Lit un PDF. */\nint "
         "f();",
         {"Lit un PDF.", "int f();"}},
        {hash,
         "#!/bin/sh\n# SPDX-License-Identifier: MIT\n\n# Sauvegarde la base\nset -e\n# import x\n",
         {"Sauvegarde la base", "set -e", "# import x"}},
        {hash,
         "\"\"\"Calcule la paie.\n\nDétails.\n\"\"\"\nimport os\nx = 1",
         {"Calcule la paie.", "Détails.", "x = 1"}},
        {dashes, "-- Table des clients\nCREATE TABLE c;", {"Table des clients", "CREATE TABLE c;"}},
        {slashes, "// Copyright A", {"// Copyright A"}},
    };
    for (const SourceRow& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(sourceText(row.text, row.style).lines, row.lines);
    }
    EXPECT_EQ(sourceFormatOf("HPP")->name, "C++");
    EXPECT_FALSE(sourceFormatOf("txt"));
    EXPECT_FALSE(sourceFormatOf(""));
}

/// Each is some hundred kilobytes of what could cost a square; a run that does not end is the failure.
TEST(PlainTextReader, staysLinearOnHostileText) {
    for (const char* piece :
         {"[", "![",      "[[a|", "[a](", "[a](()", "<",   "<a", "*",    "`",  "]",   "&",
          "{", "{\"a\":", "[[",   "\"",   ",\"",    "\\u", "a;", "<!--", "/*", " \n", "\r"}) {
        SCOPED_TRACE(piece);
        std::string text;
        while (text.size() < 131'072)
            text += piece;
        for (const DocumentText& read : {plainText(text), markdownText(text), jsonText(text, true),
                                         delimitedText(text), sourceText(text, CommentStyle::slashes)}) {
            std::size_t scalars = 0;
            for (const std::string& line : read.lines)
                scalars += line.size();
            EXPECT_LE(scalars, maxCharacters);
        }
    }
}

} // namespace
} // namespace vesto::readers
