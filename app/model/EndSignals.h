#pragma once
#include "core/support/UniqueFd.h"

#include <signal.h>

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <optional>

namespace vesto {

/// Hears the signals that ask a program to end, where it kept them from ending it at its start. Main thread.
class EndSignals : public QObject {
public:
    /// `ask` is called once for each.
    explicit EndSignals(std::function<void()> ask);

    [[nodiscard]] static sigset_t signals();

    /// Before any thread is made: they wait for an EndSignals from here on. A broken pipe is no end either.
    static void keep();

    /// Whether one waits.
    [[nodiscard]] static bool isWaiting();

private:
    void take();

    std::function<void()> m_ask;
    UniqueFd m_signals;
    std::optional<QSocketNotifier> m_notifier;
};

} // namespace vesto
