#include "core/files/FileEligibility.h"

#include "core/extraction/Summarizer.h"
#include "core/files/FileName.h"
#include "core/files/ProcessedMarker.h"
#include "core/naming/GenericNameDetector.h"
#include "core/support/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vesto::FileEligibility {
namespace {

/// Of a download, or what a program at work keeps beside the file that it has open; many of the latter are
/// hidden besides. No scalar outside ASCII has one of these letters as its lower case, so bytes are enough.
bool isTemporaryName(std::string_view name) {
    if (name.starts_with("~$"))
        return true;
    static constexpr std::array<std::string_view, 8> temporary{
        "download", "part", "crdownload", "tmp", "partial", "opdownload", "swp", "kate-swp"};
    const std::string_view extension = extensionOf(name);
    const auto isSameLetter = [](char written, char lower) {
        return written == lower || (written >= 'A' && written <= 'Z' && written - 'A' + 'a' == lower);
    };
    return std::ranges::any_of(temporary, [&](std::string_view known) {
        return std::ranges::equal(extension, known, isSameLetter);
    });
}

/// What is being written may be looked at before its first byte, which a name without extension needs to have
/// a type.
bool isStillWithoutType(std::string_view name, const FileStatus& status) {
    return status.size == 0 && extensionOf(name).empty();
}

bool isOlder(const FileStatus& status, Instant notBefore) {
    constexpr std::chrono::seconds tolerance{2};
    return status.birth.value_or(status.changed).wholeSecond() + tolerance < notBefore;
}

} // namespace

std::string_view rawValue(Rejection rejection) {
    switch (rejection) {
    case Rejection::missing:
        return "missing";
    case Rejection::hidden:
        return "hidden";
    case Rejection::notRegularFile:
        return "notRegularFile";
    case Rejection::temporary:
        return "temporary";
    case Rejection::unsupported:
        return "unsupported";
    case Rejection::processed:
        return "processed";
    case Rejection::notGeneric:
        return "notGeneric";
    case Rejection::tooOld:
        return "tooOld";
    case Rejection::notLocal:
        return "notLocal";
    case Rejection::locked:
        return "locked";
    }
    std::unreachable();
}

std::string_view message(Rejection rejection) {
    switch (rejection) {
    case Rejection::missing:
        return text("Le fichier n'existe plus ou ne peut pas être examiné.");
    case Rejection::hidden:
        return text("Fichier caché.");
    case Rejection::notRegularFile:
        return text("Ce n'est pas un fichier ordinaire.");
    case Rejection::temporary:
        return text("Fichier temporaire ou téléchargement en cours.");
    case Rejection::unsupported:
        return text("Type de fichier non pris en charge.");
    case Rejection::processed:
        return text("Déjà traité.");
    case Rejection::notGeneric:
        return text("Son nom est déjà parlant.");
    case Rejection::tooOld:
        return text("Fichier plus ancien que la surveillance du dossier.");
    case Rejection::notLocal:
        return text("Son contenu n'est pas sur cet ordinateur.");
    case Rejection::locked:
        return text("Fichier verrouillé.");
    }
    std::unreachable();
}

std::optional<Rejection> check(const std::filesystem::path& path, const Options& options, Disk& disk) {
    const std::string_view name = lastComponentOf(path);
    if (name.starts_with('.'))
        return Rejection::hidden;
    if (isTemporaryName(name))
        return Rejection::temporary;
    const auto status = disk.status(path);
    if (!status)
        return Rejection::missing;
    if (!status->isRegular)
        return Rejection::notRegularFile;
    if (status->isImmutable)
        return Rejection::locked;
    if (!isStillWithoutType(name, *status) && !Summarizer::isSupported(path))
        return Rejection::unsupported;
    if (!options.includeProcessed && ProcessedMarker::isMarked(path, disk))
        return Rejection::processed;
    if (options.genericOnly && !GenericNameDetector::isGeneric(baseNameOf(name)))
        return Rejection::notGeneric;
    if (options.notBefore && isOlder(*status, *options.notBefore))
        return Rejection::tooOld;
    return std::nullopt;
}

} // namespace vesto::FileEligibility
