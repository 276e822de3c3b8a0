#pragma once
#include <optional>
#include <span>
#include <string_view>

namespace vesto {

/// A French or English month name, folded (no capitals, no accents), with its number.
struct MonthName {
    std::string_view name;
    int month;
};

/// The 24 names: French January to December, then English.
[[nodiscard]] std::span<const MonthName> monthNameTable();

/// 1 to 12 for a folded name, or nothing.
[[nodiscard]] std::optional<int> monthOfName(std::string_view foldedName);

} // namespace vesto
