#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vesto {

/// "file://" and the absolute path, percent-encoded byte by byte.
[[nodiscard]] std::string fileURL(const std::filesystem::path& path);

/// The inverse; nothing for another scheme, another host, a query, a fragment, a broken escape or a NUL.
[[nodiscard]] std::optional<std::filesystem::path> pathOfFileURL(std::string_view url);

} // namespace vesto
