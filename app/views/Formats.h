#pragma once
#include "core/support/Time.h"

#include <QDate>
#include <QLocale>
#include <QString>
#include <cstddef>

/// Numbers and dates as people read them, in French whatever the locale, in local time.
namespace vesto {

[[nodiscard]] const QLocale& frenchLocale();

[[nodiscard]] QString number(std::size_t value);  // "1 234", with narrow spaces
[[nodiscard]] QString percentage(double share);   // "87 %"
[[nodiscard]] QString timeOf(Instant date);       // "10:42"
[[nodiscard]] QString longDateTime(Instant date); // "19 novembre 2026 à 21:12"

/// As short as it can be told: "10:42", "Hier 18:20", "19 nov.", "3 nov. 2025".
[[nodiscard]] QString shortDateTime(Instant date, QDate today = QDate::currentDate());

/// For a table, where rows of one day stand together: with the time too, "19 nov. 21:12", unless it is of
/// another year.
[[nodiscard]] QString tableDateTime(Instant date, QDate today = QDate::currentDate());

/// For screen readers: "19 novembre 21 h 12", with the year where it is another.
[[nodiscard]] QString spokenDateTime(Instant date, QDate today = QDate::currentDate());

} // namespace vesto
