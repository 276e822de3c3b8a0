#include "core/support/UserFolders.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace vesto {
namespace {

/// The folder that an environment variable names; empty where it names none. A relative one does not count.
std::filesystem::path folderNamedBy(const char* variable) {
    const char* value = std::getenv(variable);
    const std::filesystem::path folder = value == nullptr ? "" : value;
    return folder.is_absolute() ? folder : std::filesystem::path();
}

std::filesystem::path homeFolder() {
    if (std::filesystem::path home = folderNamedBy("HOME"); !home.empty())
        return home;
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
        return {};
    const std::filesystem::path home = found->pw_dir;
    return home.is_absolute() ? home : std::filesystem::path();
}

std::filesystem::path userFolder(const char* variable, const char* underHome) {
    if (const std::filesystem::path named = folderNamedBy(variable); !named.empty())
        return named / "vesto";
    const std::filesystem::path home = homeFolder();
    return home.empty() ? home : home / underHome / "vesto";
}

} // namespace

std::filesystem::path userConfigFolder() {
    return userFolder("XDG_CONFIG_HOME", ".config");
}

std::filesystem::path userDataFolder() {
    return userFolder("XDG_DATA_HOME", ".local/share");
}

} // namespace vesto
