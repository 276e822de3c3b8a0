#include "core/extraction/readers/FileBytes.h"

#include "tests/readers/support/TemporaryFile.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <vector>

namespace vesto {
namespace {

using readers::FileBytes;
using tests::temporaryFile;

std::ptrdiff_t countOf(std::string_view bytes, char wanted) {
    return std::count(bytes.begin(), bytes.end(), wanted);
}

TEST(FileBytes, MapsUpToTheMaximum) {
    const UniqueFd file = temporaryFile("abcde");
    ASSERT_TRUE(FileBytes::map(file.get(), 5).has_value());
    EXPECT_EQ(FileBytes::map(file.get(), 5)->view(), "abcde");
    EXPECT_FALSE(FileBytes::map(file.get(), 4).has_value());

    const UniqueFd empty = temporaryFile("");
    const auto none = FileBytes::map(empty.get(), 0);
    ASSERT_TRUE(none.has_value());
    EXPECT_TRUE(none->view().empty());
    EXPECT_FALSE(none->wasTruncated());

    EXPECT_FALSE(FileBytes::map(-1, 100).has_value());
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const UniqueFd reading(ends[0]);
    const UniqueFd writing(ends[1]);
    EXPECT_FALSE(FileBytes::map(reading.get(), 100).has_value());
}

TEST(FileBytes, ReadsZerosWhereTheFileWasCutShort) {
    constexpr std::size_t page = 65'536; // a multiple of every page size
    const std::string content(3 * page, 'x');
    const UniqueFd cut = temporaryFile(content);
    const UniqueFd whole = temporaryFile(content);
    auto first = FileBytes::map(cut.get(), content.size());
    const auto second = FileBytes::map(whole.get(), content.size());
    ASSERT_TRUE(first.has_value() && second.has_value());
    ASSERT_EQ(::ftruncate(cut.get(), page), 0);

    EXPECT_EQ(countOf(first->view(), 'x'), static_cast<std::ptrdiff_t>(page));
    EXPECT_EQ(countOf(first->view(), '\0'), static_cast<std::ptrdiff_t>(2 * page));
    const FileBytes moved = std::move(*first);
    EXPECT_TRUE(moved.wasTruncated());
    ASSERT_EQ(::ftruncate(cut.get(), 3 * page), 0);
    EXPECT_TRUE(moved.wasTruncated()) << "what was read stays zeros, although the file has its size back";

    EXPECT_EQ(countOf(second->view(), 'x'), static_cast<std::ptrdiff_t>(3 * page));
    EXPECT_FALSE(second->wasTruncated());
}

TEST(FileBytes, NoticesACutInsideTheLastPage) {
    const UniqueFd file = temporaryFile("0123456789");
    const auto bytes = FileBytes::map(file.get(), 10);
    ASSERT_TRUE(bytes.has_value());
    ASSERT_EQ(::ftruncate(file.get(), 4), 0);
    EXPECT_TRUE(bytes->wasTruncated());
}

TEST(FileBytes, CopiesWhereNoMoreMappingsCanBeGuarded) {
    const UniqueFd file = temporaryFile("content");
    std::vector<FileBytes> all;
    for (int index = 0; index < 100; ++index) {
        auto bytes = FileBytes::map(file.get(), 100);
        ASSERT_TRUE(bytes.has_value());
        all.push_back(std::move(*bytes));
    }
    EXPECT_TRUE(std::all_of(all.begin(), all.end(), [](const FileBytes& bytes) {
        return bytes.view() == "content" && !bytes.wasTruncated();
    }));
}

TEST(FileBytesDeathTest, LeavesForeignFaultsToWhoeverHandledThem) {
    const UniqueFd file = temporaryFile(std::string(8192, 'x'));
    const auto bytes = FileBytes::map(file.get(), 8192);
    ASSERT_TRUE(bytes.has_value());
    void* foreign = ::mmap(nullptr, 8192, PROT_READ, MAP_PRIVATE, file.get(), 0);
    ASSERT_NE(foreign, MAP_FAILED);
    ASSERT_EQ(::ftruncate(file.get(), 0), 0);
    EXPECT_DEATH({ [[maybe_unused]] const volatile char byte = *static_cast<volatile char*>(foreign); }, "");
    ::munmap(foreign, 8192);
}

} // namespace
} // namespace vesto
