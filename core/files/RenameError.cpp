#include "core/files/RenameError.h"

#include "core/support/Text.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace vesto {

std::string_view RenameError::name() const {
    switch (m_case) {
    case Case::system:
        return "system";
    case Case::sourceMissing:
        return "sourceMissing";
    case Case::identityMismatch:
        return "identityMismatch";
    case Case::unchanged:
        return "unchanged";
    case Case::targetExists:
        return "targetExists";
    case Case::invalidName:
        return "invalidName";
    case Case::tooManyCollisions:
        return "tooManyCollisions";
    case Case::alreadyStarted:
        return "alreadyStarted";
    }
    std::unreachable();
}

namespace {

std::string plainMessage(RenameError::Case value, int code) {
    using enum RenameError::Case;
    switch (value) {
    case system:
        return std::generic_category().message(code);
    case sourceMissing:
        return std::string(text("Le fichier n'existe plus."));
    case identityMismatch:
        return std::string(text("Le fichier a été remplacé entre-temps."));
    case unchanged:
        return std::string(text("Le nom proposé est identique au nom actuel."));
    case targetExists:
        return std::string(text("Un fichier porte déjà ce nom."));
    case invalidName:
        return std::string(text("Nom invalide."));
    case tooManyCollisions:
        return std::string(text("Trop de fichiers portent déjà ce nom."));
    case alreadyStarted:
        return std::string(text("La surveillance est déjà démarrée."));
    }
    std::unreachable();
}

} // namespace

std::string RenameError::message() const {
    std::string message = plainMessage(m_case, m_code);
    if (m_keptNames.empty())
        return message;
    message += ' ';
    message += text("Conservé dans le même dossier sous le nom :");
    for (std::size_t at = 0; at < m_keptNames.size(); ++at)
        message += (at == 0 ? " « " : ", « ") + m_keptNames[at] + " »";
    return message;
}

RenameError RenameError::keeping(std::vector<std::string> names) const {
    RenameError error = *this;
    error.m_keptNames = std::move(names);
    return error;
}

std::optional<std::string_view> adviceFor(int errorNumber) {
    switch (errorNumber) {
    case EACCES:
    case EPERM:
        return text(
            "Vérifiez que vous avez le droit d'écrire dans ce dossier et que le fichier n'est pas protégé.");
    case EROFS:
        return text("Ce disque est en lecture seule : montez-le en écriture, ou copiez le fichier ailleurs.");
    case ENOSPC:
        return text("Le disque est plein : libérez de la place, puis recommencez.");
    case EDQUOT:
        return text("Votre quota est atteint : libérez de la place, puis recommencez.");
    case EIO:
        return text(
            "Le disque ne répond pas correctement : vérifiez-le et faites une copie de vos fichiers.");
    case ENAMETOOLONG:
        return text("Ce nom est trop long pour ce disque : choisissez un titre plus court.");
    case EINVAL:
    case ENOSYS:
    case EOPNOTSUPP:
        return text(
            "Ce disque refuse ce nom, ou ne permet pas de renommer sans risquer d'écraser un fichier : "
            "copiez le fichier sur un autre disque.");
    case EBUSY:
    case ETXTBSY:
        return text("Le fichier est utilisé par un autre programme : fermez-le, puis recommencez.");
    case ENOENT:
    case ENOTDIR:
        return text("Le fichier ou son dossier a disparu : vérifiez qu'il n'a pas été déplacé.");
    case ESTALE:
    case ENODEV:
    case ENXIO:
    case ENOTCONN:
    case EHOSTDOWN:
    case ETIMEDOUT:
        return text("Le disque ou le partage n'est plus joignable : reconnectez-le, puis recommencez.");
    case EMFILE:
    case ENFILE:
        return text("Trop de fichiers sont ouverts : fermez des programmes, puis recommencez.");
    case EMLINK:
        return text("Le fichier a déjà trop de noms sur ce disque : copiez-le, puis renommez la copie.");
    default:
        return std::nullopt;
    }
}

} // namespace vesto
