#pragma once
#include "core/support/SettingsFile.h"

#include <expected>
#include <string>
#include <string_view>

namespace vesto {

/// The user's preferences. Read from the file at each call, so that what another program changed counts for
/// the next file; a key that is missing, or whose value makes no sense, has its default. Thread-safe.
class Settings {
public:
    explicit Settings(SettingsFile file = SettingsFile())
        : m_file(std::move(file)) {}

    [[nodiscard]] std::string nameTemplate() const; // "template"; always a valid one
    [[nodiscard]] bool genericOnly() const;
    [[nodiscard]] double autoThreshold() const; // 0 to 1, two decimals
    [[nodiscard]] bool paused() const;
    [[nodiscard]] bool onboarded() const;
    [[nodiscard]] bool notifyAutomatic() const;

    // Fail with the system's error number; an invalid template or threshold is refused with EINVAL.
    [[nodiscard]] std::expected<void, int> setNameTemplate(std::string_view pattern) const;
    [[nodiscard]] std::expected<void, int> setGenericOnly(bool value) const;
    [[nodiscard]] std::expected<void, int> setAutoThreshold(double value) const;
    [[nodiscard]] std::expected<void, int> setPaused(bool value) const;
    [[nodiscard]] std::expected<void, int> setOnboarded(bool value) const;
    [[nodiscard]] std::expected<void, int> setNotifyAutomatic(bool value) const;

private:
    [[nodiscard]] std::expected<void, int> setFlag(std::string_view key, bool value) const;

    SettingsFile m_file;
};

} // namespace vesto
