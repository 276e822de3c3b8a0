#include "core/support/Alarm.h"

#include "core/support/Clock.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace vesto {
namespace {

void drain(int fd) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t read = ::read(fd, &count, sizeof count);
}

} // namespace

Alarm::Alarm()
    : m_timer(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK))
    , m_bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void Alarm::ring() noexcept {
    m_rung = true;
    if (!m_bell)
        return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_bell.get(), &one, sizeof one);
}

int Alarm::longestSleep(std::optional<std::chrono::nanoseconds> sinceBoot) {
    constexpr int blindSleep = 100;
    const int unlessRung = m_bell ? -1 : blindSleep;
    if (!sinceBoot)
        return unlessRung;
    const auto left = *sinceBoot - systemClock().sinceBoot();
    if (left <= std::chrono::nanoseconds::zero())
        return 0;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(*sinceBoot);
    itimerspec time{};
    time.it_value.tv_sec = seconds.count();
    time.it_value.tv_nsec = (*sinceBoot - seconds).count();
    if (m_timer && ::timerfd_settime(m_timer.get(), TFD_TIMER_ABSTIME, &time, nullptr) == 0)
        return unlessRung;
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::min<std::int64_t>(rest, blindSleep));
}

Alarm::Woken Alarm::wait(std::optional<std::chrono::nanoseconds> sinceBoot, int descriptor) {
    // poll passes over negative descriptors.
    std::array<pollfd, 3> polled{{{.fd = m_bell.get(), .events = POLLIN, .revents = 0},
                                  {.fd = sinceBoot ? m_timer.get() : -1, .events = POLLIN, .revents = 0},
                                  {.fd = descriptor, .events = POLLIN, .revents = 0}}};
    const int timeout = m_rung ? 0 : longestSleep(sinceBoot);
    if (::poll(polled.data(), polled.size(), timeout) <= 0)
        return {.rung = m_rung.exchange(false)};
    if (polled[0].revents != 0)
        drain(m_bell.get());
    if (polled[1].revents != 0)
        drain(m_timer.get());
    // After the bell was drained: what rings from here on is heard by the next wait.
    return {.rung = m_rung.exchange(false), .readable = polled[2].revents != 0};
}

} // namespace vesto
