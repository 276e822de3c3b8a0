#include "app/model/EndSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace vesto {
namespace {

constexpr std::array ends{SIGINT, SIGTERM, SIGHUP};

}

EndSignals::EndSignals(std::function<void()> ask)
    : m_ask(std::move(ask)) {
    const sigset_t heard = signals();
    m_signals.reset(::signalfd(-1, &heard, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!m_signals)
        return;
    m_notifier.emplace(m_signals.get(), QSocketNotifier::Read);
    connect(&*m_notifier, &QSocketNotifier::activated, this, [this] { take(); });
}

sigset_t EndSignals::signals() {
    sigset_t result;
    ::sigemptyset(&result);
    for (const int signal : ends)
        ::sigaddset(&result, signal);
    return result;
}

void EndSignals::keep() {
    const sigset_t kept = signals();
    ::pthread_sigmask(SIG_BLOCK, &kept, nullptr);
    struct sigaction ignore{};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, nullptr);
}

bool EndSignals::isWaiting() {
    sigset_t waiting;
    ::sigemptyset(&waiting);
    ::sigpending(&waiting);
    for (const int signal : ends)
        if (::sigismember(&waiting, signal) == 1)
            return true;
    return false;
}

void EndSignals::take() {
    signalfd_siginfo signal{};
    while (::read(m_signals.get(), &signal, sizeof signal) == static_cast<ssize_t>(sizeof signal))
        m_ask();
}

} // namespace vesto
