#include "core/support/Clock.h"

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

const Clock& systemClock() {
    static const SystemClock clock;
    return clock;
}

} // namespace vesto
