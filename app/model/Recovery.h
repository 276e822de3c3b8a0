#pragma once
#include "app/model/RenameRecord.h"
#include "core/files/Disk.h"
#include "core/files/ProcessedMarker.h"
#include "core/support/Clock.h"

#include <functional>
#include <span>
#include <vector>

/// What an earlier run left unfinished, found out from what stands on the disks. It never replaces a file and
/// never takes the last name from one; interrupted, it may simply run again. Stateless; for the worker
/// thread, as a share may hang.
namespace vesto::Recovery {

/// What a file's own marker should say and could not be made to.
struct Unmarked {
    FileIdentity file;
    ProcessedMarker::Marker marker;

    bool operator==(const Unmarked&) const = default;
};

struct Outcome {
    std::vector<RenameRecord> settled; // to be saved; the rows that are not here stay as they are
    std::vector<Unmarked> unmarked;    // to be remembered
};

/// Whether the disk that a row speaks of is mounted. By its lasting name where the row's identity has one,
/// else by its device; a folder on a device of another number counts while it is not empty, since numbers
/// change across restarts and a mount point without its disk is empty.
[[nodiscard]] bool isVolumeThere(const RenameRecord& record, Disk& disk = systemDisk());

/// Settles rows that are "pending" or have an undo under way. A row stays as it is while its volume is not
/// there, or where its folder cannot be read.
[[nodiscard]] Outcome
settle(std::span<const RenameRecord> unsettled, Disk& disk = systemDisk(), const Clock& clock = systemClock(),
       const std::function<bool(const RenameRecord&, Disk&)>& volumeIsThere = isVolumeThere);

} // namespace vesto::Recovery
