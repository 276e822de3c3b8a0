#include "core/files/RemoteFolder.h"

#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace vesto {

bool isRemoteFileSystem(std::uint32_t kind) {
    // By number, since the headers of the system name some of them only.
    constexpr std::array<std::uint32_t, 19> remote{
        0x00006969, // NFS
        0x0000517B, // SMB
        0xFF534D42, // CIFS
        0xFE534D42, // SMB 2 and later
        0x0000564C, // NCP
        0x00C36400, // Ceph
        0x5346414F, // AFS
        0x6B414653, // AFS of the kernel
        0x73757245, // Coda
        0x01021997, // 9P
        0x7461636F, // OCFS2
        0x01161970, // GFS2
        0x0BD00BD0, // Lustre
        0x47504653, // GPFS
        0xAAD7AAEA, // PanFS
        0x20030528, // PVFS
        0x61636673, // ACFS
        0x786F4256, // VirtualBox
        0x65735546, // FUSE
    };
    return std::ranges::find(remote, kind) != remote.end();
}

bool isRemoteFolder(const std::filesystem::path& folder) {
    struct statfs found{};
    return ::statfs(folder.c_str(), &found) == 0 &&
           isRemoteFileSystem(static_cast<std::uint32_t>(found.f_type));
}

} // namespace vesto
