#pragma once
#include "core/support/Locale.h"
#include "core/support/Time.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

/// Dates in words, through ICU. Gregorian calendar. Thread-safe; formatters are kept per thread.
namespace vesto::unicode {

/// `instant` by a Unicode date pattern such as "yyyy-MM-dd". `timeZone` is an Olson name, empty for the
/// system's. A pattern that ICU refuses gives the empty string.
[[nodiscard]] std::string formatDate(Instant instant, std::string_view pattern, const Locale& locale,
                                     std::string_view timeZone = {});

/// Full month name and year in the locale's order («octobre 2026», «October 2026»); nothing for a month
/// outside 1 to 12.
[[nodiscard]] std::optional<std::string> formatMonthAndYear(std::int64_t month, std::int64_t year,
                                                            const Locale& locale);

/// The locale's twelve month names as a calendar writes them, in its own letter case, January first.
[[nodiscard]] std::array<std::string, 12> monthNames(const Locale& locale);

/// The instant of a local date and time; nothing where a field is out of range or the day does not exist.
struct CalendarTime {
    int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;
};
[[nodiscard]] std::optional<Instant> instantOf(const CalendarTime& time, std::string_view timeZone = {});

} // namespace vesto::unicode
