#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace vesto::unicode {

/// `bytes` as UTF-8, read in the charset that `name` names (any name or alias that ICU knows, in any case);
/// nothing where it knows none. Bytes without a meaning become U+FFFD; a byte order mark is dropped.
/// Linear time, thread-safe.
[[nodiscard]] std::optional<std::string> decodeCharset(std::string_view bytes, std::string_view name);

} // namespace vesto::unicode
