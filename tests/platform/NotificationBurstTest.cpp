#include "app/platform/NotificationBurst.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace vesto {
namespace {

using namespace std::chrono_literals;

class HeldClock final : public Clock {
public:
    [[nodiscard]] Instant now() const override { return {}; }
    [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override { return time; }

    std::chrono::nanoseconds time = 1h;
};

TEST(NotificationBurstTest, SumsUpFromTheSixthWithinTenSeconds) {
    HeldClock clock;
    NotificationBurst burst(clock);
    for (int number = 0; number < 5; ++number)
        EXPECT_TRUE(burst.take("apart " + std::to_string(number), "/a"));
    clock.time += 9999ms;
    EXPECT_FALSE(burst.take("sixth", "/a"));
    EXPECT_FALSE(burst.take("seventh", "/b"));
    EXPECT_EQ(burst.count(), 2U);
    EXPECT_EQ(burst.folders(), (std::set<std::string>{"/a", "/b"}));

    EXPECT_FALSE(burst.drop("apart 1"));
    EXPECT_TRUE(burst.drop("seventh"));
    EXPECT_FALSE(burst.drop("seventh"));
    EXPECT_EQ(burst.folders(), std::set<std::string>{"/a"});

    // The first five are ten seconds ago, the last two are not.
    clock.time += 1ms;
    for (int number = 0; number < 3; ++number)
        EXPECT_TRUE(burst.take("later " + std::to_string(number), "/a"));
    EXPECT_FALSE(burst.take("one too many", "/a"));
}

TEST(NotificationBurstTest, ASlowStreamIsNeverSummedUp) {
    HeldClock clock;
    NotificationBurst burst(clock);
    for (int number = 0; number < 50; ++number) {
        EXPECT_TRUE(burst.take(std::to_string(number), "/a")) << number;
        clock.time += 2s;
    }
}

} // namespace
} // namespace vesto
