#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vesto::readers {

/// Some strings of a binary workbook's shared table, by their index. `chunks`: the data of the table's record
/// and of those that continue it; `wanted`: sorted. What is damaged is missing. Linear time.
[[nodiscard]] std::map<std::uint32_t, std::string> sharedStrings(const std::vector<std::string_view>& chunks,
                                                                 const std::vector<std::uint32_t>& wanted);

/// UTF-16, or its lower bytes only, as UTF-8.
[[nodiscard]] std::string textOfUnits(std::string_view bytes, bool isWide);

} // namespace vesto::readers
