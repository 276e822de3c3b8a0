#pragma once

namespace vesto::reader {

/// The socket that the application hands over.
inline constexpr int socketNumber = 3;

/// What every program with the server in it does first. False, with a word on standard error, where nobody
/// handed over a socket: somebody started the program by hand.
[[nodiscard]] bool prepareProcess();

/// Ends the process without running what libraries have registered for the end.
[[noreturn]] void leave(int status);

} // namespace vesto::reader
