#pragma once
#include <filesystem>
#include <string_view>

namespace vesto {

/// The last component by the text alone, trailing slashes aside; empty for "/". Points into `path`.
[[nodiscard]] std::string_view lastComponentOf(const std::filesystem::path& path);

/// The folder by the text alone, so a symbolic link's own; "." where `path` is a bare name.
[[nodiscard]] std::filesystem::path folderOf(const std::filesystem::path& path);

/// The path of `name` in the same folder, by the text alone.
[[nodiscard]] std::filesystem::path siblingOf(const std::filesystem::path& path, std::string_view name);

/// What follows the last dot of a file name that does not start there, not empty and without white space;
/// empty where there is none («Note M. Dupont», «.profile», «archive.»).
[[nodiscard]] std::string_view extensionOf(std::string_view fileName);

/// The file name without its extension and that dot.
[[nodiscard]] std::string_view baseNameOf(std::string_view fileName);

/// Equal after composition and full case folding, without a locale.
[[nodiscard]] bool isSameName(std::string_view left, std::string_view right);

} // namespace vesto
