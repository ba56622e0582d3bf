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

}  // namespace plenda
