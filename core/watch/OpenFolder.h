#pragma once
#include "core/files/FileTime.h"
#include "core/support/UniqueFd.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesto {

/// A folder for the time of one look; while it is held the disk cannot be unmounted.
class OpenFolder {
public:
    /// Which folder a path leads to, as long as the machine runs.
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0; // 0 where inode numbers do not last
        std::optional<FileTime> birth;

        bool operator==(const Identity&) const = default;
    };

    /// A link to a folder is followed. The error is the system's number.
    [[nodiscard]] static std::expected<OpenFolder, int> open(const std::filesystem::path& path);

    [[nodiscard]] const Identity& identity() const { return m_identity; }

    /// A network or FUSE folder: what others change in it makes no event here.
    [[nodiscard]] bool isRemote() const { return m_isRemote; }

    /// The names of all entries, hidden ones too, in the order of their bytes. To be called once.
    [[nodiscard]] std::expected<std::vector<std::string>, int> names() &&;

private:
    explicit OpenFolder(UniqueFd fd)
        : m_fd(std::move(fd)) {}
    [[nodiscard]] bool examine();

    UniqueFd m_fd;
    Identity m_identity;
    bool m_isRemote = false;
};

} // namespace vesto
