#include "core/extraction/MonthNames.h"

#include <array>

namespace vesto {
namespace {

constexpr std::array<MonthName, 24> table{{
    {"janvier", 1}, {"fevrier", 2},  {"mars", 3},      {"avril", 4},    {"mai", 5},       {"juin", 6},
    {"juillet", 7}, {"aout", 8},     {"septembre", 9}, {"octobre", 10}, {"novembre", 11}, {"decembre", 12},
    {"january", 1}, {"february", 2}, {"march", 3},     {"april", 4},    {"may", 5},       {"june", 6},
    {"july", 7},    {"august", 8},   {"september", 9}, {"october", 10}, {"november", 11}, {"december", 12},
}};

} // namespace

std::span<const MonthName> monthNameTable() {
    return table;
}

std::optional<int> monthOfName(std::string_view foldedName) {
    for (const MonthName& entry : table)
        if (entry.name == foldedName)
            return entry.month;
    return std::nullopt;
}

} // namespace vesto
