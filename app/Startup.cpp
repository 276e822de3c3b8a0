#include "app/Startup.h"

#include "app/model/EndSignals.h"
#include "core/support/Json.h"
#include "core/support/Printable.h"
#include "core/support/Text.h"
#include "core/support/UniqueFd.h"
#include "services/client/ControlClient.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

namespace vesto::Startup {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 90s; // the file at hand may be a film

/// Whether the engine that runs did what it was asked.
bool ask(ControlClient& engine, const Json& order) {
    const auto answer = engine.ask(order, [](const Json&) { return true; });
    const Json* end = answer ? member(*answer, "end") : nullptr;
    return end != nullptr && boolMember(*end, "done").value_or(false);
}

std::string lockFailure(int error) {
    if (error == EWOULDBLOCK)
        return std::string(text("Un autre programme Vesto est au travail sur vos fichiers et ne rend pas la "
                                "main. Réessayez ensuite."));
    return fmt::format("{} ({}) : {}", text("Vesto ne peut rien noter dans son dossier de données"),
                       printable(userDataFolder().native()), std::strerror(error));
}

} // namespace

Outcome takeOver(bool isHidden, const std::stop_token& stop) {
    auto lock = EngineLock::take(userDataFolder());
    if (!lock && lock.error() == EWOULDBLOCK) {
        if (auto engine = ControlClient::connect(userDataFolder())) {
            if (ask(*engine, Json{{"verb", "show"}, {"hidden", isHidden}}))
                return ShownElsewhere{};
            static_cast<void>(ask(*engine, Json{{"verb", "leave"}}));
        }
        const auto goesOn = [&stop] { return !stop.stop_requested() && !EndSignals::isWaiting(); };
        lock = EngineLock::await(userDataFolder(), patience, [&](auto) { return goesOn(); });
        if (!goesOn())
            return Ended{};
    }
    if (!lock)
        return Refused{lockFailure(lock.error())};
    auto store = Store::open(lock->folder() / "history.sqlite");
    if (!store)
        return Refused{fmt::format("{} {}", text("SwiftData :"), store.error().description)};
    return Taken{*std::move(lock), *std::move(store)};
}

std::string networkFault() {
    // Tried, not remembered: it is the kernel that is asked.
    for (const int family : {AF_INET, AF_INET6})
        for (const int kind : {SOCK_STREAM, SOCK_DGRAM}) {
            const UniqueFd socket(::socket(family, kind | SOCK_CLOEXEC, 0));
            if (socket || errno != EACCES)
                return std::string(text("Rien n'empêche Vesto d'accéder au réseau sur cet ordinateur."));
        }
    return {};
}

} // namespace vesto::Startup
