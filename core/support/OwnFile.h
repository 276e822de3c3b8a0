#pragma once
#include <cstddef>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Small files that are Vesto's own (settings): the only ones whose content is ever replaced. Thread-safe.
/// Errors are the system's numbers.
namespace vesto {

/// The whole content. ENOENT where there is none, EFBIG where it is longer than `maxBytes`.
[[nodiscard]] std::expected<std::string, int> readOwnFile(const std::filesystem::path& path,
                                                          std::size_t maxBytes);

/// Writes the content beside the file and moves it into its place, on disk before it is there: after a crash
/// the file is the old one or the new one. Its folders are made where they are missing. A file that is a
/// link stays one. A new file is readable by its user only.
[[nodiscard]] std::expected<void, int> replaceOwnFile(const std::filesystem::path& path,
                                                      std::string_view content);

} // namespace vesto
