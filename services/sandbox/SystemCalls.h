#pragma once

namespace vesto::sandbox {

/// Whether this kernel filters system calls with an error as the answer.
[[nodiscard]] bool canFilterSystemCalls();

/// The filter of a jailed reader: an allow list, whose default answer is an error and never a kill, so that a
/// library's next version loses one trick and not a whole kind of file. Sets no_new_privs. For good;
/// inherited by threads made later. False where the kernel refuses.
[[nodiscard]] bool restrictSystemCalls();

/// The filter of a program: no socket but those of this machine (AF_UNIX, AF_NETLINK), no io_uring (which
/// makes sockets without that call), no foreign call tables; nothing else changes. Sets no_new_privs. For
/// good, for all threads of the process, inherited by whatever it starts. False where the kernel refuses.
[[nodiscard]] bool refuseNetwork();

} // namespace vesto::sandbox
