#pragma once
#include <string_view>

namespace vesto {

/// What follows the last dot of a file name that does not start there, not empty and without white space; empty
/// where there is none («Note M. Dupont», «.profile», «archive.»).
[[nodiscard]] std::string_view extensionOf(std::string_view fileName);

/// The file name without its extension and that dot.
[[nodiscard]] std::string_view baseNameOf(std::string_view fileName);

/// Equal after composition and full case folding, without a locale.
[[nodiscard]] bool isSameName(std::string_view left, std::string_view right);

} // namespace vesto
