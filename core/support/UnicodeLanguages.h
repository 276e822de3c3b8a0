#pragma once
#include <optional>
#include <string>

namespace vesto::unicode {

/// The English name of a language by its code («German» for "de"); nothing for a code that has none.
/// Thread-safe.
[[nodiscard]] std::optional<std::string> englishLanguageName(const std::string& code);

/// The shortest code of the language of an identifier: "fr" for "fra", "fr_FR" and "FR-ca". Thread-safe.
[[nodiscard]] std::string languageCodeOf(const std::string& identifier);

} // namespace vesto::unicode
