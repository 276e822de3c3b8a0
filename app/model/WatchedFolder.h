#pragma once
#include "core/files/FileIdentity.h"
#include "core/support/Time.h"
#include "core/support/Uuid.h"

#include <optional>
#include <string>

namespace vesto {

/// A folder that the user chose.
struct WatchedFolder {
    std::string id = randomUuid();
    std::string path; // bytes; absolute, as the user named it
    /// Which folder it was, so that another one in its place (an empty mount point) is told from it.
    std::optional<FileIdentity> bookmark;
    Instant addedAt;
    bool enabled = true;
    bool automatic = false; // whether sure names are given without asking

    bool operator==(const WatchedFolder&) const = default;
};

} // namespace vesto
