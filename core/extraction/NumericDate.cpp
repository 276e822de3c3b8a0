#include "core/extraction/NumericDate.h"

#include "core/support/Unicode.h"

namespace vesto {
namespace {

bool isSeparatorAt(std::string_view text, std::size_t offset) {
    return offset < text.size() && (text[offset] == '/' || text[offset] == '.' || text[offset] == '-');
}

} // namespace

DigitRun digitsAt(std::string_view text, std::size_t offset, int most) {
    DigitRun run{.end = offset, .count = 0, .value = 0};
    for (; run.count < most && run.end < text.size(); ++run.count) {
        const auto byte = static_cast<unsigned char>(text[run.end]);
        if (byte >= '0' && byte <= '9') {
            if (run.value)
                run.value = *run.value * 10 + (byte - '0');
            ++run.end;
            continue;
        }
        if (byte < 0x80)
            break;
        const unicode::Scalar scalar = unicode::scalarAt(text, run.end);
        if (!unicode::isDecimalDigit(scalar.value))
            break;
        run.value.reset();
        run.end += scalar.size;
    }
    return run;
}

std::optional<NumericDate> numericDateAt(std::string_view text, std::size_t offset) {
    // A run never has to give digits back: after a shorter one stands a digit, and no separator.
    const DigitRun first = digitsAt(text, offset, 2);
    if (first.count == 0 || !isSeparatorAt(text, first.end))
        return std::nullopt;
    const DigitRun second = digitsAt(text, first.end + 1, 2);
    if (second.count == 0 || !isSeparatorAt(text, second.end))
        return std::nullopt;
    const DigitRun year = digitsAt(text, second.end + 1, 4);
    if (year.count < 2)
        return std::nullopt;
    NumericDate date{.end = year.end, .period = std::nullopt};
    if (first.value && second.value && year.value)
        date.period = DocumentPeriodExtractor::periodOfNumericDate(*first.value, *second.value, *year.value);
    return date;
}

} // namespace vesto
