#include "core/files/Disk.h"

#include "core/files/VolumeName.h"
#include "core/support/UniqueFd.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

namespace vesto {
namespace {

Disk::Result resultOf(int returned) {
    if (returned == 0)
        return {};
    return std::unexpected(errno);
}

FileTime timeOf(const struct statx_timestamp& stamp) {
    return {stamp.tv_sec, stamp.tv_nsec};
}

std::expected<FileStatus, int> statusOf(const std::filesystem::path& path, int freshness) {
    struct statx found{};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | freshness, STATX_BASIC_STATS | STATX_BTIME,
                &found) != 0)
        return std::unexpected(errno);
    FileStatus status;
    status.isRegular = S_ISREG(found.stx_mode);
    status.isImmutable = (found.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
    status.device = makedev(found.stx_dev_major, found.stx_dev_minor);
    status.inode = found.stx_ino;
    status.links = found.stx_nlink;
    status.size = found.stx_size;
    status.modified = timeOf(found.stx_mtime);
    status.changed = timeOf(found.stx_ctime);
    const FileTime birth = timeOf(found.stx_btime);
    // Some network file systems claim a birth at the epoch for want of one.
    if ((found.stx_mask & STATX_BTIME) != 0 && birth != FileTime{})
        status.birth = birth;
    return status;
}

class SystemDisk final : public Disk {
public:
    std::expected<FileStatus, int> status(const std::filesystem::path& path) override {
        return statusOf(path, AT_STATX_SYNC_AS_STAT);
    }

    std::expected<FileStatus, int> statusNow(const std::filesystem::path& path) override {
        return statusOf(path, AT_STATX_FORCE_SYNC);
    }

    bool inventsInodes(const std::filesystem::path& folder) override {
        struct statfs found{};
        if (::statfs(folder.c_str(), &found) != 0)
            return false;
        constexpr auto exfatMagic = 0x2011BAB0; // newer than the headers of some systems
        return found.f_type == MSDOS_SUPER_MAGIC || found.f_type == exfatMagic ||
               found.f_type == FUSE_SUPER_MAGIC;
    }

    std::optional<std::string> volumeName(std::uint64_t device) override { return lastingVolumeName(device); }

    Result renameExclusively(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return resultOf(::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE));
    }

    Result moveToSecretName(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return resultOf(::rename(from.c_str(), to.c_str()));
    }

    Result link(const std::filesystem::path& existing, const std::filesystem::path& name) override {
        return resultOf(::linkat(AT_FDCWD, existing.c_str(), AT_FDCWD, name.c_str(), 0));
    }

    Result unlink(const std::filesystem::path& path) override { return resultOf(::unlink(path.c_str())); }

    std::expected<std::vector<std::string>, int> list(const std::filesystem::path& folder) override {
        UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        const std::unique_ptr<DIR, int (*)(DIR*)> stream(fd ? ::fdopendir(fd.get()) : nullptr, &::closedir);
        if (!stream)
            return std::unexpected(errno);
        (void)fd.release(); // the stream's now
        std::vector<std::string> names;
        for (;;) {
            errno = 0;
            const dirent* entry = ::readdir(stream.get());
            if (entry == nullptr && errno != 0)
                return std::unexpected(errno);
            if (entry == nullptr)
                return names;
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..")
                names.emplace_back(name);
        }
    }

    Result syncFolder(const std::filesystem::path& folder) override {
        const UniqueFd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!fd)
            return std::unexpected(errno);
        return resultOf(::fsync(fd.get()));
    }

    std::expected<std::size_t, int> attributeSize(const std::filesystem::path& path,
                                                  const char* name) override {
        const ssize_t size = ::lgetxattr(path.c_str(), name, nullptr, 0);
        if (size < 0)
            return std::unexpected(errno);
        return static_cast<std::size_t>(size);
    }

    std::expected<std::string, int> readAttribute(const std::filesystem::path& path, const char* name,
                                                  std::size_t size) override {
        std::string value(size, '\0');
        const ssize_t read = ::lgetxattr(path.c_str(), name, value.data(), value.size());
        if (read < 0)
            return std::unexpected(errno);
        value.resize(static_cast<std::size_t>(read));
        return value;
    }

    Result writeAttribute(const std::filesystem::path& path, const char* name,
                          std::string_view value) override {
        return resultOf(::lsetxattr(path.c_str(), name, value.data(), value.size(), 0));
    }
};

} // namespace

std::expected<std::vector<std::string>, int> Disk::list(const std::filesystem::path&) {
    return std::unexpected(ENOSYS);
}

Disk& systemDisk() {
    static SystemDisk disk;
    return disk;
}

} // namespace vesto
