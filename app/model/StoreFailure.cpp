#include "app/model/StoreFailure.h"

#include "app/model/StoreFile.h"
#include "core/files/RenameError.h"
#include "core/support/Text.h"
#include "core/support/Unicode.h"

#include <sqlite3.h>
#include <string.h>

#include <cerrno>
#include <string>
#include <utility>

namespace vesto::StoreFailure {
namespace {

/// The sentence and the file that it speaks of, as «… : /chemin.»
std::string about(std::string_view sentence, const std::filesystem::path& file) {
    return std::string(sentence) + " " + unicode::repaired(file.native()) + ".";
}

std::string reason(int errorNumber) {
    if (const auto advice = adviceFor(errorNumber))
        return " " + std::string(*advice);
    return errorNumber == 0 ? std::string() : std::string(" ") + ::strerror(errorNumber) + ".";
}

std::string_view sentence(Damage damage) {
    switch (damage) {
    case Damage::unreadable:
        return text("Le fichier de l'historique est abîmé :");
    case Damage::foreign:
        return text("Ce fichier n'est pas un historique de Vesto :");
    case Damage::newer:
        return text("Le fichier de l'historique vient d'une version plus récente de Vesto :");
    case Damage::incomplete:
        return text("Le fichier de l'historique a disparu, seul son journal est resté :");
    }
    std::unreachable();
}

} // namespace

StoreError ofSystem(const std::filesystem::path& file, int errorNumber) {
    return {about(text("Impossible d'ouvrir le fichier de l'historique :"), file) + reason(errorNumber)};
}

StoreError ofSqlite(const std::filesystem::path& file, const sqlite::Error& error) {
    switch (error.code & 0xFF) {
    case SQLITE_FULL:
        return {about(text("Plus de place pour écrire dans l'historique :"), file) +
                reason(error.systemNumber == EDQUOT ? EDQUOT : ENOSPC)};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return {about(text("Un autre programme occupe le fichier de l'historique :"), file)};
    case SQLITE_READONLY:
        return {about(text("Le fichier de l'historique est en lecture seule :"), file) +
                reason(error.systemNumber == 0 ? EACCES : error.systemNumber)};
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return ofSystem(file, error.systemNumber);
    case SQLITE_IOERR:
        return {about(text("Le disque ne lit ou n'écrit plus le fichier de l'historique :"), file) +
                reason(error.systemNumber == 0 ? EIO : error.systemNumber)};
    case SQLITE_NOMEM:
        return {std::string(text("Il n'y a plus assez de mémoire pour ouvrir l'historique."))};
    default:
        return {about(text("Le fichier de l'historique ne peut pas être utilisé :"), file) + " (" +
                error.message + ")"};
    }
}

StoreError ofDamage(const std::filesystem::path& file, Damage damage) {
    std::string description = about(sentence(damage), file);
    if (const auto copy = StoreFile::copyAside(file))
        description += " " + about(text("Il en existe une copie :"), *copy);
    else
        description += " " + std::string(text("Il n'a pas pu être copié.")) + reason(copy.error());
    description += " ";
    description +=
        damage == Damage::newer
            ? text("Installez la dernière version de Vesto.")
            : text("Pour repartir d'un historique vide, déplacez ailleurs ce fichier et ceux dont le nom "
                   "commence par le sien ; pour le garder, remettez une sauvegarde à sa place.");
    return {std::move(description), true};
}

} // namespace vesto::StoreFailure
