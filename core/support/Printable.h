#pragma once
#include <string>
#include <string_view>

namespace vesto {

/// A text of a stranger made fit for a terminal or a notification: control and format characters and bad
/// bytes become U+FFFD, so that a file's name can neither move the cursor nor turn the line around.
[[nodiscard]] std::string printable(std::string_view text);

// A name between these turns nothing around it, whatever its direction.
inline constexpr std::string_view isolateBegin = "\u2068";
inline constexpr std::string_view isolateEnd = "\u2069";

/// A name for the middle of a sentence.
[[nodiscard]] std::string isolated(std::string_view name);

/// A sentence of ours with what stands in « » isolated.
[[nodiscard]] std::string withIsolatedQuotations(std::string_view sentence);

} // namespace vesto
