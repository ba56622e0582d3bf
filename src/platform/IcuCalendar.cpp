#include "platform/IcuCalendar.h"

#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <cmath>

namespace plenda {

namespace {

UDate toUDate(Date date) { return std::floor(date.unixSeconds() * 1000.0); }
Date fromUDate(UDate millis) { return Date::fromUnixSeconds(millis / 1000.0); }

}  // namespace

std::unique_ptr<icu::Calendar> IcuCalendar::make(Date date) const {
    icu::TimeZone* zone = zoneId_
        ? icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(*zoneId_))
        : icu::TimeZone::detectHostTimeZone();
    UErrorCode status = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(zone, status);  // adopts zone
    if (U_FAILURE(status)) return nullptr;
    // The first moment of a day is the earlier of two repeated wall times,
    // and a skipped one moves forward past the gap.
    calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    calendar->setTime(toUDate(date), status);
    if (U_FAILURE(status)) return nullptr;
    return calendar;
}

bool IcuCalendar::isSameDay(Date a, Date b) const {
    const LocalTime x = localTime(a), y = localTime(b);
    return x.year == y.year && x.month == y.month && x.day == y.day;
}

Date IcuCalendar::startOfDay(Date date) const {
    auto calendar = make(date);
    if (!calendar) return date;
    calendar->set(UCAL_HOUR_OF_DAY, 0);
    calendar->set(UCAL_MINUTE, 0);
    calendar->set(UCAL_SECOND, 0);
    calendar->set(UCAL_MILLISECOND, 0);
    UErrorCode status = U_ZERO_ERROR;
    const UDate millis = calendar->getTime(status);
    return U_FAILURE(status) ? date : fromUDate(millis);
}

std::optional<Date> IcuCalendar::addingDays(int days, Date date) const {
    auto calendar = make(date);
    if (!calendar) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    calendar->add(UCAL_DATE, days, status);
    const UDate millis = calendar->getTime(status);
    if (U_FAILURE(status)) return std::nullopt;
    // Keep the sub-millisecond part the calendar does not carry.
    return date + (millis - toUDate(date)) / 1000.0;
}

LocalTime IcuCalendar::localTime(Date date) const {
    LocalTime local;
    auto calendar = make(date);
    if (!calendar) return local;
    UErrorCode status = U_ZERO_ERROR;
    local.year = calendar->get(UCAL_EXTENDED_YEAR, status);
    local.month = calendar->get(UCAL_MONTH, status) + 1;
    local.day = calendar->get(UCAL_DATE, status);
    local.hour = calendar->get(UCAL_HOUR_OF_DAY, status);
    local.minute = calendar->get(UCAL_MINUTE, status);
    local.second = calendar->get(UCAL_SECOND, status) + calendar->get(UCAL_MILLISECOND, status) / 1000.0;
    local.weekday = calendar->get(UCAL_DAY_OF_WEEK, status);
    return local;
}

int IcuCalendar::firstWeekday() const {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Locale locale = locale_.empty() ? icu::Locale::getDefault() : icu::Locale(locale_.c_str());
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, status));
    if (U_FAILURE(status)) return 2;
    const UCalendarDaysOfWeek first = calendar->getFirstDayOfWeek(status);
    return U_FAILURE(status) ? 2 : int(first);
}

}  // namespace plenda
