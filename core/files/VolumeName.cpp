#include "core/files/VolumeName.h"

#include <fmt/format.h>
#include <sys/sysmacros.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace vesto {
namespace {

struct Mount {
    std::string kind;
    std::string source;
};

/// A line reads «36 35 98:0 /root /mount/point options [optional fields] - kind source options».
std::optional<Mount> mountOf(std::uint64_t device) {
    const std::string wanted = fmt::format("{}:{}", major(device), minor(device));
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string id;
        std::string parent;
        std::string number;
        if (!(fields >> id >> parent >> number) || number != wanted)
            continue;
        for (std::string field; fields >> field;) {
            Mount mount;
            if (field == "-" && fields >> mount.kind >> mount.source)
                return mount;
        }
    }
    return std::nullopt;
}

std::optional<std::string> uuidOf(const std::string& source) {
    std::error_code error;
    const auto device = std::filesystem::canonical(source, error);
    if (error)
        return std::nullopt;
    std::filesystem::directory_iterator entry("/dev/disk/by-uuid", error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code unresolved;
        if (std::filesystem::canonical(entry->path(), unresolved) == device && !unresolved)
            return entry->path().filename().native();
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> lastingVolumeName(std::uint64_t device) {
    const auto mount = mountOf(device);
    if (!mount)
        return std::nullopt;
    if (mount->source.starts_with("/dev/"))
        if (const auto uuid = uuidOf(mount->source))
            return "uuid:" + *uuid;
    return mount->kind + ":" + mount->source;
}

} // namespace vesto
