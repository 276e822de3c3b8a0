#include "core/support/Alarm.h"
#include "core/support/Clock.h"

#include <gtest/gtest.h>

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
        EXPECT_TRUE(alarm.wait(std::nullopt).rung || asked < 1000);
    other.join();
}

} // namespace
} // namespace vesto
