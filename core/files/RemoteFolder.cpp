#include "core/files/RemoteFolder.h"

#include <sys/vfs.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace vesto {

bool isRemoteFolder(const std::filesystem::path& folder) {
    // By number, since the headers of the system name some of them only.
    constexpr std::array<std::uint32_t, 16> remote{
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
        0x65735546, // FUSE
    };
    struct statfs found{};
    if (::statfs(folder.c_str(), &found) != 0)
        return false;
    return std::ranges::find(remote, static_cast<std::uint32_t>(found.f_type)) != remote.end();
}

} // namespace vesto
