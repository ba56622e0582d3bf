#include "views/DayNavigation.h"

#include "platform/Calendar.h"

namespace plenda {

bool canShowPreviousDay(Date selectedDate, std::optional<Date> earliestBlockDate) {
    return earliestBlockDate && selectedDate > *earliestBlockDate;
}

bool canShowNextDay(const Calendar& calendar, Date selectedDate, Date now) {
    return !calendar.isSameDay(selectedDate, now);
}

Date atLocalTime(const Calendar& calendar, Date day, int hour, int minute) {
    const Date start = calendar.startOfDay(day);
    const int wanted = hour * 60 + minute;
    const auto shown = [&](Date at) {
        const LocalTime local = calendar.localTime(at);
        return local.hour * 60 + local.minute;
    };
    // Across a change of the clocks the count from midnight is an hour off;
    // a time the change skipped has no instant, and the count lands past it.
    const Date counted = start + wanted * 60.0;
    const Date corrected = counted + (wanted - shown(counted)) * 60.0;
    return shown(corrected) == wanted ? corrected : counted;
}

}  // namespace plenda
