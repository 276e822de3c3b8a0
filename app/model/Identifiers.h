#pragma once
#include <expected>
#include <string>
#include <string_view>
#include <vector>

namespace vesto {

/// The one of `ids` that is `word` or begins so; why there is none, in French.
[[nodiscard]] std::expected<std::string, std::string> idNamedBy(std::string_view word,
                                                                const std::vector<std::string>& ids);

/// Whether a word can be an id or the beginning of one: four characters at least.
[[nodiscard]] bool isIDPrefix(std::string_view word);

/// How the ids begin that `word` may name, in small letters as ids are; empty where it can name none.
[[nodiscard]] std::string idPrefix(std::string_view word);

} // namespace vesto
