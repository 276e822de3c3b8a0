#include "core/extraction/readers/text/RTFText.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;

TEST(RTFText, LeavesOutWhiteTextAndTablesOfContents) {
    const std::string colors = R"({\colortbl;\red255\green255\blue255;\red0\green0\blue128;})";
    const std::vector<std::string> bodies{
        R"(vu{\cf1 x})",
        R"(vu\cf1 x\plain\par)",
        R"({\cf1\highlight2 vu}{\cf2})",
        R"(\pard\cbpat2{\cf1 vu}\par\pard{\cf1 x})",
        R"(\trowd\clcbpat2\cellx9\pard\intbl{\cf1 vu}\cell\row\pard{\cf1 x})",
        R"({\field{\*\fldinst { TOC \\o }}{\fldrslt {Objet\tab 1\par {\field{\*\fldinst PAGEREF a}{\fldrslt 2}}\par}}}vu)",
        R"({\field{\*\fldinst HYPERLINK "TOC"}{\fldrslt vu}})",
    };
    for (const std::string& body : bodies) {
        SCOPED_TRACE(body);
        const auto text = readRTF(std::string("{\\rtf1").append(colors).append(body).append("}"));
        ASSERT_TRUE(text);
        EXPECT_EQ(text->lines, std::vector<std::string>{"vu"});
    }
}

TEST(RTFText, readsTheBody) {
    struct Row {
        std::string body; // after {\rtf1 and a blank
        Lines lines;
    };
    const std::vector<Row> rows{
        {R"(\ansi Un\par Deux\line Trois\tab fin)", {"Un", "Deux", "Trois fin"}},
        {R"(\ansi\ansicpg1252 \'e9t\'e9 \'80 \'92)", {"été € ’"}},
        {R"(\ansicpg1251 \'cf\'f0\'e8)", {"При"}},
        {R"(\mac R\'8esum\'8e)", {"Résumé"}},
        {R"({\fonttbl{\f0\fcharset0 Arial;}{\f1\fcharset204 Arial;}}\f1\'cf\f0\'e9)", {"Пé"}},
        {R"({\fonttbl{\f3\fcharset128 Gothic;}}\f3\'83e\'83X\'83g)", {"テスト"}},
        {R"(\u233?t\u233\'e9 \uc0\u8217 x \uc2\u8364??y)", {"été ’x €y"}},
        {R"(\u-10179?\u-8704? \u-10179?z)", {"😀 z"}},
        {R"(\uc1\u233{x}a\u233 b)", {"éxaé"}},
        {R"(a\~b\_c\-d \{\}\\ \emdash\bullet\lquote z)", {"a b-cd {}\\ —•‘z"}},
        {"a\\\nb\\\r\nc\nd", {"a", "b", "cd"}},
        {R"({\stylesheet{\s1 Titre;}}{\colortbl;\red0;}{\info{\author Moi}}{\header h}{\footerr f}vu{\footnote n})",
         {"vu"}},
        {R"({\*\generator G;}{\*\inconnu x{y}}{\pict ffd8}vu{\field{\*\fldinst LIEN}{\fldrslt lien}})",
         {"vulien"}},
        {R"({\listtext\'b7\tab}point {\v cach\'e9}{\deleted parti}\v non\v0 vu{\fs2 petit}\plain)",
         {"point vu"}},
        {R"({\object{\*\objdata 00ff}{\result vu}})", {"vu"}},
        {"\\bin4 }}}}vu", {"vu"}},
        {R"(\trowd a\cell b\cell\row c)", {"a b", "c"}},
        {R"({{{tronqu\'e9)", {"tronqué"}},
        {R"(vu}après)", {"vu"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.body);
        const std::optional<DocumentText> read = readRTF("{\\rtf1 " + row.body);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->lines, row.lines);
    }
}

TEST(RTFText, readsTitleAndDate) {
    const auto read = readRTF(
        R"({\rtf1\ansi{\info{\title R\'e9sum\u233?}{\author A}{\creatim\yr2025\mo3\dy12\hr9}}corps})");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->title, "Résumé");
    EXPECT_EQ(read->date, unicode::instantOf({.year = 2025, .month = 3, .day = 12, .hour = 9}));
    EXPECT_EQ(read->lines, Lines{"corps"});
    EXPECT_EQ(readRTF(R"({\rtf1 x})")->date, std::nullopt);
    EXPECT_EQ(readRTF(R"({\rtf1{\info{\creatim\yr1899\mo12\dy30}}x})")->date, std::nullopt);
}

TEST(RTFText, refusesWhatIsNoRTF) {
    for (const char* bytes : {"", "{", "rtf1", "{\\html}", "PK\3\4"})
        EXPECT_FALSE(readRTF(bytes)) << bytes;
}

TEST(RTFText, staysLinearOnHostileText) {
    for (const char* piece :
         {"{", "}", "\\", "\\u", "\\u1", "\\'", "\\'e9", "\\~", "{\\*", "\\par", "\\f1 \\'e9", "\\bin",
          "{\\fonttbl\\f1", "{\\info{\\title a", "\\uc9\\u55296", "{\\v a"}) {
        SCOPED_TRACE(piece);
        std::string text = "{\\rtf1 ";
        while (text.size() < 1 << 20)
            text += piece;
        EXPECT_TRUE(readRTF(text));
    }
}

TEST(RTFText, givesValidLinesForAnything) {
    const std::vector<std::string> words{
        "{",      "}",       "\\par ", "\\u233 ",  "?",         "\\'e9",          "\\'",
        "\\uc2 ", "\\v ",    "\\v0",   "\\*",      "\\f1 ",     "\\u-10179",      "abc",
        "\xE9",   "\\bin3 ", "\\info", "\\title ", "\\fonttbl", "\\fcharset128 ", "\\plain "};
    std::mt19937 random(3);
    for (int i = 0; i < 5'000; ++i) {
        std::string text = "{\\rtf1";
        for (std::size_t n = random() % 40; n > 0; --n)
            text += words[random() % words.size()];
        const std::optional<DocumentText> read = readRTF(text);
        ASSERT_TRUE(read);
        for (const std::string& line : read->lines)
            ASSERT_TRUE(unicode::isValid(line) && !line.empty()) << text;
    }
}

} // namespace
} // namespace vesto::readers
