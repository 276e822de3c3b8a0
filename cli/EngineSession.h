#pragma once
#include "app/model/Engine.h"
#include "core/support/Json.h"
#include "services/client/ControlClient.h"

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vesto::cli {

/// Where orders go: to the engine that runs, else to one in this process, which then has the lock for as long
/// as the session lives. What comes of an order is the same either way. What has to be said goes to `err`.
class EngineSession {
public:
    /// What an engine of this process works with; nothing where it cannot work, which it has said.
    using MakeParts = std::function<std::optional<Engine::Parts>()>;

    explicit EngineSession(std::ostream& err)
        : m_err(err) {}

    /// Finds the engine or makes one, waiting for another `vesto` that is at work for a moment. False where
    /// neither can be had, which was said.
    [[nodiscard]] bool begin(const MakeParts& makeParts);

    /// Only where an engine runs already; says nothing.
    [[nodiscard]] bool beginRemote();

    [[nodiscard]] bool isRemote() const { return m_client.has_value(); }

    struct Result {
        bool done = false;
        bool isUnknown = false; // there was nothing to do it to
        std::string reason{};   // in French, where the lines do not say it
        std::string batchID{};
    };
    /// `onEvent` hears "line" and "progress", and gives false where it cannot pass them on any more.
    [[nodiscard]] Result ask(const Json& order, const Engine::OnEvent& onEvent);

private:
    [[nodiscard]] bool beginHere(EngineLock lock, const MakeParts& makeParts);
    void say(std::string_view message);

    std::ostream& m_err;
    std::optional<ControlClient> m_client;
    std::unique_ptr<Engine> m_engine;
};

/// Why the lock of the data folder cannot be had, in French.
[[nodiscard]] std::string lockFailure(int error);

} // namespace vesto::cli
