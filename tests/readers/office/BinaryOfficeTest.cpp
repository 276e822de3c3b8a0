#include "core/extraction/readers/office/BinaryOffice.h"

#include "core/extraction/readers/LineCollector.h"
#include "core/extraction/readers/containers/CompoundFile.h"
#include "core/extraction/readers/containers/PropertySet.h"
#include "core/support/UnicodeDates.h"
#include "tests/readers/support/CompoundWriter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace vesto::readers {
namespace {

using tests::append16;
using tests::append32;
using tests::compoundFile;
using Lines = std::vector<std::string>;

std::string fileOf(const std::string& name) {
    std::ifstream stream(VESTO_SOURCE_DIR "/tests/readers/data/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string changed(std::string bytes, std::size_t at, const std::string& to) {
    return bytes.replace(at, to.size(), to);
}

// ---- The container ----

TEST(CompoundFile, ReadsStreamsOfBothSizes) {
    const std::string small(100, 's');
    const std::string large(5000, 'l');
    const std::string bytes = compoundFile({{"Small", small}, {"Large", large}, {"Empty", ""}});
    const auto file = CompoundFile::open(bytes);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->stream("SMALL"), small);
    EXPECT_EQ(file->stream("Large"), large);
    EXPECT_EQ(file->stream("Empty"), "");
    EXPECT_EQ(file->stream("Other"), std::nullopt);
}

TEST(CompoundFile, EndsOnLies) {
    const std::string large(5000, 'l');
    const std::string bytes = compoundFile({{"Small", "s"}, {"Large", large}});
    constexpr std::size_t table = 512, directory = std::size_t{3} * 512,
                          largeEntry = directory + std::size_t{2} * 128;
    const auto largeOf = [](const std::string& file) {
        const auto opened = CompoundFile::open(file);
        return opened ? opened->stream("Large").value_or("none") : "refused";
    };
    EXPECT_EQ(largeOf(bytes), large);
    EXPECT_EQ(largeOf(changed(bytes, table + std::size_t{4} * 3, "\3")), large) << "the small stream's chain";
    EXPECT_EQ(largeOf(changed(bytes, largeEntry + 120, "\xFF\xFF\xFF\xFF")), large + std::string(120, '\0'))
        << "a size beyond the chain";
    // The chain of the large stream leads back to its beginning.
    std::string looped = changed(bytes, largeEntry + 120, "\xFF\xFF\xFF\xFF");
    looped[table + std::size_t{4} * 4] = '\3';
    EXPECT_LE(largeOf(looped).size(), bytes.size());
    EXPECT_EQ(largeOf(changed(bytes, largeEntry + 116, "\xF0\xFF\xFF\xFF")), "");
    EXPECT_EQ(largeOf(changed(bytes, directory + 128 + 72, "\1")), "none") << "siblings in a circle";
    EXPECT_EQ(largeOf(changed(bytes, 48, "\xFE\xFF\xFF\xFF")), "refused") << "no directory";
    EXPECT_EQ(largeOf(changed(bytes, 30, "\x1F")), "refused") << "sectors of 2 GiB";
    EXPECT_EQ(largeOf(bytes.substr(0, 511)), "refused");
    for (std::size_t size = 512; size < bytes.size(); size += 257)
        EXPECT_LE(largeOf(bytes.substr(0, size)).size(), large.size() + 120);
}

std::string lengthAndText(const std::string& text) {
    std::string bytes;
    append32(bytes, 30);
    append32(bytes, text.size());
    return bytes + text;
}

std::string propertySet(const std::vector<std::pair<std::size_t, std::string>>& properties) {
    std::string section, values;
    append32(section, 0);
    append32(section, properties.size());
    for (const auto& [identifier, value] : properties) {
        append32(section, identifier);
        append32(section, 8 + 8 * properties.size() + values.size());
        values += value;
    }
    std::string bytes = "\xFE\xFF" + std::string(22, '\0');
    append32(bytes, 1);
    bytes.append(16, '\0');
    append32(bytes, 48);
    return bytes + section + values;
}

TEST(PropertySet, ReadsTitlesOfEveryCodePage) {
    const auto titleOf = [](std::size_t codePage, const std::string& title) {
        std::string page;
        append32(page, 2);
        append32(page, codePage);
        return readPropertySet(propertySet({{2, lengthAndText(title)}, {1, page}})).title;
    };
    EXPECT_EQ(titleOf(1252, std::string("\x80t\xE9\0\0", 5)), "€té");
    EXPECT_EQ(titleOf(10000, "\x8Et\x8E"), "été");
    EXPECT_EQ(titleOf(65001, "été"), "été");
    EXPECT_EQ(titleOf(1200, std::string("\xE9\0t\0\0\0", 6)), "ét");
    EXPECT_EQ(titleOf(54321, "\xE9t\xE9"), "été") << "an unknown one";
    EXPECT_EQ(readPropertySet(propertySet({{2, lengthAndText("abc").substr(0, 10)}})).title, "ab");
    std::string created;
    append32(created, 64);
    append32(created, 0xF5F9C000);
    append32(created, 0x01DB8DB5); // 2025-03-05 09:20:30 UTC
    std::string pages;
    append32(pages, 3);
    append32(pages, 12);
    const DocumentProperties read = readPropertySet(propertySet({{12, created}, {14, pages}}));
    EXPECT_TRUE(read.created && *read.created > *unicode::instantOf({2025, 3, 4}, "UTC") &&
                *read.created < *unicode::instantOf({2025, 3, 7}, "UTC"));
    EXPECT_EQ(read.pageCount, 12);
    EXPECT_EQ(readPropertySet("\xFE\xFF").title, "");
}

// ---- Word ----

TEST(BinaryWord, ReadsADocumentOfAnOfficeProgram) {
    const auto text = readBinaryWord(fileOf("bail.doc"));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->title, "Bail du moulin – été");
    EXPECT_EQ(text->lines, (Lines{"Bail d’habitation – «\u00A0Le Moulin\u00A0»",
                                  "Loyer mensuel : 430 € charges comprises, voir le site.",
                                  "Désignation Prix", "Caution 860 €", "Ελληνικά, русский, 日本語 et 😀.",
                                  "Fait à Valbrune.", "Encadré à part"}));
    EXPECT_TRUE(text->date);
}

/// A document of one piece, of UTF-16 or one byte each.
std::string wordDocument(const std::string& text, bool isWide, std::size_t flags = 0) {
    std::string document(0x200, '\0');
    const auto put = [&](std::size_t at, std::size_t value) {
        std::string number;
        append32(number, value);
        document.replace(at, 4, number);
    };
    const std::size_t count = isWide ? text.size() / 2 : text.size();
    put(0, 0xA5EC + (193U << 16));
    put(8, flags << 16);
    put(76, count);
    put(0x1A2, 0);
    put(0x1A6, 5 + 16);
    std::string table = "\2";
    append32(table, 16);
    append32(table, 0);
    append32(table, count);
    append16(table, 0);
    append32(table, isWide ? document.size() : 2 * document.size() + 0x40000000);
    append16(table, 0);
    return compoundFile({{"WordDocument", document + text}, {"0Table", table}});
}

TEST(BinaryWord, ReadsCharactersAndFields) {
    const std::vector<std::pair<std::string, Lines>> rows{
        {"Un\rDeux\x0BTrois\x0CQuatre\r", {"Un", "Deux", "Trois", "Quatre"}},
        {"\x93\xC9t\xE9\x94 \x80\r", {"“Été” €"}},
        {"a\x07"
         "b\x07\x07"
         "c\x07\x07",
         {"a b", "c"}},
        {"a\x1E"
         "b\x1F"
         "c\x02\x08\r",
         {"a-bc"}},
        {"le \x13 HYPERLINK x \x14site\x15 ici\r", {"le site ici"}},
        {"\x13 TOC \\o \x14"
         "Objet\r1\x13 PAGEREF \x14"
         "2\x15\r\x15Texte\r",
         {"Texte"}},
        {"\x13 sans fin\rTexte\r", {"Texte"}},
        {"\x15\x14 a\r", {"a"}},
    };
    for (const auto& [text, lines] : rows) {
        SCOPED_TRACE(text);
        const auto read = readBinaryWord(wordDocument(text, false));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->lines, lines);
    }
    const auto wide = readBinaryWord(wordDocument(std::string("\x3D\xD8\0\xDE \0\x12\xDC"
                                                              "a\0\r\0",
                                                              12),
                                                  true));
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->lines, Lines{"😀 a"}) << "half a pair is left out";
}

TEST(BinaryWord, RefusesWhatItCannotRead) {
    EXPECT_FALSE(readBinaryWord(wordDocument("secret", false, 0x0100)));
    EXPECT_FALSE(readBinaryWord(compoundFile({{"Workbook", "x"}})));
    EXPECT_FALSE(readBinaryWord("texte"));
    const std::string whole = fileOf("bail.doc");
    for (std::size_t size = 0; size < whole.size(); size += 331) {
        const auto text = readBinaryWord(whole.substr(0, size));
        EXPECT_TRUE(!text || text->lines.size() < 100U);
    }
}

// ---- Excel ----

TEST(BinaryWorkbook, ReadsAWorkbookOfAnOfficeProgram) {
    const auto text = readBinaryWorkbook(fileOf("comptes.xls"));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->title, "Comptes de l’été");
    EXPECT_EQ(text->lines,
              (Lines{"Poste – œuvre Русский", "Loyer 430.5", "Total 861 -12 0.07", "Dépenses", "Annexe"}));
    EXPECT_EQ(text->pageCount, std::nullopt);
}

std::string record(std::size_t type, const std::string& data) {
    std::string bytes;
    append16(bytes, type);
    append16(bytes, data.size());
    return bytes + data;
}

std::string numbers16(const std::vector<std::size_t>& numbers) {
    std::string bytes;
    for (const std::size_t number : numbers)
        append16(bytes, number);
    return bytes;
}

TEST(BinaryWorkbook, ReadsStringsThatGoOnInTheNextRecord) {
    std::string strings;
    append32(strings, 3);
    append32(strings, 3);
    strings += std::string("\3\0\0abc", 6) + std::string("\4\0\x08\1\0de", 7); // cut: the rest is wide
    const std::string rest = std::string("\1f\0g\0\0\0\0\0", 9) + std::string("\1\0\4\2\0\0\0hxx", 10);
    const auto cell = [](std::size_t row, std::size_t index) {
        return record(0xFD, numbers16({row, 0, 0, index, 0}));
    };
    const std::string formula = record(0x06, numbers16({2, 1, 0, 0, 0, 0, 0xFFFF, 0, 0, 0, 0})) +
                                record(0x207, std::string("\2\0\0ok", 5));
    const std::string globals =
        record(0x809, numbers16({0x600, 5})) + record(0xFC, strings) + record(0x3C, rest);
    const std::string sheet = record(0x809, numbers16({0x600, 0x10})) + cell(0, 1) + cell(1, 2) + cell(2, 0) +
                              formula + cell(3, 99) + record(0x0A, "");
    std::string place = numbers16({0, 0, 0}) + std::string("\1\0F", 3);
    const std::size_t offset = globals.size() + place.size() + 8;
    place[0] = static_cast<char>(offset & 0xFF);
    place[1] = static_cast<char>(offset >> 8);
    const std::string stream = globals + record(0x85, place) + record(0x0A, "") + sheet;
    const auto text = readBinaryWorkbook(compoundFile({{"Workbook", stream}}));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->lines, (Lines{"defg", "h", "abc ok", "F"}));
    const std::string locked = record(0x809, numbers16({0x600, 5})) + record(0x2F, "xx") + stream.substr(8);
    EXPECT_FALSE(readBinaryWorkbook(compoundFile({{"Workbook", locked}})));
}

TEST(BinaryWorkbook, ReadsThoseOfExcel5) {
    const std::string head = record(0x809, numbers16({0x500, 5})) + record(0x42, numbers16({0x8000}));
    const std::string place = std::string("\0\0\0\0\0\0\3\x83t\x8E", 10);
    std::string stream = head + record(0x85, place) + record(0x0A, "");
    stream[head.size() + 4] = static_cast<char>(stream.size());
    const std::string label = numbers16({0, 0, 0, 3}) + "\x8Et\x8E";
    stream += record(0x809, numbers16({0x500, 0x10})) + record(0x204, label) + record(0x0A, "");
    const auto text = readBinaryWorkbook(compoundFile({{"Book", stream}}));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->lines, (Lines{"été", "Été"}));
}

// ---- PowerPoint ----

std::string slideRecord(std::size_t type, const std::string& data, bool isContainer = true,
                        std::size_t instance = 0) {
    std::string bytes;
    append16(bytes, (isContainer ? 0xFU : 0U) | instance << 4);
    append16(bytes, type);
    append32(bytes, data.size());
    return bytes + data;
}

std::string atom(std::size_t type, const std::string& data) {
    return slideRecord(type, data, false);
}

std::string number32(std::size_t value) {
    std::string bytes;
    append32(bytes, value);
    return bytes;
}

TEST(BinarySlides, ReadsSlidesInTheirOrder) {
    const auto place = [](std::size_t object) {
        return atom(1011, number32(object) + std::string(16, '\0'));
    };
    const std::string list = slideRecord(4080, place(3) + atom(4000, std::string("T\0i\0\xE9\0\r\0b\0", 10)) +
                                                   place(2) + place(4));
    const std::string masters = slideRecord(4080, place(5) + atom(4008, "modèle"), true, 1);
    const auto shape = [](const std::string& content) {
        return slideRecord(1036, slideRecord(0xF002, slideRecord(0xF00D, content)));
    };
    std::string stream;
    std::vector<std::size_t> offsets;
    const auto add = [&](const std::string& bytes) {
        offsets.push_back(stream.size());
        stream += bytes;
    };
    add(slideRecord(1000, masters + list));                                                   // 1
    add(slideRecord(1006, shape(atom(4008, "deux\x0B\xE9t\xE9"))));                           // 2
    add(slideRecord(1006, shape(atom(3998, number32(0))) + shape(atom(4008, "un de plus")))); // 3
    add(slideRecord(1006, atom(1017, std::string(10, '\0') + std::string("\4\0\0\0", 4)) +
                              shape(atom(4008, "cach\xE9")))); // 4
    std::string directory = number32(1 | 4U << 20);
    for (const std::size_t offset : offsets)
        directory += number32(offset);
    const std::size_t directoryOffset = stream.size();
    stream += atom(6002, directory);
    const std::size_t edit = stream.size();
    stream += atom(4085, number32(0) + number32(0) + number32(0) + number32(directoryOffset) + number32(1));
    const auto user = [&](std::size_t token) {
        return std::string(12, '\0') + number32(token) + number32(edit);
    };
    const auto text =
        readBinarySlides(compoundFile({{"PowerPoint Document", stream}, {"Current User", user(0xE391C05F)}}));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->lines, (Lines{"Tié", "b", "un de plus", "deux", "été"}));
    EXPECT_EQ(text->pageCount, 3);

    const auto noUser = readBinarySlides(compoundFile({{"PowerPoint Document", stream.substr(offsets[1])}}));
    ASSERT_TRUE(noUser);
    EXPECT_EQ(noUser->lines, (Lines{"deux", "été", "un de plus"})) << "without a list";
    EXPECT_FALSE(readBinarySlides(
        compoundFile({{"PowerPoint Document", stream}, {"Current User", user(0xF3D1C4DF)}})));
    EXPECT_FALSE(readBinarySlides(compoundFile({{"Other", stream}})));
}

} // namespace
} // namespace vesto::readers
