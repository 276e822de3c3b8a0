#pragma once
#include "core/files/Disk.h"
#include "core/files/ExclusiveRename.h"
#include "core/files/FileIdentity.h"
#include "core/files/RenameError.h"
#include "core/support/Clock.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string_view>

namespace vesto {

/// An undo that took place.
struct UndoResult {
    std::filesystem::path to; // of the restored file
    Leftover leftover = Leftover::none;
};

/// Puts a renamed file back under its previous name. Synchronous, stateless, callable from any thread; never
/// two renames of one file at once.
class UndoService {
public:
    /// `disk` and `clock` must outlive the service.
    explicit UndoService(Disk& disk = systemDisk(), const Clock& clock = systemClock());

    /// `originalName` is the full previous name, used as it stands. `expectedIdentity` may come from before a
    /// restart and from before the rename; what was written to the file since does not matter.
    [[nodiscard]] std::expected<UndoResult, RenameError>
    undo(const std::filesystem::path& path, std::string_view originalName,
         const std::optional<FileIdentity>& expectedIdentity) const;

private:
    Disk& m_disk;
    const Clock& m_clock;
};

} // namespace vesto
