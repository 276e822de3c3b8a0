#include "services/client/SealedSound.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace vesto::tests {
namespace {

constexpr std::size_t minute = 60 * 16'000; // samples

UniqueFd memory(std::size_t bytes, int seals) {
    UniqueFd fd(::memfd_create("sound", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    EXPECT_EQ(::ftruncate(fd.get(), static_cast<off_t>(bytes)), 0);
    EXPECT_EQ(::fcntl(fd.get(), F_ADD_SEALS, seals), 0);
    return fd;
}

TEST(SealedSound, OfAnotherProcessIsTakenOnlyWhereItCannotChange) {
    constexpr int all = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
    struct Row {
        std::string name;
        UniqueFd fd;
        std::uint64_t samples;
        bool isTaken;
    };
    Row rows[] = {
        {"as it should be", memory(200, all), 100, true},
        {"a whole minute", memory(minute * 2, all), minute, true},
        {"could still be written", memory(200, F_SEAL_SHRINK | F_SEAL_GROW), 100, false},
        {"could still shrink", memory(200, F_SEAL_GROW | F_SEAL_WRITE), 100, false},
        {"shorter than it says", memory(198, all), 100, false},
        {"of any number that overflows", memory(0, all), std::uint64_t{1} << 63, false},
        {"too long", memory((minute + 1) * 2, all), minute + 1, false},
        {"empty", memory(0, all), 0, false},
        {"a file", UniqueFd(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC)), 100, false},
        {"nothing", UniqueFd(), 100, false},
    };
    for (Row& row : rows)
        EXPECT_EQ(SealedSound::from(std::move(row.fd), row.samples).has_value(), row.isTaken) << row.name;
}

TEST(SealedSound, IsTheFirstMinuteAndNobodyCanWriteIt) {
    std::vector<std::int16_t> samples(minute + 7, 5);
    samples.back() = 9000;
    EXPECT_TRUE(isSilent(samples)); // what is beyond is not heard
    const auto sound = SealedSound::of(samples);
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->samples(), minute);
    EXPECT_LT(::pwrite(sound->descriptor(), "x", 1, 0), 0);
    EXPECT_FALSE(SealedSound::of({}));
}

} // namespace
} // namespace vesto::tests
