#pragma once
#include <QString>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

/// Where the model's UTF-8 becomes the windows' text, and where their French comes from. Main thread.
namespace vesto {

/// Text of the model's, made valid where it was not. For names see `Names.h`.
[[nodiscard]] QString shown(std::string_view utf8);
[[nodiscard]] std::string utf8(const QString& text);

/// What the user sees for a key; the key is the French text itself.
[[nodiscard]] QString french(std::string_view key);

/// With "%1", "%2"… in their places; what is put there may hold percent signs of its own.
template <std::same_as<QString>... Words>
[[nodiscard]] QString french(std::string_view key, const Words&... words) {
    return french(key).arg(words...);
}

/// The form for this number, with "%n" the number as it is written; 0 and 1 are singular.
[[nodiscard]] QString plural(std::size_t count, std::string_view one, std::string_view many);

} // namespace vesto
