#include "core/extraction/readers/office/IWorkReader.h"

#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

using tests::zipArchive;
using Lines = std::vector<std::string>;

// ---- Messages of the present format: fields of numbers and of bytes, in blocks that are not compressed ----

std::string varint(std::size_t value) {
    std::string bytes;
    for (; value > 0x7F; value >>= 7)
        bytes += static_cast<char>(value | 0x80);
    return bytes + static_cast<char>(value);
}
std::string field(std::size_t number, std::size_t value) {
    return varint(number << 3) + varint(value);
}
std::string field(std::size_t number, const std::string& bytes) {
    return varint(number << 3 | 2) + varint(bytes.size()) + bytes;
}
std::string object(std::size_t identifier, std::size_t type, const std::string& data) {
    const std::string head = field(1, identifier) + field(2, field(1, type) + field(3, data.size()));
    return varint(head.size()) + head + data;
}
std::string block(const std::string& data, const std::string& more = "") {
    std::string bytes = varint(data.size());
    for (std::size_t i = 0; i < data.size(); i += 60) {
        const std::string literal = data.substr(i, 60);
        bytes += static_cast<char>((literal.size() - 1) << 2);
        bytes += literal;
    }
    bytes += more;
    std::string head(1, '\0');
    tests::append16(head, bytes.size());
    return head + '\0' + bytes;
}

std::string pagesArchive(const std::string& text, const std::string& more = "") {
    const std::string place =
        field(1, 1) + field(3, std::string("Document")) + field(6, field(1, 1) + field(2, 100));
    return zipArchive({{"Index/Metadata.iwa", block(object(2, 11006, field(3, place))), 0},
                       {"Index/Document.iwa",
                        block(object(1, 10000, field(4, field(1, 100))) +
                                  object(100, 2001, field(3, text) + field(5, field(1, field(1, 0)))),
                              more),
                        0}});
}

TEST(IWorkReader, ReadsMessages) {
    const auto read = readIWork(pagesArchive("Bail du moulin\nLoyer d’été\n"), IWorkFormat::pages);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->lines, (Lines{"Bail du moulin", "Loyer d’été"}));
    // References to before the beginning of a block, and to nothing at all.
    for (const std::string& lie : {std::string("\xE1\xFF"), std::string("\1\0", 2), std::string("\xFF")})
        EXPECT_EQ(readIWork(pagesArchive("x\n", lie), IWorkFormat::pages)->lines, Lines{});
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += "ligne\n";
    EXPECT_LE(readIWork(pagesArchive(text.substr(0, 60'000)), IWorkFormat::pages)->lines.size(), 4001U);
}

TEST(IWorkReader, ReadsTheXMLOfEarlierVersions) {
    const std::string names = " xmlns:sl='http://developer.apple.com/namespaces/sl' "
                              "xmlns:sf='http://developer.apple.com/namespaces/sf' "
                              "xmlns:sfa='http://developer.apple.com/namespaces/sfa' "
                              "xmlns:key='http://developer.apple.com/namespaces/keynote2' ";
    const std::string text = "<sf:text-storage sfa:ID='t'><sf:text-body><sf:p>Plan de table, "
                             "été</sf:p></sf:text-body></sf:text-storage>";
    const auto pages =
        readIWork(zipArchive({{"index.xml", "<sl:document" + names + "sl:version='92008102400'>" + text +
                                                "</sl:document>"}}),
                  IWorkFormat::pages);
    ASSERT_TRUE(pages);
    EXPECT_EQ(pages->lines, Lines{"Plan de table, été"});
    const auto keynote = readIWork(
        zipArchive(
            {{"index.apxl",
              "<key:presentation" + names +
                  "key:version='92008102400'><key:slide-list><key:slide><key:page><sf:layers><sf:layer>"
                  "<sf:drawables><sf:shape><sf:geometry><sf:naturalSize sfa:w='9' sfa:h='9'/><sf:position "
                  "sfa:x='1' "
                  "sfa:y='1'/></sf:geometry><sf:path><sf:bezier-path><sf:bezier sfa:path='M 0 0 L 9 0 L 9 9 "
                  "Z'/></sf:bezier-path></sf:path><sf:text>" +
                  text +
                  "</sf:text></sf:shape></sf:drawables></sf:layer></sf:layers></key:page></key:slide></"
                  "key:slide-list></key:presentation>"}}),
        IWorkFormat::keynote);
    ASSERT_TRUE(keynote);
    EXPECT_EQ(keynote->lines, Lines{"Plan de table, été"});
    EXPECT_EQ(keynote->pageCount, 1);
}

TEST(IWorkReader, RefusesOtherArchives) {
    EXPECT_FALSE(readIWork("PK", IWorkFormat::pages));
    EXPECT_FALSE(readIWork(zipArchive({{"word/document.xml", "<x/>"}}), IWorkFormat::pages));
    for (const IWorkFormat format : {IWorkFormat::pages, IWorkFormat::keynote, IWorkFormat::numbers})
        EXPECT_EQ(readIWork(zipArchive({{"Index/Document.iwa", "\xFF\xFF\xFF\xFFxyz", 0}}), format)->lines,
                  Lines{});
}

} // namespace
} // namespace vesto::readers
