#include "app/views/Formats.h"

#include "app/views/Words.h"

#include <QDateTime>
#include <chrono>
#include <cmath>

namespace vesto {
namespace {

constexpr char16_t narrowSpace = 0x202F;

QDateTime localTime(Instant date) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(milliseconds.count());
}

} // namespace

const QLocale& frenchLocale() {
    static const QLocale locale(QLocale::French, QLocale::France);
    return locale;
}

QString number(std::size_t value) {
    return frenchLocale().toString(static_cast<qulonglong>(value));
}

QString percentage(double share) {
    return frenchLocale().toString(std::lround(share * 100)) + QChar(narrowSpace) + QLatin1Char('%');
}

QString timeOf(Instant date) {
    return localTime(date).time().toString(QStringLiteral("HH:mm"));
}

QString longDateTime(Instant date) {
    return frenchLocale().toString(localTime(date).date(), QStringLiteral("d MMMM yyyy")) +
           QStringLiteral(" à ") + timeOf(date);
}

QString spokenDateTime(Instant date, QDate today) {
    const QDateTime local = localTime(date);
    const auto day =
        local.date().year() == today.year() ? QStringLiteral("d MMMM") : QStringLiteral("d MMMM yyyy");
    return frenchLocale().toString(local.date(), day) + local.time().toString(QStringLiteral(" H 'h' mm"));
}

QString tableDateTime(Instant date, QDate today) {
    const QDate day = localTime(date).date();
    const bool needsTime = day.year() == today.year() && day < today.addDays(-1);
    return needsTime ? shortDateTime(date, today) + QLatin1Char(' ') + timeOf(date)
                     : shortDateTime(date, today);
}

QString shortDateTime(Instant date, QDate today) {
    const QDate day = localTime(date).date();
    if (day == today)
        return timeOf(date);
    if (day == today.addDays(-1))
        return french("Hier %1", timeOf(date));
    return frenchLocale().toString(day, day.year() == today.year() ? QStringLiteral("d MMM")
                                                                   : QStringLiteral("d MMM yyyy"));
}

} // namespace vesto
