#include "core/extraction/TypeRegistry.h"

#include "core/extraction/Route.h"
#include "core/extraction/TypeTable.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

namespace vesto {
namespace {

using namespace std::string_literals;

std::vector<std::string> words(std::string_view text) {
    std::istringstream stream{std::string(text)};
    return {std::istream_iterator<std::string>(stream), {}};
}

TEST(TypeTable, IsSound) {
    std::set<std::string> identifiers;
    std::set<std::string> extensions;
    for (const TypeRow& row : typeTable()) {
        SCOPED_TRACE(row.identifier);
        for (const std::string& parent : words(row.parents))
            EXPECT_TRUE(identifiers.contains(parent)) << parent; // a parent first: no cycle either
        EXPECT_TRUE(identifiers.emplace(row.identifier).second);
        for (const std::string& extension : words(row.extensions)) {
            EXPECT_TRUE(extensions.insert(extension).second) << extension;
            EXPECT_EQ(TypeRegistry::typeOfExtension(extension), ContentType{std::string(row.identifier)});
        }
    }
}

TEST(TypeRegistry, Extensions) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"pdf", "com.adobe.pdf"},
        {"PDF", "com.adobe.pdf"},
        {"DocX", "org.openxmlformats.wordprocessingml.document"},
        {"xyz", "dyn.xyz"},
        {"XYZ", "dyn.xyz"},
        {"ÉTÉ", "dyn.été"},
        {"averyveryveryverylongextension", "dyn.averyveryveryverylongextension"},
    };
    for (const auto& [extension, identifier] : rows)
        EXPECT_EQ(TypeRegistry::typeOfExtension(extension), ContentType{identifier}) << extension;
    EXPECT_EQ(TypeRegistry::typeOfExtension(""), std::nullopt);
}

TEST(TypeRegistry, Signatures) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"%PDF-1.7\n", "com.adobe.pdf"},
        {"\x89PNG\r\n\x1A\n\0\0\0\rIHDR"s, "public.png"},
        {"\xFF\xD8\xFF\xE0", "public.jpeg"},
        {"GIF89a", "com.compuserve.gif"},
        {"II*\0\x08\0\0\0"s, "public.tiff"},
        {"MM\0*\0\0\0\x08"s, "public.tiff"},
        {"II*\0\x10\0\0\0CR\2\0"s, "com.canon.raw-image"},
        {"BM\x46\0\0\0\0\0\0\0\x36\0\0\0\x28\0"s, "com.microsoft.bmp"},
        {"BMW et les autres", ""},
        {"RIFF\x10\0\0\0WEBPVP8 "s, "org.webmproject.webp"},
        {"RIFF\x10\0\0\0WAVEfmt "s, "com.microsoft.waveform-audio"},
        {"RIFF\x10\0\0\0????fmt "s, ""},
        {"\0\0\0\x18"s + "ftypheic", "public.heic"},
        {"\0\0\0\x18"s + "ftypavif", "public.avif"},
        {"\0\0\0\x18"s + "ftypisom", "public.mpeg-4"},
        {"\0\0\0\x18"s + "ftypM4A ", "com.apple.m4a-audio"},
        {"\0\0\0\x14"s + "ftypqt  ", "com.apple.quicktime-movie"},
        {"\0\0\0\x14"s + "ftypzzzz", ""},
        {"{\\rtf1\\ansi", "public.rtf"},
        {"ID3\4", "public.mp3"},
        {"fLaC", "org.xiph.flac"},
        {"OggS", "org.xiph.ogg-audio"},
        {"PK\3\4", "public.zip-archive"},
        {"%PDF", ""},
        {"", ""},
        {"Bonjour", ""},
    };
    for (const auto& [bytes, identifier] : rows) {
        const auto type = TypeRegistry::typeOfSignature(bytes);
        EXPECT_EQ(type ? type->identifier : "", identifier) << bytes;
    }
}

TEST(TypeRegistry, Conformance) {
    EXPECT_TRUE(TypeRegistry::conforms({"com.apple.m4v-video"}, "public.movie"));
    EXPECT_TRUE(TypeRegistry::conforms({"public.zsh-script"}, "public.text")); // five steps
    EXPECT_TRUE(TypeRegistry::conforms({"dyn.xyz"}, "dyn.xyz"));
    EXPECT_FALSE(TypeRegistry::conforms({"public.movie"}, "com.apple.m4v-video"));
    EXPECT_FALSE(TypeRegistry::conforms({"dyn.xyz"}, "public.data"));
}

TEST(Route, OfWhatPeopleHave) {
    const std::map<std::string, std::optional<Route>> rows{
        {"pdf", Route::pdf},           {"png", Route::image},           {"JPG", Route::image},
        {"heic", Route::image},        {"tif", Route::image},           {"gif", Route::image},
        {"webp", Route::image},        {"bmp", Route::image},           {"svg", std::nullopt},
        {"dng", std::nullopt},         {"avif", std::nullopt},          {"eml", Route::email},
        {"xlsx", Route::quickLook},    {"xls", Route::quickLook},       {"pptx", Route::quickLook},
        {"ppt", Route::quickLook},     {"key", Route::quickLook},       {"pages", Route::quickLook},
        {"numbers", Route::quickLook}, {"epub", Route::quickLook},      {"ods", Route::quickLook},
        {"odp", Route::quickLook},     {"mp4", Route::video},           {"mov", Route::video},
        {"mkv", Route::video},         {"webm", Route::video},          {"m4a", Route::audio},
        {"mp3", Route::audio},         {"opus", Route::audio},          {"docx", Route::document},
        {"doc", Route::document},      {"odt", Route::document},        {"rtf", Route::document},
        {"rtfd", Route::document},     {"webarchive", Route::document}, {"md", Route::document},
        {"txt", Route::document},      {"log", Route::document},        {"json", Route::document},
        {"csv", Route::document},      {"tsv", Route::document},        {"yaml", Route::document},
        {"html", Route::document},     {"xhtml", Route::document},      {"py", Route::document},
        {"sh", Route::document},       {"cpp", Route::document},        {"xml", std::nullopt},
        {"zip", std::nullopt},         {"exe", std::nullopt},           {"xyz", std::nullopt},
    };
    for (const auto& [extension, route] : rows) {
        const auto type = TypeRegistry::typeOfExtension(extension);
        ASSERT_TRUE(type) << extension;
        EXPECT_EQ(routeOf(*type), route) << extension;
    }
}

TEST(Route, SupportedTypesStandInTableOrder) {
    const auto& types = supportedTypes();
    ASSERT_EQ(types.size(), 1U + 7 + 2 + 11 + 3 + 1 + 12); // nothing was dropped
    EXPECT_EQ(types.front().identifier, "com.adobe.pdf");
    EXPECT_EQ(types.back().identifier, "net.daringfireball.markdown");
    for (const ContentType& type : types)
        EXPECT_TRUE(routeOf(type)) << type.identifier;
}

} // namespace
} // namespace vesto
