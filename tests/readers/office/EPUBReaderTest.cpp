#include "core/extraction/readers/office/EPUBReader.h"

#include "core/extraction/readers/QuickLookReader.h"
#include "tests/readers/support/Pictures.h"
#include "tests/readers/support/TemporaryFile.h"
#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vesto::readers {
namespace {

using tests::ZipPart;
using Lines = std::vector<std::string>;

const ZipPart container{
    "META-INF/container.xml",
    "<container><rootfiles><rootfile full-path='OEBPS/livre.opf'/></rootfiles></container>"};

std::string package(const std::string& metadata, const std::string& manifest, const std::string& spine,
                    const std::string& guide = "") {
    return "<package xmlns:dc='d'><metadata>" + metadata + "</metadata><manifest>" + manifest +
           "</manifest><spine>" + spine + "</spine><guide>" + guide + "</guide></package>";
}

std::string item(const std::string& id, const std::string& href, const std::string& more = "") {
    return "<item id='" + id + "' href='" + href + "' " + more + "/>";
}

std::string page(const std::string& body) {
    return "<?xml version='1.0'?><html xmlns='h'><head><title/><link rel='stylesheet' "
           "href='s.css'/></head><body>" +
           body + "</body></html>";
}

std::vector<ZipPart> book() {
    return {
        container,
        {"OEBPS/livre.opf",
         package("<dc:title> La Mare au diable </dc:title><dc:title>x</dc:title><dc:creator>George "
                 "Sand</dc:creator><dc:date>2024-03-05</dc:date><meta name='cover' content='img'/>",
                 item("c1", "texte/chapitre%201.xhtml") + item("c2", "./deux.xhtml#debut") +
                     item("nav", "nav.xhtml", "properties='nav'") + item("cv", "premier.xhtml") +
                     item("n", "notes.xhtml") + item("img", "c.png", "media-type='image/png'") +
                     item("css", "s.css", "media-type='text/css'"),
                 "<itemref idref='cv'/><itemref idref='nav'/><itemref idref='n' linear='no'/><itemref "
                 "idref='c1'/><itemref idref='gone'/><itemref idref='c2'/>",
                 "<reference type='cover' href='premier.xhtml'/>")},
        {"OEBPS/texte/chapitre 1.xhtml", page("<h1>Chapitre premier</h1><p>À la sueur de ton visaige<span "
                                              "class='t1'> caché</span></p>")},
        {"OEBPS/deux.xhtml", page("<p>Le laboureur</p>")},
        {"OEBPS/nav.xhtml", page("<p>Sommaire</p>")},
        {"OEBPS/premier.xhtml", page("<p>Couverture</p>")},
        {"OEBPS/notes.xhtml", page("<p>Note</p>")},
        {"OEBPS/s.css", "span.t1{display:none}"}};
}

TEST(EPUBReader, ReadsChaptersInTheirOrder) {
    const auto read = readEPUB(tests::zipArchive(book()));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->text.title, "La Mare au diable");
    EXPECT_EQ(read->author, "George Sand");
    EXPECT_EQ(read->text.lines, (Lines{"Chapitre premier", "À la sueur de ton visaige", "Le laboureur"}));
    EXPECT_TRUE(read->text.date);
    EXPECT_EQ(read->cover, "OEBPS/c.png");
}

TEST(EPUBReader, LeavesOutWhatIsEncrypted) {
    std::vector<ZipPart> parts = book();
    const auto reference = [](const std::string& name) {
        return "<e:EncryptedData><e:CipherReference URI='" + name + "'/></e:EncryptedData>";
    };
    parts.push_back({"META-INF/encryption.xml",
                     "<encryption>" + reference("OEBPS/texte/chapitre%201.xhtml") + "</encryption>"});
    EXPECT_EQ(readEPUB(tests::zipArchive(parts))->text.lines, Lines{"Le laboureur"});
    parts.back().content = "<encryption>";
    for (const char* name : {"texte/chapitre 1", "deux", "nav", "premier"})
        parts.back().content += reference("OEBPS/" + std::string(name) + ".xhtml");
    parts.back().content += "</encryption>";
    const auto read = readEPUB(tests::zipArchive(parts));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->text.lines, Lines{});
    EXPECT_EQ(read->text.title, "La Mare au diable");
}

TEST(EPUBReader, RefusesWhatIsNoBook) {
    EXPECT_FALSE(readEPUB("PK"));
    EXPECT_FALSE(readEPUB(tests::zipArchive({{"a", "b"}})));
    EXPECT_FALSE(readEPUB(tests::zipArchive({container})));
    EXPECT_FALSE(readEPUB(tests::zipArchive({container, {"OEBPS/livre.opf", "pas du XML"}})));
}

TEST(EPUBReader, ShowsTheCoverWhereThereIsNoText) {
    const Raster cover = tests::pageOfLines({"Contes de la lune noire"}, 200);
    const UniqueFd file = tests::temporaryFile(
        tests::zipArchive({container,
                           {"OEBPS/livre.opf", package("<dc:title>Sans titre</dc:title>",
                                                       item("c", "c.png", "properties='cover-image'"), "")},
                           {"OEBPS/c.png", tests::pictureFile(cover, "png")}}));
    QuickLookSummarizer settings;
    settings.ocr.recognitionLanguages = {"fr-FR"};
    settings.timeout = std::chrono::minutes(5);
    const auto reading = summarizeQuickLook({.fd = file.get(),
                                             .path = "a.epub",
                                             .type = {"org.idpf.epub-container"},
                                             .route = Route::quickLook,
                                             .bestDate = {}},
                                            settings);
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->summary.lines, Lines{"Contes de la lune noire"});
    EXPECT_TRUE(reading->summary.textFromOCR);
    EXPECT_EQ(reading->summary.documentTitle, std::nullopt);
    EXPECT_EQ(reading->summary.kind, ContentSummary::Kind::ebook);
    EXPECT_EQ(reading->summary.formatName, "EPUB");
}

} // namespace
} // namespace vesto::readers
