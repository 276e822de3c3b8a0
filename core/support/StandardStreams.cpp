#include "core/support/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace vesto {

void fillStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", O_RDONLY));
}

} // namespace vesto
