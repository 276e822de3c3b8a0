#pragma once
#include <span>
#include <string_view>

namespace vesto {

/// One type of the registry. `parents` and `extensions` are words separated by one blank.
struct TypeRow {
    std::string_view identifier;
    std::string_view parents;    // identifiers that it conforms to directly
    std::string_view extensions; // lower case, without the dot
};

/// No identifier and no extension stands in it twice; every parent has a row of its own; there is no cycle.
[[nodiscard]] std::span<const TypeRow> typeTable();

} // namespace vesto
