#include "core/extraction/readers/DocumentText.h"

#include "core/extraction/readers/Ascii.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <algorithm>
#include <array>

namespace vesto::readers {
namespace {

constexpr std::size_t maxTitleScalars = 300;

/// The number that `count` digits at the start of `text` make, which are taken off; nothing for anything
/// else.
std::optional<int> takeDigits(std::string_view& text, std::size_t count) {
    if (text.size() < count ||
        !std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(count), ascii::isDigit))
        return std::nullopt;
    int value = 0;
    for (const char digit : text.substr(0, count))
        value = value * 10 + (digit - '0');
    text.remove_prefix(count);
    return value;
}

bool take(std::string_view& text, char wanted) {
    if (!text.starts_with(wanted))
        return false;
    text.remove_prefix(1);
    return true;
}

/// «Z», «+01:00», «+0100» or «+01» as minutes east of UTC.
std::optional<int> takeOffset(std::string_view& text) {
    if (take(text, 'Z') || take(text, 'z'))
        return 0;
    const bool isWest = text.starts_with('-');
    if (!take(text, '+') && !take(text, '-'))
        return std::nullopt;
    const std::optional<int> hours = takeDigits(text, 2);
    take(text, ':');
    const int minutes = takeDigits(text, 2).value_or(0);
    if (!hours || *hours > 23 || minutes > 59)
        return std::nullopt;
    return (isWest ? -1 : 1) * (*hours * 60 + minutes);
}

} // namespace

std::string titleLine(std::string_view text) {
    std::string title;
    std::size_t count = 0;
    bool blank = false;
    for (std::size_t i = 0; i < text.size() && count < maxTitleScalars;) {
        const auto [scalar, size] = unicode::scalarAt(text, i);
        i += size;
        if (unicode::isWhiteSpace(scalar) || scalar < 0x20) {
            blank = !title.empty();
            continue;
        }
        if (blank)
            title += ' ';
        blank = false;
        unicode::append(title, scalar);
        ++count;
    }
    return title;
}

std::optional<std::string> usableTitle(std::string_view text) {
    std::string title = titleLine(text);
    constexpr std::array<std::string_view, 7> made{
        "untitled", "untitled document", "sans titre",      "document sans titre",
        "no title", "new document",      "nouveau document"};
    const std::string folded = unicode::folded(title);
    if (title.empty() || std::find(made.begin(), made.end(), folded) != made.end() ||
        (folded + ' ').starts_with("microsoft word - "))
        return std::nullopt;
    return title;
}

std::string joinedLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text.append(line) += '\n';
    return text;
}

std::optional<Instant> instantOfISODate(std::string_view text) {
    text = ascii::trimmed(text);
    unicode::CalendarTime time;
    const auto field = [&text](int& value, std::size_t digits) {
        const std::optional<int> number = takeDigits(text, digits);
        value = number.value_or(0);
        return number.has_value();
    };
    if (!field(time.year, 4) || !take(text, '-') || !field(time.month, 2) || !take(text, '-') ||
        !field(time.day, 2))
        return std::nullopt;
    if (text.empty())
        return unicode::instantOf(time);
    if ((!take(text, 'T') && !take(text, ' ')) || !field(time.hour, 2) || !take(text, ':') ||
        !field(time.minute, 2))
        return std::nullopt;
    if (take(text, ':') && !field(time.second, 2))
        return std::nullopt;
    if (take(text, '.'))
        while (!text.empty() && ascii::isDigit(text.front()))
            text.remove_prefix(1);
    take(text, ' ');
    if (text.empty())
        return unicode::instantOf(time);
    const std::optional<int> offset = takeOffset(text);
    const std::optional<Instant> instant = unicode::instantOf(time, "UTC");
    if (!offset || !instant || !text.empty())
        return std::nullopt;
    return *instant - std::chrono::minutes(*offset);
}

} // namespace vesto::readers
