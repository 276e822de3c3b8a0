#include "core/extraction/readers/office/OfficeReader.h"

#include "core/extraction/readers/DocumentDate.h"
#include "core/extraction/readers/ReadingLimits.h"
#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vesto {
namespace {

using readers::OfficeFormat;
using readers::OfficeText;
using readers::readOffice;
using tests::zipArchive;
using tests::ZipPart;
using Lines = std::vector<std::string>;

Lines linesOf(const std::vector<ZipPart>& parts, OfficeFormat format) {
    const auto text = readOffice(zipArchive(parts), format);
    return text.has_value() ? text->lines : Lines{"nothing"};
}

std::string run(const std::string& text, const std::string& properties = "") {
    return "<w:r><w:rPr>" + properties + "</w:rPr><w:t>" + text + "</w:t></w:r>";
}

std::string fieldMark(const std::string& type) {
    return "<w:r><w:fldChar w:fldCharType='" + type + "'/></w:r>";
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

TEST(OfficeReader, ReadsWhatIsSeenOfWordDocuments) {
    const std::string styles =
        "<w:styles><w:style w:styleId='H'><w:rPr><w:vanish/></w:rPr></w:style>"
        "<w:style w:styleId='H2'><w:basedOn w:val='H'/></w:style>"
        "<w:style w:styleId='S'><w:basedOn w:val='H'/><w:rPr><w:vanish w:val='0'/></w:rPr></w:style>"
        "<w:style w:styleId='L'><w:basedOn w:val='L'/></w:style>"
        "<w:style w:styleId='W'><w:rPr><w:color w:val='FFFFFF'/></w:rPr></w:style>"
        "<w:style w:styleId='G'><w:basedOn w:val='W'/><w:rPr><w:shd "
        "w:val='solid'/></w:rPr></w:style></w:styles>";
    const auto code = [](const std::string& text) {
        return "<w:r><w:instrText>" + text + "</w:instrText></w:r>";
    };
    const std::string field = fieldMark("begin") + code(" DATE ") + run("code") + fieldMark("separate") +
                              run("3 mars") + fieldMark("end");
    const std::string box = "<w:r><mc:AlternateContent><mc:Choice><w:txbxContent><w:p>" + run("box 1") +
                            "</w:p><w:p>" + run("box 2") +
                            "</w:p></w:txbxContent></mc:Choice><mc:Fallback><w:txbxContent><w:p>" +
                            run("box 1") + "</w:p></w:txbxContent></mc:Fallback></mc:AlternateContent></w:r>";
    struct Row {
        std::string_view what;
        std::string body;
        Lines expected;
    };
    const std::vector<Row> rows{
        {"lines are trimmed, empty ones dropped",
         "<w:p>" + run(" a\n ") + "</w:p><w:p/><w:p>" + run("b") + "</w:p>",
         {"a", "b"}},
        {"tab stops are no tabs",
         "<w:p>" + run("a") + "<w:pPr><w:tabs><w:tab/></w:tabs></w:pPr>" + run("b") + "<w:r><w:tab/></w:r>" +
             run("c") + "</w:p>",
         {"ab c"}},
        {"hidden runs",
         "<w:p>" + run("a", "<w:vanish/>") + run("b", "<w:vanish w:val='false'/>") +
             run("c", "<w:sz w:val='2'/>") + run("d", "<w:sz w:val='4'/>") + "</w:p>",
         {"bd"}},
        {"hidden styles",
         "<w:p>" + run("a", "<w:rStyle w:val='H2'/>") + run("b", "<w:rStyle w:val='S'/>") +
             run("c", "<w:rStyle w:val='L'/>") + "</w:p><w:p><w:pPr><w:pStyle w:val='H'/></w:pPr>" +
             run("d") + "</w:p>",
         {"bc"}},
        {"a hidden paragraph mark hides no text",
         "<w:p><w:pPr><w:rPr><w:vanish/></w:rPr></w:pPr>" + run("a") + "</w:p>",
         {"a"}},
        {"tracked changes",
         "<w:p><w:del><w:r><w:delText>a</w:delText><w:t>a</w:t></w:r></w:del><w:ins>" + run("b") +
             "</w:ins><w:moveFrom>" + run("c") + "</w:moveFrom></w:p>",
         {"b"}},
        {"the result of a field",
         "<w:p>" + field + "<w:fldSimple w:instr='AUTHOR'>" + run(" Zoé") + "</w:fldSimple></w:p>",
         {"3 mars Zoé"}},
        {"a field without end",
         "<w:p>" + fieldMark("begin") + run("code") + "</w:p><w:p>" + run("a") + "</w:p>",
         {"a"}},
        {"fields in one another without end",
         "<w:p>" + repeated(fieldMark("begin") + fieldMark("separate"), 30) + run("a") +
             repeated(fieldMark("end"), 30) + field + "</w:p>",
         {"a3 mars"}},
        {"a table of contents by its control",
         "<w:sdt><w:sdtPr><w:docPartObj><w:docPartGallery w:val='Table of "
         "Contents'/></w:docPartObj></w:sdtPr><w:sdtContent><w:p>" +
             run("toc") + "</w:p></w:sdtContent></w:sdt><w:sdt><w:p>" + run("a") + "</w:p></w:sdt>",
         {"a"}},
        {"a table of contents by its field",
         "<w:p>" + fieldMark("begin") + code(" TOC \\o ") + fieldMark("separate") + field + "</w:p><w:p>" +
             run("toc") + fieldMark("end") + run("a") + "</w:p>",
         {"a"}},
        {"text boxes come after their paragraph",
         "<w:p>" + run("a") + box + run("b") + "</w:p><w:p>" + run("c") + "</w:p>",
         {"ab", "box 1", "box 2", "c"}},
        {"hard hyphens",
         "<w:p><w:r><w:t>peut</w:t><w:noBreakHyphen/><w:t>être</w:t></w:r></w:p>",
         {"peut-être"}},
        {"white text",
         "<w:p>" + run("x", "<w:color w:val='FFFFFF'/>") +
             run("a", "<w:color w:val='FEFEFE'/><w:shd w:val='clear' w:fill='1F497D'/>") +
             run("b", "<w:color w:val='ffffff'/><w:highlight w:val='black'/>") +
             run("c", "<w:color w:val='auto'/>") + run("x", "<w:rStyle w:val='W'/>") +
             run("d", "<w:rStyle w:val='G'/>") +
             "</w:p><w:p><w:pPr><w:pStyle "
             "w:val='W'/></w:pPr>" +
             run("x") + run("e", "<w:color w:val='000000'/>") + "</w:p>",
         {"abcd", "e"}},
        {"white text on a painted paragraph, in a painted table, in a box",
         "<w:p><w:pPr><w:shd w:val='clear' w:fill='000000'/></w:pPr>" +
             run("a", "<w:color w:val='FFFFFF'/>") +
             "</w:p><w:tbl><w:tr><w:tc><w:tcPr><w:shd w:val='clear' w:fill='000080'/></w:tcPr><w:p>" +
             run("b", "<w:color w:val='FFFFFF'/>") + "</w:p></w:tc></w:tr></w:tbl><w:tbl><w:p>" +
             run("x", "<w:color w:val='FFFFFF'/>") + "</w:p></w:tbl><w:p><w:r><w:txbxContent><w:p>" +
             run("c", "<w:color w:val='FFFFFF'/>") + "</w:p></w:txbxContent></w:r>" +
             run("x", "<w:color w:val='FFFFFF'/>") + "</w:p>",
         {"a", "b", "c"}},
        {"phonetic guides",
         "<w:p><w:ruby><w:rt>" + run("kan") + "</w:rt><w:rubyBase>" + run("漢") +
             "</w:rubyBase></w:ruby></w:p>",
         {"漢"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(
            linesOf({{"word/document.xml", "<w:document><w:body>" + row.body + "</w:body></w:document>"},
                     {"word/styles.xml", styles}},
                    OfficeFormat::wordprocessing),
            row.expected);
    }
}

TEST(OfficeReader, StopsOnceThereIsEnough) {
    std::string body;
    for (int paragraph = 0; paragraph < 1'000; ++paragraph)
        body += "<w:p>" + run(std::string(99, 'x') + "é") + "</w:p>";
    const Lines lines = linesOf({{"word/document.xml", "<d>" + body + "</d>"}}, OfficeFormat::wordprocessing);
    EXPECT_EQ(lines.size(), readers::maxCharacters / 100);
    const std::string slide = "<p:sld><a:p><a:t>" + std::string(15'000, 'x') + "</a:t></a:p></p:sld>";
    EXPECT_EQ(linesOf({{"ppt/slides/slide1.xml", slide},
                       {"ppt/slides/slide2.xml", slide},
                       {"ppt/slides/slide3.xml", slide}},
                      OfficeFormat::presentation)
                  .size(),
              2U);
}

std::string slide(const std::string& text, const std::string& attributes = "") {
    return "<p:sld " + attributes + "><p:sp><a:p><a:r><a:t>" + text +
           "</a:t></a:r><a:fld type='slidenum'><a:t>9</a:t></a:fld></a:p></p:sp></p:sld>";
}

TEST(OfficeReader, ReadsSlidesInTheirOrder) {
    std::vector<ZipPart> parts{{"ppt/slides/slide10.xml", slide("ten")},
                               {"ppt/slides/slide9.xml", slide("nine")},
                               {"ppt/slides/slide2.xml", slide("hidden", "show='0'")},
                               {"ppt/slides/_rels/slide9.xml.rels", "<x/>"},
                               {"docProps/app.xml", "<P><Slides>7</Slides><Pages>7</Pages></P>"}};
    EXPECT_EQ(linesOf(parts, OfficeFormat::presentation), (Lines{"nine", "ten"}));
    parts.push_back({"ppt/presentation.xml",
                     "<p><p:sldIdLst><p:sldId r:id='r3'/><p:sldId r:id='r1'/><p:sldId "
                     "r:id='r3'/><p:sldId r:id='r2'/><p:sldId r:id='gone'/></p:sldIdLst></p>"});
    parts.push_back({"ppt/_rels/presentation.xml.rels",
                     "<r><Relationship Id='r1' Target='slides/slide9.xml'/><Relationship Id='r2' "
                     "Target='../ppt/slides/slide2.xml'/><Relationship Id='r3' "
                     "Target='/ppt/slides/slide10.xml'/></r>"});
    const auto text = readOffice(zipArchive(parts), OfficeFormat::presentation);
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(text->lines, (Lines{"ten", "nine"}));
    EXPECT_EQ(text->pageCount, 3);

    const std::string hidden = "<p:sld><p:sp><p:nvSpPr><p:cNvPr "
                               "hidden='1'/></p:nvSpPr><a:p><a:t>no</a:t></a:p></p:sp><a:p><a:r><a:rPr "
                               "sz='100'/><a:t>tiny</a:t></a:r><a:r><a:t>yes</a:t></a:r></a:p></p:sld>";
    EXPECT_EQ(linesOf({{"ppt/slides/slide1.xml", hidden}}, OfficeFormat::presentation), Lines{"yes"});
}

TEST(OfficeReader, LeavesOutWhiteTextOnWhiteSlides) {
    const auto text = [](const std::string& color, const std::string& fill = "") {
        return "<p:sp><p:spPr><a:ln><a:solidFill><a:srgbClr val='000000'/></a:solidFill></a:ln>" + fill +
               "</p:spPr><p:txBody><a:p><a:r><a:rPr><a:solidFill>" + color +
               "</a:solidFill></a:rPr><a:t>t</a:t></a:r>"
               "</a:p></p:txBody></p:sp>";
    };
    const std::string white = "<a:srgbClr val='FFFFFF'/>", theme = "<a:schemeClr val='bg1'/>",
                      blue = "<a:srgbClr val='000080'/>", painted = "<a:solidFill>" + blue + "</a:solidFill>";
    const std::string plain =
        "<p:sldMaster><p:bg><p:bgRef idx='1001'>" + theme + "</p:bgRef></p:bg></p:sldMaster>";
    const std::string dark = "<p:sldMaster><p:bg><p:bgPr>" + painted + "</p:bgPr></p:bg></p:sldMaster>";
    struct Row {
        std::string slide, master;
        std::size_t lines;
    };
    const std::vector<Row> rows{
        {text(blue), plain, 1},
        {text(white), plain, 0},
        {text(theme) + text(blue), plain, 1},
        {text(white), dark, 1},
        {text(white, painted), plain, 1},
        {text(blue, painted) + text(white), plain, 2}, // perhaps above the painted one
        {"<p:pic><a:blip/></p:pic>" + text(white), plain, 1},
        {"<p:bg>" + painted + "</p:bg>" + text(white), plain, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.slide);
        EXPECT_EQ(
            linesOf({{"ppt/slides/slide1.xml", "<p:sld>" + row.slide + "</p:sld>"},
                     {"ppt/slides/_rels/slide1.xml.rels",
                      "<r><Relationship Id='1' Type='x/slideLayout' Target='../slideLayouts/l.xml'/></r>"},
                     {"ppt/slideLayouts/l.xml", "<p:sldLayout/>"},
                     {"ppt/slideLayouts/_rels/l.xml.rels",
                      "<r><Relationship Id='1' Type='x/slideMaster' Target='../slideMasters/m.xml'/></r>"},
                     {"ppt/slideMasters/m.xml", row.master}},
                    OfficeFormat::presentation)
                .size(),
            row.lines);
    }
}

TEST(OfficeReader, ReadsTheFirstSheetThatIsShown) {
    const std::string sheet =
        "<worksheet><cols><col min='2' max='3' hidden='1'/></cols><sheetData>"
        "<row><c r='A1' t='s'><v>0</v></c><c r='C1'><v>hidden</v></c><c r='D1'><v>4</v></c></row>"
        "<row hidden='1'><c><v>hidden</v></c></row>"
        "<row><c><v>a</v></c><c><v>hidden</v></c></row></sheetData><row><c><v>no "
        "cell</v></c></row></worksheet>";
    const std::string strings = "<sst><si><r><t>Re</t></r><r><t>venu</t></r><rPh><t>no</t></rPh></si></sst>";
    std::vector<ZipPart> parts{
        {"xl/worksheets/sheet1.xml", "<x:worksheet><x:row><x:c><x:v>first</x:v></x:c></x:row></x:worksheet>"},
        {"xl/worksheets/other.xml", sheet},
        {"xl/sharedStrings.xml", strings}};
    EXPECT_EQ(linesOf(parts, OfficeFormat::spreadsheet), Lines{"first"});
    parts.push_back({"xl/workbook.xml",
                     "<w><sheets><sheet name='Secret' state='hidden' r:id='r1'/><sheet name='Graphe' "
                     "r:id='r3'/><sheet name=' Budget ' r:id='r2'/></sheets></w>"});
    parts.push_back(
        {"xl/_rels/workbook.xml.rels",
         "<r><Relationship Id='r1' Type='x/worksheet' Target='worksheets/sheet1.xml'/><Relationship Id='r2' "
         "Type='x/worksheet' Target='worksheets/other.xml'/><Relationship Id='r3' Type='x/chartsheet' "
         "Target='chartsheets/sheet1.xml'/></r>"});
    EXPECT_EQ(linesOf(parts, OfficeFormat::spreadsheet), (Lines{"Revenu 4", "a", "Graphe", "Budget"}));
    parts.push_back(
        {"xl/styles.xml",
         "<s><fonts><font><sz val='11'/></font><font><color rgb='FFFFFFFF'/></font><font><sz val='1'/>"
         "</font></fonts><fills><fill><patternFill patternType='none'/></fill><fill><patternFill "
         "patternType='solid'/></fill></fills><cellStyleXfs><xf fontId='1'/></cellStyleXfs><cellXfs><xf "
         "fontId='0'/><xf fontId='1' fillId='0'/><xf fontId='1' fillId='1'/><xf fontId='2'/></cellXfs></s>"});
    parts[1].content =
        "<worksheet><sheetData><row><c s='1'><v>x</v></c><c s='2'><v>painted</v></c><c s='3'><v>x</v></c>"
        "<c s='99'><v>7</v></c></row></sheetData></worksheet>";
    EXPECT_EQ(linesOf(parts, OfficeFormat::spreadsheet).front(), "painted 7") << "white and tiny cells";
    parts[1].content = "<worksheet/>";
    EXPECT_EQ(linesOf(parts, OfficeFormat::spreadsheet), Lines{}) << "no sheet names without rows";
}

TEST(OfficeReader, ReadsWhatIsSeenOfOpenDocuments) {
    const std::string common = "<s><style:style style:family='text' style:name='H'><style:text-properties "
                               "text:display='none'/></style:style></s>";
    const std::string automatic =
        "<style:style style:family='text' style:name='T1' style:parent-style-name='H'/>"
        "<style:style style:family='text' style:name='T2' style:parent-style-name='H'><style:text-properties "
        "text:display='true'/></style:style>"
        "<style:style style:family='text' style:name='W'><style:text-properties "
        "fo:color='#ffffff'/></style:style>"
        "<style:style style:family='text' style:name='WG' style:parent-style-name='W'><style:text-properties "
        "fo:background-color='#000080'/></style:style>"
        "<style:style style:family='paragraph' style:name='PG'><style:paragraph-properties "
        "fo:background-color='#000080'/></style:style>"
        "<style:style style:family='table-cell' style:name='C'><style:table-cell-properties "
        "fo:background-color='#000080'/></style:style>"
        "<style:style style:family='paragraph' style:name='P1'><style:text-properties "
        "fo:font-size='1.5pt'/></style:style>"
        "<style:style style:family='drawing-page' style:name='dp'><style:drawing-page-properties "
        "presentation:visibility='hidden'/></style:style>"
        "<style:style style:family='table' style:name='ta'><style:table-properties "
        "table:display='false'/></style:style>";
    struct Row {
        std::string_view what;
        OfficeFormat format;
        std::string body;
        Lines expected;
    };
    constexpr auto text = OfficeFormat::openDocumentText;
    const std::vector<Row> rows{
        {"paragraphs and headings in one order",
         text,
         "<text:h>A</text:h><text:p>b\n   c<text:s/> d</text:p><text:h>E</text:h><text:p/>",
         {"A", "b c d", "E"}},
        {"hidden spans and paragraphs",
         text,
         "<text:p>a<text:span text:style-name='T1'>x</text:span><text:span "
         "text:style-name='T2'>b</text:span></text:p><text:p text:style-name='P1'>x</text:p>",
         {"ab"}},
        {"white text",
         text,
         "<text:p>a<text:span text:style-name='W'>x</text:span><text:span "
         "text:style-name='WG'>b</text:span></text:p>"
         "<text:p text:style-name='PG'><text:span "
         "text:style-name='W'>c</text:span></text:p><table:table-cell "
         "table:style-name='C'><text:p><text:span "
         "text:style-name='W'>d</text:span></text:p></table:table-cell>"
         "<text:p><text:span text:style-name='W'>x</text:span></text:p>",
         {"ab", "c", "d"}},
        {"hidden fields",
         text,
         "<text:p>a<text:hidden-text "
         "text:is-hidden='true'>x</text:hidden-text></text:p><text:p>x<text:hidden-paragraph "
         "text:is-hidden='true'/>x</text:p><text:p>b<text:hidden-paragraph text:is-hidden='false'/></text:p>",
         {"a", "b"}},
        {"hidden sections",
         text,
         "<text:section text:display='none'><text:p>x</text:p></text:section><text:section "
         "text:display='condition' text:is-hidden='false'><text:p>a</text:p></text:section>",
         {"a"}},
        {"what does not belong to the text",
         text,
         "<text:tracked-changes><text:p>x</text:p></text:tracked-changes><text:table-of-content><text:p>x</"
         "text:p></text:table-of-content><text:p>a<text:note><text:p>x</text:p></"
         "text:note><office:annotation><text:p>x</text:p></office:annotation></text:p>",
         {"a"}},
        {"text boxes come after their paragraph",
         text,
         "<text:p>a<draw:frame><draw:text-box><text:p>box 1</text:p><text:p>box "
         "2</text:p></draw:text-box><svg:title>x</svg:title></draw:frame>b</text:p><text:p>c</text:p>",
         {"ab", "box 1", "box 2", "c"}},
        {"slides",
         OfficeFormat::openDocumentPresentation,
         "<draw:page><text:p>1</text:p><presentation:notes><text:p>x</text:p></presentation:notes></"
         "draw:page><draw:page "
         "draw:style-name='dp'><text:p>x</text:p></draw:page><draw:page><draw:text-box><text:p>3</text:p></"
         "draw:text-box></draw:page>",
         {"1", "3"}},
        {"sheets",
         OfficeFormat::openDocumentSpreadsheet,
         "<table:table table:name='X' "
         "table:style-name='ta'><table:table-row><text:p>x</text:p></table:table-row></"
         "table:table><table:table table:name='Budget'><table:table-column/><table:table-column "
         "table:visibility='collapse' "
         "table:number-columns-repeated='2'/><table:table-row><table:table-cell><text:p>a</text:p><text:p>b</"
         "text:p></table:table-cell><table:table-cell "
         "table:number-columns-repeated='2'><text:p>x</text:p></table:table-cell> "
         "<table:table-cell><text:p>c</text:p></table:table-cell></table:table-row><table:table-row "
         "table:visibility='filter'><text:p>x</text:p></table:table-row></table:table><table:table "
         "table:name='Annexe'><table:table-row><text:p>x</text:p></table:table-row></table:table>",
         {"a b c", "Budget", "Annexe"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(linesOf({{"content.xml", "<o>" + automatic + row.body + "</o>"}, {"styles.xml", common}},
                          row.format),
                  row.expected);
    }
    std::string many = "<table:table table:name='S'>";
    for (int index = 0; index < 50; ++index)
        many += "<table:table-row><table:table-cell><text:p>r</text:p></table:table-cell></"
                "table:table-row><table:table-row/>";
    many += "</table:table><table:table table:name='T'/>";
    const Lines lines =
        linesOf({{"content.xml", many = "<o>" + many + "</o>"}}, OfficeFormat::openDocumentSpreadsheet);
    ASSERT_EQ(lines.size(), 42U);
    EXPECT_EQ(lines.back(), "T");
}

TEST(OfficeReader, ReadsMetadata) {
    const Instant created = std::chrono::sys_days{std::chrono::year{2024} / 3 / 5} + std::chrono::hours{10};
    const OfficeText expected{.title = "Rapport", .lines = {}, .date = created, .pageCount = 12};
    EXPECT_EQ(
        readOffice(zipArchive({{"word/document.xml", "<d/>"},
                               {"docProps/core.xml",
                                "<c><dc:title>\n Rapport "
                                "</dc:title><dcterms:created>2024-03-05T10:00:00Z</dcterms:created></c>"},
                               {"docProps/app.xml", "<P><Pages>12</Pages></P>"}}),
                   OfficeFormat::wordprocessing),
        expected);
    EXPECT_EQ(
        readOffice(
            zipArchive(
                {{"content.xml", "<d/>"},
                 {"meta.xml",
                  "<m><dc:title>Rapport</dc:title><meta:creation-date>2024-03-05T12:00:00.123456789+02:00</"
                  "meta:creation-date><meta:document-statistic meta:page-count='12'/></m>"}}),
            OfficeFormat::openDocumentText),
        expected);
    EXPECT_EQ(
        readOffice(
            zipArchive({{"content.xml", "<d/>"},
                        {"meta.xml",
                         "<m><dc:title> </dc:title><meta:document-statistic meta:page-count='0'/></m>"}}),
            OfficeFormat::openDocumentText),
        OfficeText{});
}

TEST(OfficeReader, RefusesWhatHoldsNoDocument) {
    const ZipPart noise{"content.xml", "\x8F\xAAnoise"};
    struct Row {
        std::vector<ZipPart> parts;
        OfficeFormat format;
    };
    const std::vector<Row> rows{
        {{{"other", "<x/>"}}, OfficeFormat::wordprocessing},
        {{{"other", "<x/>"}}, OfficeFormat::presentation},
        {{{"other", "<x/>"}}, OfficeFormat::spreadsheet},
        {{noise}, OfficeFormat::openDocumentText},
        {{noise}, OfficeFormat::openDocumentSpreadsheet},
        {{{"word/document.xml", "<x/>", 8, 99}}, OfficeFormat::wordprocessing},
        {{{"ppt/slides/slide1.xml", "noise"}}, OfficeFormat::presentation},
    };
    for (const Row& row : rows)
        EXPECT_EQ(linesOf(row.parts, row.format), Lines{"nothing"}) << row.parts.front().name;
    EXPECT_FALSE(readOffice("no archive, but longer than one", OfficeFormat::wordprocessing).has_value());
    const std::string elsewhere =
        "<r><Relationship Id='1' Type='http://x/officeDocument' Target='/word/document2.xml'/></r>";
    EXPECT_EQ(linesOf({{"_rels/.rels", elsewhere}, {"word/document2.xml", "<w:p>" + run("a") + "</w:p>"}},
                      OfficeFormat::wordprocessing),
              Lines{"a"});
}

TEST(DocumentDate, ReadsOnlyWholeDates) {
    const auto at = [](int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
        return Instant(std::chrono::sys_days{std::chrono::year{year} / month / day}) +
               std::chrono::hours{hour} + std::chrono::minutes{minute} + std::chrono::seconds{second};
    };
    const std::vector<std::pair<std::string_view, std::optional<Instant>>> rows{
        {"2024-02-29T23:59:58Z", at(2024, 2, 29, 23, 59, 58)},
        {" 1990-01-01T00:00Z\n", at(1990, 1, 1)},
        {"2100-12-31T00:00:00-0130", at(2100, 12, 31, 1, 30)},
        {"2025-03-12 10:30 -0130", at(2025, 3, 12, 12)},
        {"2025-03-12T10:30:00.125+02", at(2025, 3, 12, 8, 30)},
        {"2025-03-12T10:30:00+02:", std::nullopt},
        {"1989-12-31T23:59:59Z", std::nullopt},
        {"2101-01-01T00:00:00Z", std::nullopt},
        {"2023-02-29T00:00:00Z", std::nullopt},
        {"2024-13-01T00:00:00Z", std::nullopt},
        {"2024-01-01T00:00:00Zx", std::nullopt},
        {"2024-01-01T00:00:", std::nullopt},
        {"2024-01-01T00:00:00+2", std::nullopt},
        {"2024-01", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(readers::documentDate(text), expected) << text;
    EXPECT_TRUE(readers::documentDate("2024-01-01T10:00:00").has_value()) << "local time";
    EXPECT_TRUE(readers::documentDate("2024-01-01").has_value());
}

} // namespace
} // namespace vesto
