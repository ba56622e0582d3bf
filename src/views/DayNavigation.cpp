#include "views/DayNavigation.h"

#include "platform/Calendar.h"

namespace plenda {

bool canShowPreviousDay(Date selectedDate, std::optional<Date> earliestBlockDate) {
    return earliestBlockDate && selectedDate > *earliestBlockDate;
}

bool canShowNextDay(const Calendar& calendar, Date selectedDate, Date now) {
    return !calendar.isSameDay(selectedDate, now);
}

}  // namespace plenda
