#include "core/support/Alarm.h"
#include "core/support/Clock.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <thread>

namespace vesto {
namespace {

using namespace std::chrono_literals;

TEST(ClockThreads, SleepsUntilTheTimeOrTheStop) {
    const Clock& clock = systemClock();
    const auto start = clock.sinceBoot();
    EXPECT_TRUE(clock.sleepUntil(start + 30ms, {}));
    EXPECT_GE(clock.sinceBoot(), start + 30ms);
    EXPECT_TRUE(clock.sleepUntil(start, {}));

    std::stop_source stop;
    std::thread other([&] {
        std::this_thread::sleep_for(20ms);
        stop.request_stop();
    });
    EXPECT_FALSE(clock.sleepUntil(start + 24h, stop.get_token()));
    other.join();
    EXPECT_FALSE(clock.sleepUntil(start, stop.get_token()));
}

TEST(ClockThreads, AnAlarmMadeWithoutDescriptorsStillWorks) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{.rlim_cur = 3, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_LT(::dup(0), 0);
    Alarm alarm;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);

    const auto soon = systemClock().sinceBoot() + 30ms;
    while (systemClock().sinceBoot() < soon)
        EXPECT_FALSE(alarm.wait(soon).rung);
    std::thread other([&] { alarm.ring(); });
    while (!alarm.wait(std::nullopt).rung) {
    }
    other.join();
}

TEST(ClockThreads, AnAlarmHearsEveryRing) {
    Alarm alarm;
    alarm.ring(); // before the wait
    alarm.ring();
    EXPECT_TRUE(alarm.wait(std::nullopt).rung);
    const auto soon = systemClock().sinceBoot() + 5ms;
    while (systemClock().sinceBoot() < soon)
        EXPECT_FALSE(alarm.wait(soon).rung);

    std::atomic<int> asked = 0;
    std::thread other([&] {
        for (int round = 0; round < 1000; ++round) {
            ++asked;
            alarm.ring();
        }
    });
    // Where a ring were lost this would not end.
    while (asked < 1000)
        alarm.wait(std::nullopt);
    other.join();
}

} // namespace
} // namespace vesto
