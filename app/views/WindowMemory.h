#pragma once
#include "core/support/SettingsFile.h"
#include "core/support/UserFolders.h"

#include <QByteArray>
#include <string_view>
#include <utility>

namespace vesto {

/// How the user left the windows: sizes, widths of columns. Kept beside the store, apart from the settings.
/// What cannot be read or written is forgotten. Main thread.
class WindowMemory {
public:
    explicit WindowMemory(SettingsFile file = SettingsFile(userDataFolder() / "windows.conf"))
        : m_file(std::move(file)) {}

    /// Empty where nothing is known. `key` consists of ASCII letters and digits.
    [[nodiscard]] QByteArray value(std::string_view key) const;
    void keep(std::string_view key, const QByteArray& value) const;

private:
    SettingsFile m_file;
};

} // namespace vesto
