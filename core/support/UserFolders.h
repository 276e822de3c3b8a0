#pragma once
#include <filesystem>

namespace vesto {

/// Where this user's settings and data of Vesto are; whether they exist is not looked at. Empty where the
/// system knows no home folder.
[[nodiscard]] std::filesystem::path userConfigFolder(); // $XDG_CONFIG_HOME/vesto
[[nodiscard]] std::filesystem::path userDataFolder();   // $XDG_DATA_HOME/vesto

} // namespace vesto
