#pragma once
#include "core/extraction/DocumentPeriodExtractor.h"

#include <cstddef>
#include <optional>
#include <string_view>

/// Dates in digits inside a text, read by hand so that a long text costs linear time. Offsets are bytes.
namespace vesto {

/// Decimal digits of any script in a row.
struct DigitRun {
    std::size_t end = 0;
    int count = 0;
    std::optional<int> value; // nothing where a digit is not ASCII: such a number is seen, but never a date
};

/// At most `most` (9 or fewer) digits that start at `offset`; the run may be empty.
[[nodiscard]] DigitRun digitsAt(std::string_view text, std::size_t offset, int most);

/// «12/03/2025», «1.2.25» or «12-03-2025»: one or two digits, one or two digits, two to four digits.
struct NumericDate {
    std::size_t end = 0;
    std::optional<DocumentPeriodExtractor::Period> period; // nothing where there is no such day
};

/// The numeric date that starts at `offset`, valid or not. What follows its year is not looked at.
[[nodiscard]] std::optional<NumericDate> numericDateAt(std::string_view text, std::size_t offset);

} // namespace vesto
