#pragma once
#include "core/support/UserFolders.h"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// The user's settings, a file of lines "key=value" in the group "[General]", as Qt writes and reads its INI
/// files. Each call reads the file anew, so that what another program changed counts at once. Thread-safe;
/// of two programs that write at the same time, the later one's file stands.
class SettingsFile {
public:
    explicit SettingsFile(std::filesystem::path path = userConfigFolder() / "vesto.conf")
        : m_path(std::move(path)) {}

    /// Nothing where the file or the key is missing. `key` consists of ASCII letters and digits.
    [[nodiscard]] std::optional<std::string> value(std::string_view key) const;

    /// "true" and "false"; `otherwise` for anything else.
    [[nodiscard]] bool flag(std::string_view key, bool otherwise) const;

    /// Sets the key, or removes it; every other line stays as it is. Fails with the system's error number,
    /// EFBIG where the file is none of ours.
    [[nodiscard]] std::expected<void, int> set(std::string_view key,
                                               const std::optional<std::string>& value) const;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace vesto
