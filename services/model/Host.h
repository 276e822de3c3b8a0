#pragma once
#include <sys/types.h>

#include <chrono>

namespace vesto::model {

/// The socket that the application hands over.
inline constexpr int socketNumber = 3;

struct HostSettings {
    pid_t parent = 0;                                         // with which this process ends
    std::chrono::milliseconds idle = std::chrono::minutes(5); // after which it leaves
};

/// What the program does first: no core dump, low priority. False, with a word on standard error, where
/// nobody handed over a socket: somebody started the program by hand.
[[nodiscard]] bool prepareHost();

/// Greets, takes the model, shuts itself in and answers until the other side is gone or nothing was asked for
/// a while. One thread, besides those that the engine starts for its sums. Gives the exit status of the
/// process.
[[nodiscard]] int serve(int socket, const HostSettings& settings);

} // namespace vesto::model
