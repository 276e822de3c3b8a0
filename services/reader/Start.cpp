#include "services/reader/Start.h"

#include <malloc.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <string_view>

namespace vesto::reader {

bool prepareProcess() {
    int type = 0;
    socklen_t size = sizeof type;
    if (::getsockopt(socketNumber, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_SEQPACKET) {
        constexpr std::string_view hint = "vesto-reader : ce service est lancé par vesto.\n";
        [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, hint.data(), hint.size());
        return false;
    }
    ::signal(SIGPIPE, SIG_IGN);
    // Every further arena of malloc takes 64 MiB of the children's address space.
    ::mallopt(M_ARENA_MAX, 1);
    // Threads of decoders get stacks of the size that `ulimit -s` names: an enormous one does not fit.
    pthread_attr_t threads;
    if (::pthread_attr_init(&threads) == 0) {
        ::pthread_attr_setstacksize(&threads, std::size_t{4} << 20);
        ::pthread_setattr_default_np(&threads);
        ::pthread_attr_destroy(&threads);
    }
    const rlimit none{0, 0};
    return ::setrlimit(RLIMIT_CORE, &none) == 0;
}

void leave(int status) {
    ::_exit(status);
}

} // namespace vesto::reader
