#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// A fresh random identifier (version 4), in lower case. Thread-safe.
[[nodiscard]] std::string randomUuid();

/// `text` in lower case where it is a UUID with its four hyphens, in any letter case; nothing otherwise.
[[nodiscard]] std::optional<std::string> parsedUuid(std::string_view text);

} // namespace vesto
