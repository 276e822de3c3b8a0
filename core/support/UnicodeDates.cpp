#include "core/support/UnicodeDates.h"

#include <unicode/dtfmtsym.h>
#include <unicode/dtptngen.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <map>
#include <memory>
#include <tuple>

namespace vesto::unicode {
namespace {

icu::UnicodeString fromUtf8(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

/// With the Gregorian calendar, whose patterns of month and year name no era. English for an identifier
/// without a language or longer than ICU can hold.
icu::Locale icuLocale(const Locale& locale) {
    constexpr std::size_t maxIdentifier = 100; // bytes; ICU has 157 with the calendar
    if (locale.identifier().size() > maxIdentifier)
        return icu::Locale::getEnglish();
    icu::Locale result = icu::Locale::createFromName(locale.identifier().c_str());
    UErrorCode status = U_ZERO_ERROR;
    result.setKeywordValue("calendar", "gregorian", status);
    const bool isUsable = U_SUCCESS(status) && !result.isBogus() && *result.getLanguage() != '\0';
    return isUsable ? result : icu::Locale::getEnglish();
}

std::unique_ptr<icu::TimeZone> zoneOf(std::string_view name) {
    if (name.empty())
        return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault());
    return std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(fromUtf8(name)));
}

/// A calendar that never leaves the Gregorian one, also before 1582, so that an ISO date comes out as it went
/// in. Null where ICU refuses.
std::unique_ptr<icu::GregorianCalendar> calendarOf(std::string_view timeZone, const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(zoneOf(timeZone).release(), locale, status);
    if (U_FAILURE(status))
        return nullptr;
    constexpr UDate beforeEveryDate = -1.0e17; // milliseconds
    calendar->setGregorianChange(beforeEveryDate, status);
    return calendar;
}

std::string formatted(icu::SimpleDateFormat& formatter, UDate date) {
    icu::UnicodeString text;
    formatter.format(date, text);
    std::string result;
    text.toUTF8String(result);
    return result;
}

constexpr std::size_t maxKept = 64; // formatters a thread; a user's template needs a few

/// The formatter of this thread for a locale, a pattern and a zone; null for a pattern that ICU refuses.
icu::SimpleDateFormat* formatterFor(const Locale& locale, std::string_view pattern,
                                    std::string_view timeZone) {
    using Key = std::tuple<std::string, std::string, std::string>;
    thread_local std::map<Key, std::unique_ptr<icu::SimpleDateFormat>> kept;
    Key key{locale.identifier(), std::string(pattern), std::string(timeZone)};
    if (const auto found = kept.find(key); found != kept.end())
        return found->second.get();
    if (kept.size() >= maxKept)
        kept.clear();
    UErrorCode status = U_ZERO_ERROR;
    auto formatter = std::make_unique<icu::SimpleDateFormat>(fromUtf8(pattern), icuLocale(locale), status);
    auto calendar = calendarOf(timeZone, icuLocale(locale));
    if (U_SUCCESS(status) && calendar)
        formatter->adoptCalendar(calendar.release());
    else
        formatter.reset();
    return kept.emplace(std::move(key), std::move(formatter)).first->second.get();
}

std::string monthAndYearPattern(const Locale& locale) {
    thread_local std::map<std::string, std::string> kept;
    if (const auto found = kept.find(locale.identifier()); found != kept.end())
        return found->second;
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(icuLocale(locale), status));
    std::string pattern = "MMMM yyyy";
    if (U_SUCCESS(status)) {
        const icu::UnicodeString best = generator->getBestPattern(fromUtf8("MMMMyyyy"), status);
        if (U_SUCCESS(status)) {
            pattern.clear();
            best.toUTF8String(pattern);
        }
    }
    return kept.emplace(locale.identifier(), std::move(pattern)).first->second;
}

UDate dateOf(Instant instant) {
    // ICU counts milliseconds.
    return static_cast<UDate>(
        std::chrono::floor<std::chrono::milliseconds>(instant).time_since_epoch().count());
}

} // namespace

std::string formatDate(Instant instant, std::string_view pattern, const Locale& locale,
                       std::string_view timeZone) {
    icu::SimpleDateFormat* formatter = formatterFor(locale, pattern, timeZone);
    return formatter == nullptr ? std::string() : formatted(*formatter, dateOf(instant));
}

std::optional<std::string> formatMonthAndYear(std::int64_t month, std::int64_t year, const Locale& locale) {
    if (month < 1 || month > 12 || year < 1 || year > 9999)
        return std::nullopt;
    CalendarTime middle;
    middle.year = static_cast<int>(year);
    middle.month = static_cast<int>(month);
    middle.day = 15;
    const auto instant = instantOf(middle, "UTC");
    if (!instant)
        return std::nullopt;
    return formatDate(*instant, monthAndYearPattern(locale), locale, "UTC");
}

std::array<std::string, 12> monthNames(const Locale& locale) {
    std::array<std::string, 12> names;
    UErrorCode status = U_ZERO_ERROR;
    const icu::DateFormatSymbols symbols(icuLocale(locale), status);
    if (U_FAILURE(status))
        return names;
    std::int32_t count = 0;
    const icu::UnicodeString* months = symbols.getMonths(count);
    for (std::int32_t month = 0; month < count && month < 12; ++month)
        months[month].toUTF8String(names[static_cast<std::size_t>(month)]);
    return names;
}

std::optional<Instant> instantOf(const CalendarTime& time, std::string_view timeZone) {
    const std::chrono::year_month_day date{std::chrono::year{time.year},
                                           std::chrono::month{static_cast<unsigned>(time.month)},
                                           std::chrono::day{static_cast<unsigned>(time.day)}};
    if (time.year < 1 || time.year > 9999 || time.month < 1 || time.month > 12 || time.day < 1 || !date.ok())
        return std::nullopt;
    if (time.hour < 0 || time.hour > 23 || time.minute < 0 || time.minute > 59 || time.second < 0 ||
        time.second > 60)
        return std::nullopt;
    const auto local = std::chrono::sys_days{date} + std::chrono::hours{time.hour} +
                       std::chrono::minutes{time.minute} + std::chrono::seconds{time.second};
    const auto zone = zoneOf(timeZone);
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t rawOffset = 0;
    std::int32_t dstOffset = 0;
    const auto localDate = static_cast<UDate>(std::chrono::milliseconds(local.time_since_epoch()).count());
    zone->getOffset(localDate, /*local=*/true, rawOffset, dstOffset, status);
    if (U_FAILURE(status))
        return std::nullopt;
    return Instant(local) - std::chrono::milliseconds(rawOffset + dstOffset);
}

} // namespace vesto::unicode
