#include "core/extraction/readers/markup/XMLText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vesto {
namespace {

using readers::XMLText::paragraphs;
using readers::XMLText::sheetRows;
using Lines = std::vector<std::string>;

TEST(XMLText, CollectsParagraphs) {
    struct Row {
        std::string_view what;
        std::string xml;
        std::optional<std::string> run;
        Lines expected;
    };
    const std::vector<Row> rows{
        {"all text of a paragraph", "<r>out<p> a<b>b</b>\n</p>out<p/></r>", std::nullopt, {" ab\n", ""}},
        {"text of runs only", "<r><p>x<w:t>a</w:t>y<w:t>b</w:t></p><w:t>z</w:t></r>", "w:t", {"ab"}},
        {"breaks, also outside of runs",
         "<r><w:tab/><p><w:t>a</w:t><w:tab/><w:t>b<w:br/>c</w:t></p></r>",
         "w:t",
         {"a b c"}},
        {"breaks of all vocabularies",
         "<p>1<a:br/>2<w:br/>3<text:line-break/>4<w:tab/>5<text:tab/>6<text:s/>7</p>",
         std::nullopt,
         {"1 2 3 4 5 6 7"}},
        {"nested ones flow into the outermost",
         "<r><p>a<p>b<p>c</p></p>d</p><p>e</p></r>",
         std::nullopt,
         {"abcd", "e"}},
        {"a run ends with its first end", "<p><t>a<t>b</t>c</t></p>", "t", {"ab"}},
        {"a break that is the run", "<p>x<w:br>a</w:br></p>", "w:br", {"a"}},
        {"a break that is the paragraph", "<r><w:br>a</w:br></r>", std::nullopt, {}},
        {"entities and references",
         "<p>&lt;&amp;&#233;&#x20AC;<![CDATA[<x>]]></p>",
         std::nullopt,
         {"<&é€<x>"}},
        {"not well-formed: the lines so far", "<r><p>a</p><p>b</p></q><p>c</p>", std::nullopt, {"a", "b"}},
        {"cut in a paragraph", "<r><p>a</p><p>b", std::nullopt, {"a"}},
        {"an undefined entity", "<r><p>a</p><p>b&nbsp;</p></r>", std::nullopt, {"a"}},
        {"an undefined one of a document type",
         "<!DOCTYPE r SYSTEM 'x'><r><p>a&nbsp;b</p></r>",
         std::nullopt,
         {"ab"}},
        {"declared entities end the parse",
         "<!DOCTYPE r [<!ENTITY e 'x'>]><r><p>a</p></r>",
         std::nullopt,
         {}},
        {"an external one as well",
         "<!DOCTYPE r [<!ENTITY e SYSTEM '/etc/passwd'>]><r><p>&e;</p></r>",
         std::nullopt,
         {}},
        {"Latin-1", "<?xml version='1.0' encoding='ISO-8859-1'?><p>\xE9t\xE9</p>", std::nullopt, {"été"}},
        {"windows-1252",
         "<?xml version='1.0' encoding='windows-1252'?><p>\x80 l\x92\xE9t\xE9</p>",
         std::nullopt,
         {"€ l’été"}},
        {"KOI8-R", "<?xml version='1.0' encoding='KOI8-R'?><p>\xC4\xC1</p>", std::nullopt, {"да"}},
        {"bytes that stand in pairs end the parse",
         "<?xml version='1.0' encoding='Shift_JIS'?><r><p>a</p><p>\x82\xA0</p></r>",
         std::nullopt,
         {"a"}},
        {"an unknown encoding", "<?xml version='1.0' encoding='x-none'?><p>a</p>", std::nullopt, {}},
        {"bad UTF-8", "<r><p>a</p><p>\xE9t\xE9</p></r>", std::nullopt, {"a"}},
        {"nothing", "", std::nullopt, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const std::string paragraph = row.what == "a break that is the paragraph" ? "none" : "p";
        EXPECT_EQ(paragraphs(row.xml, paragraph, row.run), row.expected);
    }
}

TEST(XMLText, CollectsAttributes) {
    const std::string xml = "<r><s name='a' x='1'/><s x='2'/><s name=''><s name='b'/>text</s></r>";
    EXPECT_EQ(paragraphs(xml, "s", std::nullopt, "name"), (Lines{"a", "", "b"}));
}

TEST(XMLText, NestsDeepButNotWithoutEnd) {
    const auto nested = [](int depth) {
        std::string xml = "<r>";
        for (int level = 0; level < depth; ++level)
            xml += "<x>";
        xml += "<p>deep</p>";
        for (int level = 0; level < depth; ++level)
            xml += "</x>";
        return xml + "</r>";
    };
    EXPECT_EQ(paragraphs(nested(90'000), "p"), Lines{"deep"});
    EXPECT_EQ(paragraphs(nested(100'000), "p"), Lines{});
}

TEST(XMLText, CollectsRows) {
    struct Row {
        std::string_view what;
        std::string cells;
        Lines expected;
    };
    const std::vector<Row> rows{
        {"numbers, text in place, several values",
         "<c><v>1.5</v></c><c t='inlineStr'><is><t>a</t><t>b</t></is></c>",
         {"1.5 ab"}},
        {"shared", "<c t='s'><v>0</v></c><c t='s'><v>3</v></c>", {"zero three"}},
        {"shared, with signs",
         "<c t='s'><v>+3</v></c><c t='s'><v>-0</v></c><c t='s'><v>-1</v></c>",
         {"three zero"}},
        {"shared, no index",
         "<c t='s'><v>3 </v></c><c t='s'><v>x</v></c><c t='s'><v/></c><c t='s'><v>+-1</v></c>",
         {}},
        {"shared, out of range",
         "<c t='s'><v>4</v></c><c t='s'><v>99999999999999999999</v></c><c><v>y</v></c>",
         {"y"}},
        {"the type ends with its cell", "<c t='s'><v>1</v></c><c><v>1</v></c>", {"one 1"}},
        {"formulas are no values", "<c><f>SUM(A1)</f><v>7</v></c>", {"7"}},
        {"empty cells only", "<c><v/></c><c/>", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(sheetRows("<row>" + row.cells + "</row>", {"zero", "one", "two", "three"}, 40),
                  row.expected);
    }
}

TEST(XMLText, EndsAfterSomeRows) {
    const std::string xml = "<s><row><c><v>1</v></c></row><row/><row><c><v>2</v></c></row>"
                            "<row><c><v>3</v></c></row></s>";
    EXPECT_EQ(sheetRows(xml, {}, 2), (Lines{"1", "2"}));
    EXPECT_EQ(sheetRows("<s><row/><row><c><v>1</v></c></row></s>", {}, 0), Lines{})
        << "an empty row counts towards the check";

    std::string wide = "<s><row>";
    for (int cell = 0; cell < 1'000; ++cell)
        wide += "<c t='s'><v>0</v></c>";
    const Lines lines = sheetRows(wide + "</row></s>", {std::string(50'000, 'x')}, 40);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_LT(lines.front().size(), 200'000U) << "an enormous shared string is not repeated without end";
}

} // namespace
} // namespace vesto
