#include "core/extraction/readers/markup/HTMLText.h"

#include "core/extraction/readers/DocumentDate.h"
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
    const std::vector<std::string> unseen{
        // by the rules of a style sheet
        "<style>/* } */ p { x:y } .a, div.b{display:none}</style>vu<p class='z a'>x<div class=b>x</div>",
        "<style>p { x:y } .a,#c{display:none}</style>vu<span id=c>x</span>",
        "<style>@media print{p{display:none}} .t{font-size:1px}</style><p>vu</p><b class=t>x</b>",
        "<style>p { x:y } I{opacity:0}</style><p>vu</p><i>x</i>",
        "<style>.a{display:none} .a{display:inline}</style><span class=a>vu</span>",
        "<style>.a{visibility:hidden}</style><span class=a style='visibility:visible'>vu</span>",
        "<style media=print>p{display:none}</style><p>vu",
        // by the colour of the ground
        "vu<span style='color:#fff'>x<b>y</b></span><font color=white>z</font>",
        "vu<p style='color: rgb(250, 250,250)'>x</p>",
        "<style>p{x:y} .w{color:white}</style>vu<span class=w>x</span>",
        "<style>.k{background:#000;color:#000001}</style>vu<div class=k>x</div>",
        "<body bgcolor=black text=white>vu<span style='color:#000'>x</span>",
        "<table bgcolor='#003366'><td><font color='#ffffff'>vu</font><font color='#003366'>x</font></table>",
        "<div style='background:#036'><span style='color:white'>vu</span></div><p style='color:white'>x",
    };
    for (const std::string& page : unseen) {
        SCOPED_TRACE(page);
        EXPECT_EQ(htmlText(page).lines, Lines{"vu"});
    }
    // What a ground may be that nobody told hides nothing.
    for (const char* page :
         {"<link rel=stylesheet href=a><p style='color:white'>vu",
          "<style>.a .b{background:red}</style><p style='color:#fff'>vu",
          "<div style='background:url(a) #fff'><p style='color:white'>vu", "<p style='color:inherit'>vu",
          "<td background=a.gif><font color=white>vu", "<p style='background:#fff'>vu"})
        EXPECT_EQ(htmlText(page).lines, Lines{"vu"}) << page;
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
              documentDate("2025-03-12T10:30:00Z"));
    EXPECT_EQ(htmlText("<meta name=date content='0001-01-01'>").date, std::nullopt);
}

TEST(HTMLText, readsBeyondALongStyleSheet) {
    const std::string page = "<style>" + std::string(3 << 20, 'x') + "</style><p>vu";
    EXPECT_EQ(readHTML(page)->lines, Lines{"vu"});
}

TEST(HTMLText, staysLinearOnHostileText) {
    for (const char* piece : {"<",
                              "<a",
                              "<a ",
                              "<a b='",
                              "</",
                              "<!",
                              "<!--",
                              "&",
                              "&#",
                              "&#9",
                              "&eacut",
                              "<div>",
                              "<b>",
                              "</b>",
                              "<li>",
                              "<div hidden>",
                              "<title>",
                              "<textarea>",
                              "<p style='",
                              "<td>",
                              "</td>",
                              "<svg>",
                              "<a b=c ",
                              "<meta charset=",
                              "<font color=red>",
                              "<style>a{",
                              "<style>a{color:red}</style>",
                              "<style>@x{{",
                              "<style>/*",
                              "<p class='a a a a a a a a a'>"}) {
        SCOPED_TRACE(piece);
        std::string text;
        for (int i = 0; i < 400; ++i)
            text += "<div>";
        while (text.size() < std::size_t{512} * 1024)
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
