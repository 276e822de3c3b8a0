#include "core/files/ModelFileError.h"

#include "core/support/Text.h"

#include <fmt/format.h>

#include <cerrno>
#include <system_error>

namespace vesto {

std::string ModelFileError::message() const {
    switch (code) {
    case Code::missing:
        return std::string(text("Ce fichier n'existe pas."));
    case Code::notRegular:
        return std::string(text("Ce n'est pas un fichier ordinaire."));
    case Code::noModel:
        return std::string(
            text("Ce fichier n'est pas un modèle : il faut un fichier GGUF (titres) ou un modèle "
                 "de whisper.cpp (parole)."));
    case Code::nameUnusable:
        return std::string(text("Ce nom ne convient pas à un modèle : renommez d'abord le fichier."));
    case Code::nameTaken:
        return std::string(text("Un modèle de ce nom est déjà là. Retirez-le d'abord avec « vesto model "
                                "remove », ou renommez le fichier."));
    case Code::noSpace:
        return std::string(
            text("Il n'y a pas assez de place sur le disque des modèles. L'option --link évite "
                 "la copie."));
    case Code::tooLarge:
        return std::string(text("Le disque des modèles ne prend pas de fichier aussi grand. L'option --link "
                                "évite la copie."));
    case Code::changed:
        return std::string(text("Le fichier a changé pendant la copie : rien n'a été ajouté."));
    case Code::notInFolder:
        return std::string(text("Aucun modèle de ce nom. « vesto model list » montre ceux qui sont là."));
    case Code::system:
        break;
    }
    if (number == EACCES || number == EPERM)
        return std::string(text("Les droits d'accès ne le permettent pas."));
    return fmt::format("{} ({})", text("Le système a refusé."), std::generic_category().message(number));
}

} // namespace vesto
