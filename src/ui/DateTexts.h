#pragma once

#include "platform/Calendar.h"

#include <QLocale>
#include <QString>

namespace plenda {

// Locale-aware names for the day views, from wall-clock parts the user's
// calendar already worked out.
QString fullWeekdayName(const LocalTime& time, const QLocale& locale = QLocale());
// "Nov 16, 2026" in English: the locale's long date without the weekday and
// with the month abbreviated.
QString abbreviatedDate(const LocalTime& time, const QLocale& locale = QLocale());
QString shortTime(const LocalTime& time, const QLocale& locale = QLocale());
// "9:05 AM–10:40 AM": two short times joined by an en dash.
QString timeSpan(const LocalTime& from, const LocalTime& to, const QLocale& locale = QLocale());
// "Mon 9:05 AM–Fri 6:40 PM": the same with each time's weekday, for spans over days.
QString daysSpan(const LocalTime& from, const LocalTime& to, const QLocale& locale = QLocale());

}  // namespace plenda
