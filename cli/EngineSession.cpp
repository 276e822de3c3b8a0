#include "cli/EngineSession.h"

#include "cli/Messages.h"
#include "core/support/Clock.h"
#include "core/support/Text.h"
#include "core/support/UserFolders.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ostream>
#include <thread>

namespace vesto::cli {
namespace {

using namespace std::chrono_literals;

constexpr auto silentWait = 1s; // before it is said that another one is at work
constexpr auto longestWait = 10min;
constexpr auto step = 50ms;

} // namespace

std::string lockFailure(int error) {
    if (error == EWOULDBLOCK)
        return std::string(
            text("Un autre programme Vesto est au travail sur vos fichiers. Réessayez ensuite."));
    return fmt::format("{} ({}) : {}", text("Vesto ne peut rien noter dans son dossier de données"),
                       printable(userDataFolder().native()), std::strerror(error));
}

bool EngineSession::begin(const MakeParts& makeParts) {
    const Clock& clock = systemClock();
    const auto start = clock.sinceBoot();
    for (bool told = false;; std::this_thread::sleep_for(step)) {
        auto client = ControlClient::connect(userDataFolder());
        if (client) {
            m_client = *std::move(client);
            return true;
        }
        if (client.error() != ControlClient::Failure::noEngine) {
            say(messageOf(client.error()));
            return false;
        }
        auto lock = EngineLock::take(userDataFolder());
        if (lock)
            return beginHere(*std::move(lock), makeParts);
        const auto waited = clock.sinceBoot() - start;
        if (lock.error() != EWOULDBLOCK || waited > longestWait) {
            say(lockFailure(lock.error()));
            return false;
        }
        if (waited > silentWait && !std::exchange(told, true))
            say(text("Un autre programme Vesto est au travail sur vos fichiers : attente…"));
    }
}

bool EngineSession::beginRemote() {
    auto client = ControlClient::connect(userDataFolder());
    if (client)
        m_client = *std::move(client);
    return m_client.has_value();
}

bool EngineSession::beginHere(EngineLock lock, const MakeParts& makeParts) {
    auto parts = makeParts();
    if (!parts)
        return false;
    auto engine = Engine::open(std::move(lock), *std::move(parts));
    if (!engine) {
        say(engine.error());
        return false;
    }
    m_engine = *std::move(engine);
    return true;
}

EngineSession::Result EngineSession::ask(const Json& order, const Engine::OnEvent& onEvent) {
    Json last;
    if (m_client) {
        bool isHeard = true;
        auto answer = m_client->ask(order, [&](const Json& event) { return isHeard = onEvent(event); });
        if (!answer) {
            if (isHeard)
                say(messageOf(answer.error()));
            return {};
        }
        last = *std::move(answer);
    } else {
        last = m_engine->ask(order, onEvent);
    }
    const Json* end = member(last, "end");
    if (end == nullptr)
        return {};
    return {.done = boolMember(*end, "done").value_or(false),
            .isUnknown = boolMember(*end, "unknown").value_or(false),
            .reason = stringMember(*end, "reason").value_or(""),
            .batchID = stringMember(*end, "batchID").value_or("")};
}

void EngineSession::say(std::string_view message) {
    m_err << "vesto : " << printable(message) << '\n' << std::flush;
}

} // namespace vesto::cli
