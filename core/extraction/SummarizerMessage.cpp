#include "core/extraction/SummarizerMessage.h"

#include "core/support/Text.h"

namespace vesto {

std::string messageOf(const SummarizerError& error) {
    struct Message {
        std::string operator()(const SummarizerError::UnsupportedType& unsupported) const {
            if (unsupported.type.empty())
                return std::string(text("Le type de ce fichier est inconnu."));
            return std::string(text("Ce type de fichier n'est pas pris en charge.")) + " (" +
                   unsupported.type + ")";
        }
        std::string operator()(const SummarizerError::Unreadable&) const {
            return std::string(text("Le contenu de ce fichier n'a pas pu être lu."));
        }
        std::string operator()(const SummarizerError::Locked&) const {
            return std::string(text("Ce document est protégé par un mot de passe."));
        }
    };
    return std::visit(Message{}, error.value());
}

} // namespace vesto
