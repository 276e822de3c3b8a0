#include "core/support/Log.h"

#include "core/support/UniqueFd.h"
#include "tests/core/files/TestFolder.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstring>

namespace vesto {
namespace {

TEST(Log, HidesPrivateArgumentsUnlessAsked) {
    const std::string name = "Impôts\n2025.pdf";
    EXPECT_EQ(log::line("ignoré (%{public}s) : %{private}s", {"hidden", name}, false),
              "ignoré (hidden) : <private>");
    EXPECT_EQ(log::line("proposition %{public}s conf %f : %{private}s", {"model", 0.756, name}, true),
              "proposition model conf 0.76 : Impôts 2025.pdf");
    EXPECT_EQ(log::line("notifications autorisées : %{bool}d, 5 %", {true}, false),
              "notifications autorisées : true, 5 %");
    // An argument that looks like a place is none; a place without argument stays.
    EXPECT_EQ(log::line("%{public}s %{private}s", {"%{public}s"}, false), "%{public}s %{private}s");
    EXPECT_EQ(log::line("%{private}s", {"\xFF"}, true), "\uFFFD");
}

TEST(Log, SpeaksToTheJournalAndElseToStandardError) {
    const TestFolder folder;
    const UniqueFd journal(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder / "socket";
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(::bind(journal.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const UniqueFd reading(ends[0]);
    const UniqueFd writing(ends[1]);

    std::array<char, 256> bytes{};
    log::Sink sink{.journal = path, .errorOutput = writing.get()};
    sink.write(log::Level::info, "bonjour");
    const auto got = ::recv(journal.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    ASSERT_GT(got, 0);
    EXPECT_EQ(std::string_view(bytes.data(), static_cast<std::size_t>(got)),
              "PRIORITY=6\nSYSLOG_IDENTIFIER=vesto\nMESSAGE=bonjour\n");

    sink.journal = folder / "nobody";
    sink.write(log::Level::error, "au revoir");
    const auto printed = ::read(reading.get(), bytes.data(), bytes.size());
    ASSERT_GT(printed, 0);
    EXPECT_EQ(std::string_view(bytes.data(), static_cast<std::size_t>(printed)), "<3>au revoir\n");
}

} // namespace
} // namespace vesto
