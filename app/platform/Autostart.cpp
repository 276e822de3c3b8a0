#include "app/platform/Autostart.h"

#include "app/platform/SingleInstance.h"
#include "core/support/OwnFile.h"
#include "core/support/UserFolders.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace vesto {
namespace {

constexpr std::size_t maxEntry = std::size_t{64} << 10; // bytes

/// A word of a desktop entry's command: quoted, and quoted again as every value of such a file is.
std::string quotedWord(std::string_view word) {
    std::string quoted = "\"";
    for (const char character : word) {
        if (std::string_view("\"`$\\").contains(character))
            quoted += "\\\\";
        if (character == '\\')
            quoted += '\\';
        if (character == '%')
            quoted += '%';
        quoted += character;
    }
    return quoted + '"';
}

/// The value of a key of the first group; empty where it is missing.
std::string_view valueOf(std::string_view key, std::string_view entry) {
    bool isInGroup = false;
    while (!entry.empty()) {
        const std::size_t end = entry.find('\n');
        std::string_view line = entry.substr(0, end);
        entry.remove_prefix(end == std::string_view::npos ? entry.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (line.starts_with('['))
            isInGroup = line == "[Desktop Entry]";
        const std::size_t equals = line.find('=');
        if (!isInGroup || equals == std::string_view::npos)
            continue;
        const auto trimmed = [](std::string_view text) {
            const std::size_t first = text.find_first_not_of(' ');
            return first == std::string_view::npos
                       ? std::string_view()
                       : text.substr(first, text.find_last_not_of(' ') - first + 1);
        };
        if (trimmed(line.substr(0, equals)) == key)
            return trimmed(line.substr(equals + 1));
    }
    return {};
}

} // namespace

Autostart::Autostart(const std::filesystem::path& folder, std::filesystem::path program)
    : m_file(folder / (std::string(applicationID) + ".desktop"))
    , m_program(std::move(program)) {}

std::optional<Autostart> Autostart::ofUser() {
    const std::filesystem::path config = userConfigFolder().parent_path();
    if (!config.is_absolute())
        return std::nullopt;
    Autostart autostart(config / "autostart",
                        QFile::encodeName(QCoreApplication::applicationFilePath()).toStdString());
    // A bare window manager starts nothing; but what somebody wrote down before can still be taken back.
    if (qgetenv("XDG_CURRENT_DESKTOP").isEmpty() && !autostart.isOn())
        return std::nullopt;
    return autostart;
}

bool Autostart::isOn() const {
    const auto entry = readOwnFile(m_file, maxEntry);
    return entry && !valueOf("Exec", *entry).empty() && valueOf("Hidden", *entry) != "true" &&
           valueOf("X-GNOME-Autostart-enabled", *entry) != "false";
}

std::expected<void, int> Autostart::set(bool on) const {
    if (on)
        return replaceOwnFile(m_file, "[Desktop Entry]\nType=Application\nName=Vesto\nIcon=vesto\nExec=" +
                                          quotedWord(m_program.native()) +
                                          " --hidden\nTerminal=false\nX-GNOME-Autostart-enabled=true\n");
    if (::unlink(m_file.c_str()) != 0 && errno != ENOENT)
        return std::unexpected(errno);
    return {};
}

} // namespace vesto
