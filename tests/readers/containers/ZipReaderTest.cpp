#include "core/extraction/readers/containers/ZipReader.h"

#include "tests/readers/support/TemporaryFile.h"
#include "tests/readers/support/ZipWriter.h"

#include <gtest/gtest.h>

#include <random>

namespace vesto {
namespace {

using readers::ZipReader;
using tests::zipArchive;
using tests::ZipPart;

std::optional<std::string> memberOf(std::string_view archive, std::string_view name) {
    const auto reader = ZipReader::open(archive);
    if (!reader.has_value())
        return "no archive";
    const auto member = reader->data(name);
    return member.has_value() ? std::optional(std::string(member->view())) : std::nullopt;
}

TEST(ZipReader, TellsArchivesFromOtherBytes) {
    const std::string empty = zipArchive({});
    ASSERT_EQ(empty.size(), 22U);
    const std::string good = zipArchive({{"a", "text"}});
    const auto with = [&good](std::size_t fromEnd, char byte) {
        std::string bytes = good;
        bytes[bytes.size() - fromEnd] = byte;
        return bytes;
    };
    struct Row {
        std::string_view what;
        std::string bytes;
        std::optional<std::size_t> entries;
    };
    const std::vector<Row> rows{
        {"nothing", "", std::nullopt},
        {"an empty archive of 22 bytes is refused", empty, std::nullopt},
        {"23 bytes: with a comment of one", zipArchive({}, "c"), 0},
        {"a stranger's first bytes", "XX" + good, std::nullopt},
        {"the longest comment", zipArchive({{"a", "text"}}, std::string(65'535, 'c')), 1},
        {"a longer one", zipArchive({{"a", "text"}}, std::string(65'535, 'c')) + "c", std::nullopt},
        {"the last of two end records wins", zipArchive({{"a", "x"}}, zipArchive({}, "c")), 0},
        {"more entries than there are", with(12, 2), std::nullopt},
        {"more entries than there can be", with(11, '\x7F'), std::nullopt},
        {"fewer", with(12, 0), 0},
        {"a directory beyond the end", with(3, '\x7F'), std::nullopt},
        {"a directory at another place", with(6, 1), std::nullopt},
        {"no directory before the end", good.substr(0, good.size() - 74) + good.substr(good.size() - 22),
         std::nullopt},
        {"a name beyond the end", with(45, 0x7F), std::nullopt},
        {"PK and nothing else", "PK" + std::string(21, ' '), std::nullopt},
        {"one of two with the same name", zipArchive({{"a", "1"}, {"b", "2"}, {"a", "3"}}), 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto reader = ZipReader::open(row.bytes);
        EXPECT_EQ(reader.has_value() ? std::optional(reader->entries().size()) : std::nullopt, row.entries);
    }
}

TEST(ZipReader, ReadsMembers) {
    const std::string text(100'000, 't');
    struct Row {
        std::string_view what;
        ZipPart part;
        std::optional<std::string> expected;
    };
    const std::vector<Row> rows{
        {"deflated", {"m", text}, text},
        {"stored", {"m", "stored", 0}, "stored"},
        {"stored with a lying size", {"m", "stored", 0, 3}, "stored"},
        {"stored, too large by its claim", {"m", "stored", 0, 16'777'217}, std::nullopt},
        {"stored, largest claim", {"m", "stored", 0, 16'777'216}, "stored"},
        {"deflated, fewer bytes than declared", {"m", text, 8, 100'001}, std::nullopt},
        {"deflated, more bytes: the declared ones", {"m", text, 8, 5}, "ttttt"},
        {"deflated, declared empty", {"m", text, 8, 0}, ""},
        {"deflated, too large", {"m", text, 8, 16'777'217}, std::nullopt},
        {"deflated, cut", {"m", text, 8, std::nullopt, 3}, std::nullopt},
        {"data beyond the end", {"m", text, 8, std::nullopt, 0xFFFF'FFFF}, std::nullopt},
        {"header beyond the end", {"m", text, 8, std::nullopt, std::nullopt, 0xFFFF'FFFF}, std::nullopt},
        {"no header there", {"m", text, 8, std::nullopt, std::nullopt, 1}, std::nullopt},
        {"another method", {"m", text, 12}, std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(memberOf(zipArchive({{"before", "x"}, row.part}), "m"), row.expected);
    }
    EXPECT_EQ(memberOf(zipArchive({{"a", "1"}, {"a", "3"}}), "a"), "3") << "the later one";
    EXPECT_EQ(memberOf(zipArchive({{"a", "1"}}), "A"), std::nullopt);
    EXPECT_EQ(memberOf(zipArchive({{"caf\xE9", "1"}}), "caf\uFFFD"), "1");
    std::string noDeflate = zipArchive({{"m", "incompressible"}});
    noDeflate[35] = '\xFF'; // the first byte of data
    EXPECT_EQ(memberOf(noDeflate, "m"), std::nullopt);
}

TEST(ZipReader, TakesFilesUpToAMaximum) {
    const std::string archive = zipArchive({{"a", "text"}});
    const UniqueFd file = tests::temporaryFile(archive);
    EXPECT_FALSE(ZipReader::open(file.get(), archive.size() - 1).has_value());
    auto opened = ZipReader::open(file.get(), archive.size());
    ASSERT_TRUE(opened.has_value());
    const ZipReader reader = std::move(*opened);
    EXPECT_EQ(reader.data("a")->view(), "text");
    EXPECT_FALSE(reader.wasTruncated());
    ASSERT_EQ(::ftruncate(file.get(), 3), 0);
    EXPECT_TRUE(reader.wasTruncated());
}

TEST(ZipReader, SurvivesAnyBytes) {
    const std::string good = zipArchive({{"a", std::string(300, 'a')}, {"b", "stored", 0}});
    std::mt19937 random(7); // NOLINT: the same bytes every time
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes = good;
        for (int change = 0; change < 3; ++change)
            bytes[random() % bytes.size()] = static_cast<char>(random());
        const auto reader = ZipReader::open(bytes);
        if (!reader.has_value())
            continue;
        for (const auto& [name, entry] : reader->entries()) {
            const auto member = reader->data(name);
            if (member.has_value() && entry.method == 8) {
                ASSERT_EQ(member->view().size(), static_cast<std::size_t>(entry.size));
            }
        }
    }
}

} // namespace
} // namespace vesto
