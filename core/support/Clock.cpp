#include "core/support/Clock.h"

#include "core/support/Alarm.h"

#include <ctime>

namespace vesto {
namespace {

class SystemClock final : public Clock {
public:
    Instant now() const override {
        return std::chrono::floor<Instant::duration>(std::chrono::system_clock::now());
    }

    std::chrono::nanoseconds sinceBoot() const override {
        timespec time{};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
};

} // namespace

bool Clock::sleepUntil(std::chrono::nanoseconds time, const std::stop_token& stop) const {
    Alarm alarm;
    const std::stop_callback stopped(stop, [&alarm] { alarm.ring(); });
    while (!stop.stop_requested()) {
        const auto left = time - sinceBoot();
        if (left <= std::chrono::nanoseconds::zero())
            return true;
        alarm.wait(systemClock().sinceBoot() + left);
    }
    return false;
}

const Clock& systemClock() {
    static const SystemClock clock;
    return clock;
}

} // namespace vesto
