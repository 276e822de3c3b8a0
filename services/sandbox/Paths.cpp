#include "services/sandbox/Paths.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace vesto::sandbox {
namespace {

/// The folder that a variable names, or the one below the home folder that stands for it; empty where neither
/// is a complete path.
std::string folderOf(const char* variable, std::string_view belowHome) {
    const char* named = std::getenv(variable);
    if (named != nullptr && named[0] == '/')
        return named;
    const char* home = std::getenv("HOME");
    return home != nullptr && home[0] == '/' ? std::string(home) + '/' + std::string(belowHome)
                                             : std::string();
}

} // namespace

std::vector<std::string> readablePaths() {
    std::vector<std::string> paths{
        "/usr/share/tesseract-ocr",
        "/usr/share/tessdata",
        "/usr/share/fonts",
        "/usr/local/share/fonts",
        "/etc/fonts",
        "/usr/share/fontconfig",
        "/var/cache/fontconfig",
        "/usr/share/poppler",
        "/usr/share/liblangtag",
        "/usr/share/iso-codes",
        "/usr/share/xml/iso-codes",
        "/usr/share/zoneinfo",
        "/etc/localtime",
        // Shared libraries, character sets (gconv) and locales stand in these.
        "/lib",
        "/lib64",
        "/usr/lib",
        "/usr/lib64",
        "/usr/local/lib",
        "/etc/ld.so.cache",
        // How many processors there are; several decoders ask.
        "/sys/devices/system/cpu/online",
        "/sys/devices/system/cpu/possible",
    };
    struct Row {
        const char* variable;
        std::string_view belowHome;
        std::string_view folder;
    };
    static constexpr Row rows[] = {
        {"XDG_DATA_HOME", ".local/share", "fonts"},
        {"XDG_CONFIG_HOME", ".config", "fontconfig"},
        {"XDG_CACHE_HOME", ".cache", "fontconfig"},
        {"HOME", "", ".fonts"},
    };
    for (const Row& row : rows) {
        const std::string folder = folderOf(row.variable, row.belowHome);
        if (!folder.empty())
            paths.push_back(folder + '/' + std::string(row.folder));
    }
    // Of the models only the classifier, which may be a link to where its user keeps it.
    for (const char* name : {"labels.onnx", "labels.json"}) {
        std::error_code failure;
        const auto file = std::filesystem::canonical(
            folderOf("XDG_DATA_HOME", ".local/share") + "/vesto/models/" + name, failure);
        if (!failure)
            paths.push_back(file.string());
    }
    return paths;
}

} // namespace vesto::sandbox
