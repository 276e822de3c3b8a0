#pragma once
#include <linux/filter.h>

#include <span>
#include <vector>

namespace vesto::sandbox {

/// Whether this kernel filters system calls with an error as the answer.
[[nodiscard]] bool canFilterSystemCalls();

/// Who is shut in.
enum class Inmate {
    reader, // of one file; may open paths for reading, as far as Landlock lets it
    model,  // the host of the language model: opens nothing, but talks over the socket that it holds
};

/// The filter of an inmate, ready to be installed: an allow list, whose default answer is an error and
/// never a kill, so that a library's next version loses one trick and not a whole kind of file. Empty where
/// it could not be made.
[[nodiscard]] std::vector<sock_filter> filterFor(Inmate inmate);

/// Puts this thread under a filter, for good; threads made later inherit it. False where the kernel refuses.
/// Needs no_new_privs.
[[nodiscard]] bool install(std::span<const sock_filter> filter);

/// The filter of a program: no socket but those of this machine (AF_UNIX, AF_NETLINK), no io_uring (which
/// makes sockets without that call), no foreign call tables; nothing else changes. Sets no_new_privs. For
/// good, for all threads of the process, inherited by whatever it starts. False where the kernel refuses.
[[nodiscard]] bool refuseNetwork();

} // namespace vesto::sandbox
