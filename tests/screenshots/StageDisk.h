#pragma once
#include "tests/app/support/World.h"

#include <cerrno>

namespace vesto {

/// The real disk, but that two folders stand on disks that cannot do all: "Clé USB" keeps no attributes, and
/// "Partage" cannot rename without perhaps replacing.
class StageDisk final : public PickyDisk {
public:
    Result renameExclusively(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return isIn(from, "/Partage/") ? std::unexpected(EINVAL) : PickyDisk::renameExclusively(from, to);
    }
    Result link(const std::filesystem::path& existing, const std::filesystem::path& name) override {
        return isIn(existing, "/Partage/") ? std::unexpected(EPERM) : PickyDisk::link(existing, name);
    }
    Result writeAttribute(const std::filesystem::path& path, const char* name,
                          std::string_view value) override {
        return isIn(path, "/Clé USB/") ? std::unexpected(EOPNOTSUPP)
                                       : PickyDisk::writeAttribute(path, name, value);
    }

private:
    static bool isIn(const std::filesystem::path& path, std::string_view folder) {
        return path.native().find(folder) != std::string::npos;
    }
};

} // namespace vesto
