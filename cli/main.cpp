#include "cli/CommandLine.h"
#include "core/support/StandardStreams.h"

#include <csignal>
#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    vesto::fillStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is an error, as on a full disk
    std::ios::sync_with_stdio(false);
    try {
        return vesto::cli::run(argc, argv, std::cout, std::cerr);
    } catch (const std::exception& error) {
        std::cerr << "vesto : erreur interne (" << error.what() << "). Aucun fichier n'a été perdu.\n";
        return 1;
    }
}
