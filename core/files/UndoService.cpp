#include "core/files/UndoService.h"

#include "core/files/ExclusiveRename.h"
#include "core/files/FileName.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/Unicode.h"

#include <cerrno>
#include <utility>

namespace vesto {
namespace {

using Case = RenameError::Case;

bool isPossibleName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos && unicode::isValid(name);
}

} // namespace

UndoService::UndoService(Disk& disk, const Clock& clock)
    : m_disk(disk)
    , m_clock(clock) {}

std::expected<UndoResult, RenameError>
UndoService::undo(const std::filesystem::path& path, std::string_view originalName,
                  const std::optional<FileIdentity>& expectedIdentity) const {
    if (!isPossibleName(originalName) || !unicode::isValid(lastComponentOf(path)))
        return std::unexpected(Case::invalidName);
    const auto current = FileIdentity::of(path, m_disk);
    if (!current)
        return std::unexpected(Case::sourceMissing);
    if (expectedIdentity && !isSameStoredFile(*expectedIdentity, *current) &&
        !isSameStoredAcrossRename(*expectedIdentity, *current))
        return std::unexpected(Case::identityMismatch);
    auto target = siblingOf(path, originalName);
    const auto after = renameVerified(path, target, *current, m_disk);
    if (!after && after.error() == RenameError::system(EEXIST))
        return std::unexpected(Case::targetExists);
    if (!after)
        return std::unexpected(after.error());
    (void)ProcessedMarker::write(target, ProcessedMarker::State::undone, originalName, m_clock.now(), m_disk);
    (void)m_disk.syncFolder(folderOf(target));
    return UndoResult{std::move(target), after->leftover};
}

} // namespace vesto
