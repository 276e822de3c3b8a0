#pragma once
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace vesto {

/// The host of this program's own, for when no engine lends its model: made once, when it comes to that.
/// Thread-safe.
template <typename Host> class OwnHost {
public:
    using Make = std::function<std::shared_ptr<Host>()>;

    /// `make` is called once at most.
    explicit OwnHost(Make make)
        : m_make(std::move(make)) {}

    /// Null while it has not come to that.
    [[nodiscard]] std::shared_ptr<Host> ifTurnedTo() const {
        const std::scoped_lock lock(m_mutex);
        return m_host;
    }

    [[nodiscard]] std::shared_ptr<Host> turnTo() {
        const std::scoped_lock lock(m_mutex);
        if (!m_host)
            m_host = m_make();
        return m_host;
    }

private:
    const Make m_make;
    mutable std::mutex m_mutex; // for the host
    std::shared_ptr<Host> m_host;
};

} // namespace vesto
