#pragma once
#include <optional>
#include <string>
#include <string_view>

/// Tells in which charset a text was written. Pure, thread-safe, linear time.
namespace vesto::readers {

/// `bytes` as UTF-8: by a byte order mark; as UTF-8 where they are valid (an unfinished sequence at the very
/// end is left out); as UTF-16 without a mark where zero bytes make it plain; else as the one-byte charset
/// that letters and signs point to, windows-1252 in doubt. Nothing for what is no text.
[[nodiscard]] std::optional<std::string> decodeText(std::string_view bytes);

/// The same for a document that names its charset, perhaps wrongly: a mark and valid UTF-8 come before
/// `declared`.
[[nodiscard]] std::optional<std::string> decodeText(std::string_view bytes, std::string_view declared);

/// At most `limit` first bytes, without the piece of a sequence that the cut leaves at their end.
[[nodiscard]] std::string_view wholeSequences(std::string_view bytes, std::size_t limit);

} // namespace vesto::readers
