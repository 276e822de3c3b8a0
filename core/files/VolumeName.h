#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace vesto {

/// What the volume mounted as `device` is called after a restart too: "uuid:" and its UUID where the disk has
/// one, else the file system's kind and source («fuse.sshfs:marie@serveur:/partage»). Nothing where it is not
/// mounted here.
[[nodiscard]] std::optional<std::string> lastingVolumeName(std::uint64_t device);

} // namespace vesto
