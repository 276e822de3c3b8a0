#include "app/Desktop.h"
#include "app/model/EndSignals.h"
#include "app/platform/SessionBus.h"
#include "core/support/StandardStreams.h"
#include "core/support/Text.h"

#include <QApplication>
#include <csignal>
#include <exception>
#include <iostream>
#include <span>
#include <string_view>

namespace {

constexpr std::string_view usage = "vesto-desktop [--hidden]\n\n"
                                   "  --hidden    n'ouvre aucune fenêtre (à la connexion)\n"
                                   "  --version   affiche la version\n"
                                   "  --help      affiche cette aide\n";

} // namespace

int main(int argc, char** argv) {
    vesto::fillStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN); // a file that may grow no further is an error, as on a full disk
    bool isHidden = false;
    for (const std::string_view word : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        if (word == "--hidden") {
            isHidden = true;
        } else if (word == "--version" || word == "--help" || word == "-h") {
            std::cout << (word == "--version" ? VESTO_VERSION "\n" : vesto::text(usage));
            return 0;
        }
    }
    vesto::EndSignals::keep();
    static_cast<void>(vesto::namesSessionBus()); // before Qt looks for one
    const auto token = vesto::Desktop::takeActivationToken();
    try {
        const QApplication application(argc, argv);
        return vesto::Desktop::run({.isHidden = isHidden, .activationToken = token});
    } catch (const std::exception& error) {
        std::cerr << "vesto-desktop : erreur interne (" << error.what()
                  << "). Aucun fichier n'a été perdu.\n";
        return 1;
    }
}
