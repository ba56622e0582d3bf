#pragma once

#include "base/Date.h"

#include <optional>

namespace plenda {

// Local wall-clock parts of an instant in the calendar's zone.
struct LocalTime {
    int year = 0, month = 0, day = 0;
    int hour = 0, minute = 0;
    double second = 0;
    int weekday = 0;  // 1 = Sunday ... 7 = Saturday
};

// The user's calendar. Implementations read the time zone at each use, so a
// change of zone applies at once.
class Calendar {
public:
    virtual ~Calendar() = default;
    virtual bool isSameDay(Date a, Date b) const = 0;
    virtual Date startOfDay(Date date) const = 0;
    // Moves by whole calendar days keeping the time of day across daylight-
    // saving changes; nothing when the date cannot be formed.
    virtual std::optional<Date> addingDays(int days, Date date) const = 0;
    virtual LocalTime localTime(Date date) const = 0;
    // The weekday weeks start on where the user lives: 1 = Sunday ... 7 = Saturday.
    virtual int firstWeekday() const = 0;
};

}  // namespace plenda

namespace plenda {

// The instants of one calendar day: [start, end).
struct DayRange {
    Date start, end;
    bool contains(Date date) const { return date >= start && date < end; }
};

inline DayRange dayRange(const Calendar& calendar, Date date) {
    const Date start = calendar.startOfDay(date);
    const auto next = calendar.addingDays(1, start);
    return {start, next ? calendar.startOfDay(*next) : start + 86400.0};
}

}  // namespace plenda
