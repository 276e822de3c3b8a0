#pragma once
#include "core/files/FileTime.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// What the system says of one entry, links not followed.
struct FileStatus {
    bool isRegular = false;
    bool isImmutable = false;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t links = 1; // names that it has; some disks do not say
    std::uint64_t size = 0;  // bytes
    std::optional<FileTime> birth;
    FileTime modified;
    FileTime changed;
};

/// The system calls on files that recognising, marking and renaming need, one call each: what is true of the
/// disk can be scripted in a test, each call failing in its turn. No call follows a symbolic link in the last
/// component, none throws; an error is the system's error number. Thread-safe.
class Disk {
public:
    using Result = std::expected<void, int>;

    virtual ~Disk() = default;

    [[nodiscard]] virtual std::expected<FileStatus, int> status(const std::filesystem::path& path) = 0;

    /// The same, asked of the disk itself where the kernel remembers what another program serves.
    [[nodiscard]] virtual std::expected<FileStatus, int> statusNow(const std::filesystem::path& path) {
        return status(path);
    }

    /// Whether inode numbers in `folder` are made up as they are asked for (FAT, exFAT, FUSE).
    [[nodiscard]] virtual bool inventsInodes(const std::filesystem::path& folder) = 0;

    /// A name of the mounted volume that outlives a restart: its UUID, else its kind and source.
    [[nodiscard]] virtual std::optional<std::string> volumeName(std::uint64_t device) = 0;

    /// Fails with EEXIST where `to` exists; EINVAL or ENOSYS where the file system cannot promise that.
    [[nodiscard]] virtual Result renameExclusively(const std::filesystem::path& from,
                                                   const std::filesystem::path& to) = 0;

    /// May replace `to`: only for a name that nobody else can know.
    [[nodiscard]] virtual Result moveToSecretName(const std::filesystem::path& from,
                                                  const std::filesystem::path& to) = 0;

    [[nodiscard]] virtual Result link(const std::filesystem::path& existing,
                                      const std::filesystem::path& name) = 0;
    [[nodiscard]] virtual Result unlink(const std::filesystem::path& path) = 0;
    /// The names of all entries but "." and "..", in no order. ENOSYS unless overridden.
    [[nodiscard]] virtual std::expected<std::vector<std::string>, int>
    list(const std::filesystem::path& folder);

    [[nodiscard]] virtual Result syncFolder(const std::filesystem::path& folder) = 0;

    [[nodiscard]] virtual std::expected<std::size_t, int> attributeSize(const std::filesystem::path& path,
                                                                        const char* name) = 0;

    /// At most `size` bytes; ERANGE where the value is longer.
    [[nodiscard]] virtual std::expected<std::string, int>
    readAttribute(const std::filesystem::path& path, const char* name, std::size_t size) = 0;
    [[nodiscard]] virtual Result writeAttribute(const std::filesystem::path& path, const char* name,
                                                std::string_view value) = 0;
};

/// The disks of this machine; lives as long as the process.
[[nodiscard]] Disk& systemDisk();

} // namespace vesto
