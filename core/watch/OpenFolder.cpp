#include "core/watch/OpenFolder.h"

#include "core/files/RemoteFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/stat.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>

namespace vesto {
namespace {

constexpr std::uint32_t exfatMagic = 0x2011BAB0; // newer than the headers of some systems

bool inventsInodes(std::uint32_t magic) {
    return magic == MSDOS_SUPER_MAGIC || magic == exfatMagic || magic == FUSE_SUPER_MAGIC;
}

} // namespace

std::expected<OpenFolder, int> OpenFolder::open(const std::filesystem::path& path) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    if (!fd)
        return std::unexpected(errno);
    OpenFolder folder(std::move(fd));
    if (!folder.examine())
        return std::unexpected(errno);
    return folder;
}

bool OpenFolder::examine() {
    struct statx found{};
    struct statfs disk{};
    if (::statx(m_fd.get(), "", AT_EMPTY_PATH, STATX_INO | STATX_BTIME, &found) != 0 ||
        ::fstatfs(m_fd.get(), &disk) != 0)
        return false;
    const auto magic = static_cast<std::uint32_t>(disk.f_type);
    m_isRemote = isRemoteFileSystem(magic);
    m_identity.device = makedev(found.stx_dev_major, found.stx_dev_minor);
    // There both may change under a folder that is first written to.
    if (magic == OVERLAYFS_SUPER_MAGIC)
        return true;
    if (!inventsInodes(magic))
        m_identity.inode = found.stx_ino;
    if ((found.stx_mask & STATX_BTIME) != 0)
        m_identity.birth = FileTime{found.stx_btime.tv_sec, found.stx_btime.tv_nsec};
    return true;
}

std::expected<std::vector<std::string>, int> OpenFolder::names() && {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::fdopendir(m_fd.get()), &::closedir);
    if (!folder)
        return std::unexpected(errno);
    [[maybe_unused]] const int owned = m_fd.release();
    std::vector<std::string> names;
    while (true) {
        errno = 0;
        const dirent* entry = ::readdir(folder.get()); // NOLINT(concurrency-mt-unsafe): a stream of its own
        if (entry == nullptr)
            break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
    }
    if (errno != 0)
        return std::unexpected(errno);
    std::ranges::sort(names);
    return names;
}

} // namespace vesto
