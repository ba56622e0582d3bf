#pragma once

#include "base/Date.h"
#include "model/MacBlockCategory.h"
#include "platform/Calendar.h"
#include "views/DayNavigation.h"
#include "views/MacActivitySummary.h"

#include <array>
#include <string>
#include <vector>

namespace plenda {

class MacActivityStore;

// What the day window shows: one day, the week or the month holding it.
enum class Period { day, week, month };

// One day of a week or a month: its total, and the total of each category.
struct DayTotal {
    DayRange range;
    LocalTime date;  // the day's first moment
    double minutes = 0;
    std::array<double, allCategories.size()> byCategory{};  // in the order of allCategories
};

// A week or a month of the store's days, each day read with one day query.
struct PeriodOverview {
    DayRange range;              // from the first day's start to the day after the last
    std::vector<DayTotal> days;  // in order
    // The period's activities folded as a day's are: one per title and
    // category, with their sessions and span over the whole period.
    std::vector<MacActivitySummary> activities;
    double minutes = 0;
    int trackedDays = 0;  // days with any time
    double averagePerTrackedDay() const { return trackedDays > 0 ? minutes / trackedDays : 0; }
};

// The first moment of the week (as the user's calendar starts weeks) or of
// the month holding `date`.
Date startOfPeriod(const Calendar& calendar, Period period, Date date);
// The same moment `steps` periods later (or earlier); nothing when the
// calendar cannot form the date.
std::optional<Date> movingByPeriods(const Calendar& calendar, Period period, int steps, Date date);
PeriodOverview periodOverview(const MacActivityStore& store, const Calendar& calendar, Period period, Date date);

}  // namespace plenda
