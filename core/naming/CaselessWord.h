#pragma once
#include <cstddef>
#include <optional>
#include <string_view>

namespace vesto {

/// The byte after `word` where `text` holds it at byte `offset` in any case, as a pattern that ignores case
/// would. `word` is lower-case ASCII without "k", whose other case (U+212A) is not looked for.
[[nodiscard]] std::optional<std::size_t> skipCaselessWord(std::string_view text, std::size_t offset,
                                                          std::string_view word);

} // namespace vesto
