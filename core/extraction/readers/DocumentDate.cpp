#include "core/extraction/readers/DocumentDate.h"

#include "core/extraction/readers/Ascii.h"
#include "core/support/Unicode.h"
#include "core/support/UnicodeDates.h"

#include <chrono>

namespace vesto::readers {
namespace {

// Takes what it recognises from the front of the text.
struct Cursor {
    std::string_view rest;

    bool skip(char wanted) {
        if (!rest.starts_with(wanted))
            return false;
        rest.remove_prefix(1);
        return true;
    }

    std::optional<int> digits(std::size_t count) { return ascii::takeDigits(rest, count); }

    // A separator and two digits, or nothing.
    std::optional<int> pair(char separator) { return skip(separator) ? digits(2) : std::nullopt; }
};

struct Zone {
    bool isLocal = true;
    std::chrono::minutes offset{0}; // east of Greenwich
};

std::optional<Zone> zoneOf(Cursor& cursor) {
    if (cursor.rest.empty())
        return Zone{};
    if (cursor.skip('Z') || cursor.skip('z'))
        return Zone{.isLocal = false};
    const bool west = cursor.rest.starts_with('-');
    if (!cursor.skip('+') && !cursor.skip('-'))
        return std::nullopt;
    const auto hours = cursor.digits(2);
    const bool needsMinutes = cursor.skip(':');
    const auto minutes = cursor.digits(2);
    if (!hours.has_value() || *hours > 23 || (needsMinutes && !minutes.has_value()) ||
        minutes.value_or(0) > 59)
        return std::nullopt;
    const std::chrono::minutes offset{*hours * 60 + minutes.value_or(0)};
    return Zone{.isLocal = false, .offset = west ? -offset : offset};
}

} // namespace

std::optional<Instant> documentDate(std::string_view text) {
    Cursor cursor{unicode::trimmedWhiteSpace(text)};
    const auto year = cursor.digits(4);
    const auto month = cursor.pair('-');
    const auto day = cursor.pair('-');
    if (!year.has_value() || !month.has_value() || !day.has_value() || !isDocumentYear(*year))
        return std::nullopt;
    unicode::CalendarTime time{.year = *year, .month = *month, .day = *day};
    if (cursor.skip('T') || cursor.skip(' ')) {
        const auto hour = cursor.digits(2);
        const auto minute = cursor.pair(':');
        if (!hour.has_value() || !minute.has_value())
            return std::nullopt;
        time.hour = *hour;
        time.minute = *minute;
        if (cursor.rest.starts_with(':')) {
            const auto second = cursor.pair(':');
            if (!second.has_value())
                return std::nullopt;
            time.second = *second;
        }
        if (cursor.skip('.') || cursor.skip(',')) { // a part of a second that no name shows
            while (cursor.digits(1).has_value()) {
            }
        }
        cursor.skip(' ');
    }
    const std::optional<Zone> zone = zoneOf(cursor);
    if (!zone.has_value() || !cursor.rest.empty())
        return std::nullopt;
    const std::optional<Instant> instant = unicode::instantOf(time, zone->isLocal ? "" : "UTC");
    if (!instant.has_value())
        return std::nullopt;
    return *instant - zone->offset;
}

} // namespace vesto::readers
