#include "core/support/Text.h"

#include <array>
#include <utility>

namespace vesto {
namespace {

// Linux wordings of the texts that name another platform's parts.
constexpr std::array<std::pair<std::string_view, std::string_view>, 9> catalogue{{
    {"Ce Mac ne prend pas en charge Apple Intelligence.",
     "Cet ordinateur n'a pas assez de mémoire pour le modèle."},
    {"Apple Intelligence est désactivée dans Réglages Système.",
     "Le modèle est désactivé dans les réglages."},
    {"Le modèle est en cours de téléchargement.", "Le modèle est en cours de chargement."},
    {"Modèle Apple Intelligence disponible", "Modèle local disponible"},
    {"Tout est traité sur ce Mac. Vesto n'a pas accès au réseau.",
     "Tout est traité sur cet ordinateur. Vesto n'a pas accès au réseau."},
    {"Tout se passe sur ce Mac : aucun accès réseau.",
     "Tout se passe sur cet ordinateur : aucun accès réseau."},
    {"Afficher dans le Finder", "Afficher dans le dossier"},
    {"Dans iCloud sans copie sur ce Mac, à télécharger d'abord :",
     "Dans le nuage sans copie sur cet ordinateur, à télécharger d'abord :"},
    {"SwiftData :", "Base de données :"},
}};

} // namespace

std::string_view text(std::string_view key) {
    for (const auto& [french, wording] : catalogue)
        if (french == key)
            return wording;
    return key;
}

} // namespace vesto
