#include "core/extraction/readers/HTMLText.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/support/Unicode.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;

TEST(HTMLText, showsWhatABrowserShows) {
    struct Row {
        std::string html;
        Lines lines;
        std::optional<std::string> title = {};
    };
    const std::vector<Row> rows{
        {"<title>Mon  &eacute;t&eacute;</title><p>Un<p>Deux<br>Trois", {"Un", "Deux", "Trois"}, "Mon été"},
        {"<TITLE lang='fr'>\nA\n</TITLE ><h1>B</h1>", {"B"}, "A"},
        {"<title>Sans titre</title>x", {"x"}},
        {"<title>jamais fermé<p>x", {"jamais fermé", "x"}},
        {"a<script>if (a<b) '<p>'</script>b<STYLE>p{}</STYLE>c", {"abc"}},
        {"a<script>reste", {"a"}},
        {"<b>un</b> <i>mot</i>\n suite", {"un mot suite"}},
        {"&laquo;&nbsp;Caf&eacute; &amp; th&#233; &#x20AC; &#8217; &hellip; &#146; &quot;&lt;&gt;&quot;",
         {"« Café & thé € ’ … ’ \"<>\""}},
        {"&eacute &euro &unknown; & &; &#; &#xD800; &#99999999999;",
         {"é &euro &unknown; & &; &#; \uFFFD \uFFFD"}},
        {"1 < 2 <3 <", {"1 < 2 <3 <"}},
        {"a<!-- <p>caché --> b<!doctype html><?php x ?>", {"a b"}},
        {"a<!-- sans fin <p>b", {"a"}},
        {"a<b title='x > y'>c</b><a href=\"sans fin>d", {"ac"}},
        {"<table><tr><td>a<td>b<tr><td>c</table>d", {"a b", "c", "d"}},
        {"<pre>un\n  deux</pre>trois\nquatre", {"un", "deux", "trois quatre"}},
        {"<nav>Accueil</nav><p>Texte", {"Texte", "Accueil"}},
        {"so\xC2\xADit<wbr>e &shy;x", {"soite x"}},
        {"<svg><title>icône</title><text>t</text><path/></svg>a", {"a"}},
        {"<?xml version='1.0'?><html><head><title/><script src='a'/></head><p>Un</p></html>", {"Un"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.html);
        const DocumentText read = htmlText(row.html);
        EXPECT_EQ(read.lines, row.lines);
        EXPECT_EQ(read.title, row.title);
    }
}

TEST(HTMLText, leavesOutWhatIsHidden) {
    const std::vector<std::string> pages{
        "vu<div hidden>x<div>y</div>z</div>",
        "vu<span style='display: none'>x<span>y</span>z</span>",
        "vu<p style=\"color:red; Visibility : HIDDEN\">x</p>",
        "vu<span style='font-size:0.5px'>x</span>",
        "vu<span style='font-size:1pt'>x</span>",
        "vu<div style='position:absolute;left:-9999px'>x</div>",
        "vu<div style='opacity:0;mso-hide:all'>x</div>",
        "vu<div style='display&#58;none'>x</div>",
        "vu<noscript>x</noscript><template><p>y</p></template><dialog>z</dialog>",
        "vu<select><option>x<option>y</select><textarea>z</textarea><iframe>w</iframe>",
        "<p hidden>x<p>vu",
        "<ul><li hidden>x<li>vu</ul>",
        "<table><tr><td hidden>x<td>vu</table>",
        "<div hidden>x</span></b>y</div>vu",
        "<span><div hidden>x</span>y</div>vu",
        "<div><table><tr><td hidden>x</div>y</td></tr></table>vu</div>",
        "<div><span hidden>x</div>vu",
    };
    for (const std::string& page : pages) {
        SCOPED_TRACE(page);
        EXPECT_EQ(htmlText(page).lines, Lines{"vu"});
    }
    for (const char* style : {"display:block", "font-size:3pt", "font-size:12px", "left:-2px", "opacity:0.8",
                              "font-size:small", "displaynone", "visibility:visible"})
        EXPECT_EQ(htmlText("<p style='" + std::string(style) + "'>vu").lines, Lines{"vu"}) << style;
}

TEST(HTMLText, findsTheCharset) {
    const std::vector<std::string> pages{
        "<meta charset=windows-1252><p>\x80t\xE9",
        "<meta http-equiv='Content-Type' content='text/html; charset=iso-8859-1'><p>\x80t\xE9",
        "<meta charset=utf-8><p>\x80t\xE9",
        "<meta charset=iso-8859-1><p>€té",
        "<?xml version='1.0' encoding='iso-8859-15'?><p>\xA4t\xE9",
        "\xEF\xBB\xBF<p>€té",
    };
    for (const std::string& page : pages) {
        SCOPED_TRACE(page);
        const std::optional<DocumentText> read = readHTML(page);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->lines, Lines{"€té"});
    }
    EXPECT_FALSE(readHTML(std::string_view("<p>\0\1\2\3", 7)));
    EXPECT_EQ(htmlText("<meta property='article:published_time' content='2025-03-12T10:30:00Z'>").date,
              instantOfISODate("2025-03-12T10:30:00Z"));
}

TEST(HTMLText, readsBeyondALongStyleSheet) {
    const std::string page = "<style>" + std::string(3 << 20, 'x') + "</style><p>vu";
    EXPECT_EQ(readHTML(page)->lines, Lines{"vu"});
}

TEST(HTMLText, staysLinearOnHostileText) {
    for (const char* piece :
         {"<",       "<a",         "<a ",        "<a b='", "</",    "<!",    "<!--",    "&",
          "&#",      "&#9",        "&eacut",     "<div>",  "<b>",   "</b>",  "<li>",    "<div hidden>",
          "<title>", "<textarea>", "<p style='", "<td>",   "</td>", "<svg>", "<a b=c ", "<meta charset="}) {
        SCOPED_TRACE(piece);
        std::string text;
        for (int i = 0; i < 400; ++i)
            text += "<div>";
        while (text.size() < 512 * 1024)
            text += piece;
        EXPECT_TRUE(readHTML(text));
    }
}

TEST(HTMLText, givesValidLinesForAnything) {
    const std::vector<std::string> words{"<p>",
                                         "</p>",
                                         "<div hidden>",
                                         "</div>",
                                         "<span style='display:none'>",
                                         "</span>",
                                         "<td>",
                                         "<li>",
                                         "</table>",
                                         "<title>",
                                         "</title>",
                                         "&eacute;",
                                         "a",
                                         "<svg>",
                                         "<",
                                         "'",
                                         "\"",
                                         "=",
                                         ">",
                                         "\xC3",
                                         "&#x",
                                         "<script"};
    std::mt19937 random(2);
    for (int i = 0; i < 5'000; ++i) {
        std::string text;
        for (std::size_t n = random() % 30; n > 0; --n)
            text += words[random() % words.size()];
        for (const std::string& line : htmlText(text).lines) {
            ASSERT_TRUE(unicode::isValid(line)) << text;
            ASSERT_EQ(line, unicode::trimmedWhiteSpace(line)) << text;
            ASSERT_FALSE(line.empty()) << text;
        }
    }
}

} // namespace
} // namespace vesto::readers
