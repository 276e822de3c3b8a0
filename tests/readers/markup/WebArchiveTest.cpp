#include "core/extraction/readers/markup/WebArchive.h"

#include "core/extraction/readers/containers/PropertyList.h"

#include <gtest/gtest.h>

namespace vesto::readers {
namespace {

using Lines = std::vector<std::string>;

/// A binary property list of these objects, whose first is the root; offsets and numbers of one byte.
std::string propertyList(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00", offsets;
    for (const std::string& object : objects) {
        offsets += static_cast<char>(bytes.size());
        bytes += object;
    }
    const auto number = [](std::size_t value) { return std::string(7, '\0') + static_cast<char>(value); };
    const std::size_t table = bytes.size();
    return bytes + offsets + std::string(6, '\0') + "\1\1" + number(objects.size()) + number(0) +
           number(table);
}

std::string text(const std::string& value) {
    return "\x5F\x10" + std::string(1, static_cast<char>(value.size())) + value;
}

std::string archive(const std::string& data, const std::string& type, const std::string& charset) {
    return propertyList(
        {std::string("\xD1\1\2"), text("WebMainResource"), std::string("\xD3\3\5\7\4\6\x08"),
         text("WebResourceData"), "\x4F\x10" + std::string(1, static_cast<char>(data.size())) + data,
         text("WebResourceMIMEType"), text(type), text("WebResourceTextEncodingName"), text(charset)});
}

TEST(WebArchive, ReadsTheMainResource) {
    const auto page = readWebArchive(archive("<title>Avis</title><p>\xE9t\xE9", "text/html", "iso-8859-1"));
    ASSERT_TRUE(page);
    EXPECT_EQ(page->title, "Avis");
    EXPECT_EQ(page->lines, Lines{"été"});
    EXPECT_EQ(readWebArchive(archive("a < b\n<p>", "text/plain", "UTF-8"))->lines, (Lines{"a < b", "<p>"}));
    EXPECT_FALSE(readWebArchive(archive("GIF89a", "image/gif", "")));
    const std::string inXML =
        "<?xml version='1.0'?><plist><dict><key>WebSubresources</key><array><dict><key>WebResourceData</key>"
        "<data>eA==</data></dict></array><key>WebMainResource</key><dict><key>WebResourceData</key><data>\n"
        "PHA+w6l0\n "
        "w6k=</data><key>WebResourceMIMEType</key><string>text/html</string></dict></dict></plist>";
    ASSERT_TRUE(readWebArchive(inXML));
    EXPECT_EQ(readWebArchive(inXML)->lines, Lines{"été"});
}

TEST(WebArchive, RefusesLies) {
    const std::string whole = archive("<p>x", "text/html", "UTF-8");
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(readWebArchive(std::string_view(whole).substr(0, size))) << size;
    for (std::size_t i = whole.size() - 32; i < whole.size(); ++i) {
        std::string changed = whole;
        changed[i] = '\xFF';
        const auto page = readWebArchive(changed);
        EXPECT_TRUE(!page || page->lines == Lines{"x"}) << i;
    }
    // A dictionary that holds itself, and one that claims more than there is.
    EXPECT_FALSE(readWebArchive(propertyList({std::string("\xD1\1\0", 3), text("WebMainResource")})));
    const std::string many = propertyList({std::string("\xDF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 10)});
    const auto list = PropertyList::open(many);
    ASSERT_TRUE(list);
    EXPECT_FALSE(list->find(list->root(), "a"));
}

} // namespace
} // namespace vesto::readers
