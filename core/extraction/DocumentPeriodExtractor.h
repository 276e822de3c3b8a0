#pragma once
#include "core/support/Locale.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Finds the month that a payslip, an invoice or a statement covers. Pure and thread-safe, linear time.
namespace vesto::DocumentPeriodExtractor {

struct Period {
    std::int64_t month = 1;   // 1 to 12
    std::int64_t year = 1990; // 1990 to 2100

    /// Month and year in words in the locale's order («octobre 2026»); "13/2026" where there is no such
    /// month.
    [[nodiscard]] std::string label(const Locale& locale) const;

    bool operator==(const Period&) const = default;
};

/// The period of `text` where it is a periodic document that names one. `allowMonthName`: a bare «septembre
/// 2025» counts as well as a date.
[[nodiscard]] std::optional<Period> period(std::string_view text, bool allowMonthName);

/// Whether the first 800 characters (grapheme clusters) name a kind of document that comes every month.
[[nodiscard]] bool isPeriodicDocument(std::string_view text);

[[nodiscard]] std::optional<Period> extract(std::string_view text, bool allowMonthName);

/// The period of one numeric date «first/second/year», month and day told apart by their size; nothing where
/// the day does not exist or the year lies outside 1990 to 2100 (two digits: plus 2000).
[[nodiscard]] std::optional<Period> periodOfNumericDate(int first, int second, int year);

} // namespace vesto::DocumentPeriodExtractor
