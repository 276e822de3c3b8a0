#pragma once
#include <string>
#include <string_view>

namespace vesto {

/// A text of a stranger made fit for a terminal or a notification: control and format characters and bad
/// bytes become U+FFFD, so that a file's name can neither move the cursor nor turn the line around.
[[nodiscard]] std::string printable(std::string_view text);

} // namespace vesto
