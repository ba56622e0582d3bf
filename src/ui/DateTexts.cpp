#include "ui/DateTexts.h"

#include <QDate>
#include <QRegularExpression>
#include <QTime>

namespace plenda {

namespace {

QDate toQDate(const LocalTime& time) { return QDate(time.year, time.month, time.day); }

// Weekday names, commas and separators around them are dropped; full month
// names become abbreviations.
QString abbreviatedDateFormat(const QLocale& locale) {
    QString format = locale.dateFormat(QLocale::LongFormat);
    static const QRegularExpression weekday(QStringLiteral("[,\\s]*d{4}[,\\s]*"));
    static const QRegularExpression edges(QStringLiteral("^[,\\s]+|[,\\s]+$"));
    format.replace(weekday, QStringLiteral(" "));
    format.remove(edges);
    format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return format;
}

}  // namespace

QString fullWeekdayName(const LocalTime& time, const QLocale& locale) {
    return locale.dayName(toQDate(time).dayOfWeek(), QLocale::LongFormat);
}

QString abbreviatedDate(const LocalTime& time, const QLocale& locale) {
    return locale.toString(toQDate(time), abbreviatedDateFormat(locale));
}

// Hours and minutes only: some locales' short format (the C locale's among
// them) also carries seconds.
QString shortTime(const LocalTime& time, const QLocale& locale) {
    static const QRegularExpression seconds(QStringLiteral("[:.]ss?"));
    QString format = locale.timeFormat(QLocale::ShortFormat);
    format.remove(seconds);
    return locale.toString(QTime(time.hour, time.minute), format);
}

QString timeSpan(const LocalTime& from, const LocalTime& to, const QLocale& locale) {
    return shortTime(from, locale) + QChar(0x2013) + shortTime(to, locale);
}

QString daysSpan(const LocalTime& from, const LocalTime& to, const QLocale& locale) {
    // The calendar counts Sunday as 1, Qt counts Monday as 1.
    const auto day = [&](const LocalTime& time) { return locale.dayName((time.weekday + 5) % 7 + 1, QLocale::ShortFormat); };
    return day(from) + QLatin1Char(' ') + shortTime(from, locale) + QChar(0x2013) + day(to) + QLatin1Char(' ') +
           shortTime(to, locale);
}

}  // namespace plenda
