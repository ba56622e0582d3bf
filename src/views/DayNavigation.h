#pragma once

#include "base/Date.h"

#include <optional>

namespace plenda {

class Calendar;

// Earlier days exist only while the selected instant is later than the
// earliest block's start (instants, not calendar days).
bool canShowPreviousDay(Date selectedDate, std::optional<Date> earliestBlockDate);
// Never past the day that contains now.
bool canShowNextDay(const Calendar& calendar, Date selectedDate, Date now);

// The instant of a wall-clock time on the day holding `day` (the first of a
// repeated hour; past a skipped one).
Date atLocalTime(const Calendar& calendar, Date day, int hour, int minute);

}  // namespace plenda
