#include "core/files/Renamer.h"

#include "core/files/ExclusiveRename.h"
#include "core/files/FileName.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/Assert.h"
#include "core/support/Unicode.h"

#include <cerrno>
#include <string>
#include <utility>

namespace vesto {

using Case = RenameError::Case;

Renamer::Renamer(NamingPolicy policy, std::int64_t maxAttempts, Disk& disk, const Clock& clock)
    : m_policy(policy)
    , m_maxAttempts(maxAttempts)
    , m_disk(disk)
    , m_clock(clock) {
    VESTO_ASSERT(maxAttempts >= 1);
}

std::expected<RenameResult, RenameError> Renamer::rename(const std::filesystem::path& path,
                                                         std::string_view baseName,
                                                         const std::optional<FileIdentity>& expectedIdentity,
                                                         bool mark) const {
    const auto current = FileIdentity::of(path, m_disk);
    if (!current)
        return std::unexpected(Case::sourceMissing);
    if (expectedIdentity && (*expectedIdentity != *current || !stoodStill(*expectedIdentity, *current)))
        return std::unexpected(Case::identityMismatch);
    const std::string base = NamingPolicy::sanitizeFileName(baseName);
    const std::string_view oldName = lastComponentOf(path);
    // A name that is no text could be neither shown nor put back from its marker.
    if (base.empty() || !unicode::isValid(oldName))
        return std::unexpected(Case::invalidName);
    // A change of letter case alone counts as none, on purpose.
    if (isSameName(oldName, m_policy.fileName(base, extensionOf(oldName))))
        return std::unexpected(Case::unchanged);
    auto result = renameToFreeName(path, base, *current);
    if (!result)
        return result;
    if (mark)
        result->marked = ProcessedMarker::write(result->to, ProcessedMarker::State::renamed, oldName,
                                                m_clock.now(), m_disk)
                             .has_value();
    (void)m_disk.syncFolder(folderOf(path)); // where it cannot be synced the rename stands all the same
    return result;
}

std::expected<RenameResult, RenameError> Renamer::renameToFreeName(const std::filesystem::path& path,
                                                                   std::string_view base,
                                                                   const FileIdentity& current) const {
    const std::string_view extension = extensionOf(lastComponentOf(path));
    for (std::int64_t attempt = 1; attempt <= m_maxAttempts; ++attempt) {
        const auto suffix = attempt == 1 ? std::nullopt : std::optional(attempt);
        const auto target = siblingOf(path, m_policy.fileName(base, extension, suffix));
        const auto after = renameVerified(path, target, current, m_disk);
        if (after)
            return RenameResult{
                .from = path, .to = target, .identity = after->identity, .leftover = after->leftover};
        if (after.error() == RenameError::system(EEXIST))
            continue;
        if (after.error().code() == ENOENT)
            return std::unexpected(RenameError(Case::sourceMissing).keeping(after.error().keptNames()));
        return std::unexpected(after.error());
    }
    return std::unexpected(Case::tooManyCollisions);
}

} // namespace vesto
