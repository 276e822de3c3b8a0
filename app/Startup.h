#pragma once
#include "app/model/Store.h"
#include "services/client/EngineLock.h"

#include <expected>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

/// How the application comes by the files that it works on.
namespace vesto::Startup {

/// Another application is there; it has shown itself.
struct ShownElsewhere {};
/// Asked to end meanwhile.
struct Ended {};
struct Refused {
    std::string why; // in French
};
struct Taken {
    EngineLock lock;
    Store store;
};
using Outcome = std::variant<Taken, ShownElsewhere, Ended, Refused>;

/// Takes over the user's files: another application is asked to show itself, a `vesto watch` to finish the
/// file at hand and to leave, which may take a minute. Blocks until then, or until it is stopped or the
/// process is asked to end. `isHidden`: another application need not show itself.
[[nodiscard]] Outcome takeOver(bool isHidden, const std::stop_token& stop);

/// Whether the kernel refuses this process the network, tried anew; empty: it does, else what is wrong, in
/// French.
[[nodiscard]] std::string networkFault();

} // namespace vesto::Startup
