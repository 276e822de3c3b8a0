#pragma once
#include <expected>
#include <filesystem>
#include <optional>

namespace vesto {

/// Whether the desktop starts a program at login: a file in its "autostart" folder. Each call looks anew.
class Autostart {
public:
    /// `folder` is where the desktop looks, `program` what it is to start.
    Autostart(const std::filesystem::path& folder, std::filesystem::path program);

    /// Of this user and this desktop; nothing where no folder or no desktop is known.
    [[nodiscard]] static std::optional<Autostart> ofUser();

    /// An entry that is hidden or switched off starts nothing.
    [[nodiscard]] bool isOn() const;

    /// Fails with the system's error number.
    [[nodiscard]] std::expected<void, int> set(bool on) const;

private:
    std::filesystem::path m_file;
    std::filesystem::path m_program;
};

} // namespace vesto
