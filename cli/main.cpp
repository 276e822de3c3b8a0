#include "cli/CommandLine.h"

#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <iostream>

namespace {

/// Where we are started with a standard stream closed, its number would go to the next thing that is opened,
/// and what is printed into that. Not open for writing: a result that cannot be written is still noticed.
void fillStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        if (::fcntl(fd, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", O_RDONLY));
}

} // namespace

int main(int argc, char** argv) {
    fillStandardStreams();
    std::ios::sync_with_stdio(false);
    try {
        return vesto::cli::run(argc, argv, std::cout, std::cerr);
    } catch (const std::exception& error) {
        std::cerr << "vesto : erreur interne (" << error.what() << "). Aucun fichier n'a été perdu.\n";
        return 1;
    }
}
