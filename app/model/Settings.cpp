#include "app/model/Settings.h"

#include "core/naming/NameTemplate.h"

#include <fmt/format.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <optional>

namespace vesto {
namespace {

constexpr double defaultThreshold = 0.6;

/// Two decimals, so that a confidence that is said to be equal is equal.
std::optional<double> threshold(std::string_view text) {
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || !(value >= 0 && value <= 1))
        return std::nullopt;
    return std::round(value * 100) / 100;
}

bool isValid(std::string_view pattern) {
    return NameTemplate{std::string(pattern)}.validate().has_value();
}

} // namespace

std::string Settings::nameTemplate() const {
    const auto value = m_file.value("template");
    return value && isValid(*value) ? *value : NameTemplate::defaultTemplate().pattern;
}

bool Settings::genericOnly() const {
    return m_file.flag("genericOnly", true);
}

double Settings::autoThreshold() const {
    return threshold(m_file.value("autoThreshold").value_or("")).value_or(defaultThreshold);
}

bool Settings::paused() const {
    return m_file.flag("paused", false);
}

bool Settings::onboarded() const {
    return m_file.flag("onboarded", false);
}

bool Settings::notifyAutomatic() const {
    return m_file.flag("notifyAutomatic", true);
}

std::expected<void, int> Settings::setNameTemplate(std::string_view pattern) const {
    if (!isValid(pattern))
        return std::unexpected(EINVAL);
    return m_file.set("template", std::string(pattern));
}

std::expected<void, int> Settings::setGenericOnly(bool value) const {
    return setFlag("genericOnly", value);
}

std::expected<void, int> Settings::setAutoThreshold(double value) const {
    if (!(value >= 0 && value <= 1))
        return std::unexpected(EINVAL);
    return m_file.set("autoThreshold", fmt::format("{:.2f}", value));
}

std::expected<void, int> Settings::setPaused(bool value) const {
    return setFlag("paused", value);
}

std::expected<void, int> Settings::setOnboarded(bool value) const {
    return setFlag("onboarded", value);
}

std::expected<void, int> Settings::setNotifyAutomatic(bool value) const {
    return setFlag("notifyAutomatic", value);
}

std::expected<void, int> Settings::setFlag(std::string_view key, bool value) const {
    return m_file.set(key, value ? "true" : "false");
}

} // namespace vesto
