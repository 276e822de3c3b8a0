#pragma once
#include <string>
#include <string_view>

namespace vesto {

/// The text that a user sees for a key. Keys are the French texts themselves; a key without an entry in the
/// catalogue is its own text. `key` must outlive the result (literals do). Thread-safe.
[[nodiscard]] std::string_view text(std::string_view key);

} // namespace vesto
