#include "views/PeriodOverview.h"

#include "model/MacActivityStore.h"
#include "views/ActivitySummaries.h"

#include <cstdlib>

namespace plenda {

Date startOfPeriod(const Calendar& calendar, Period period, Date date) {
    const Date day = calendar.startOfDay(date);
    const LocalTime local = calendar.localTime(day);
    int back = 0;
    if (period == Period::week) back = (local.weekday - calendar.firstWeekday() + 7) % 7;
    if (period == Period::month) back = local.day - 1;
    if (back == 0) return day;
    // From noon: a midnight that daylight saving skips cannot throw the count off.
    const auto moved = calendar.addingDays(-back, day + 12 * 3600.0);
    return moved ? calendar.startOfDay(*moved) : day;
}

std::optional<Date> movingByPeriods(const Calendar& calendar, Period period, int steps, Date date) {
    if (period != Period::month) return calendar.addingDays(period == Period::week ? 7 * steps : steps, date);
    const int dayOfMonth = calendar.localTime(date).day;
    // Month by month from the middle of the month's first day...
    std::optional<Date> first = startOfPeriod(calendar, Period::month, date) + 12 * 3600.0;
    for (int i = 0; i < std::abs(steps) && first; ++i) {
        const auto over = calendar.addingDays(steps > 0 ? 32 : -1, *first);
        first = over ? std::optional(startOfPeriod(calendar, Period::month, *over) + 12 * 3600.0) : std::nullopt;
    }
    if (!first) return std::nullopt;
    // ...then to the same day of the month, or the month's last when it is shorter.
    const int month = calendar.localTime(*first).month;
    for (int day = dayOfMonth; day > 1; --day) {
        const auto candidate = calendar.addingDays(day - 1, *first);
        if (candidate && calendar.localTime(*candidate).month == month) return candidate;
    }
    return first;
}

PeriodOverview periodOverview(const MacActivityStore& store, const Calendar& calendar, Period period, Date date) {
    PeriodOverview overview;
    const Date first = startOfPeriod(calendar, period, date);
    const int month = calendar.localTime(first).month;
    for (Date day = first;;) {
        const std::size_t count = overview.days.size();
        if (period == Period::day ? count == 1 : period == Period::week ? count == 7 : calendar.localTime(day).month != month) break;
        // Each day starts where the one before ended.
        const auto next = calendar.addingDays(1, day);
        overview.days.push_back(DayTotal{{day, next ? calendar.startOfDay(*next) : day + 86400.0}, calendar.localTime(day)});
        day = overview.days.back().range.end;
    }
    overview.range = {first, overview.days.back().range.end};
    // One query for the whole period; each block goes to the day it starts on.
    const std::vector<MacDayBlock> blocks = store.blocksStartingWithin(overview.range.start, overview.range.end);
    auto day = overview.days.begin();
    for (const MacDayBlock& block : blocks) {
        while (!day->range.contains(block.effectiveStart()) && day + 1 != overview.days.end()) ++day;
        day->minutes = addMinutes(day->minutes, block.weight);
        const auto category = std::size_t(block.category);
        day->byCategory[category] = addMinutes(day->byCategory[category], block.weight);
    }
    for (const DayTotal& total : overview.days) {
        overview.minutes = addMinutes(overview.minutes, total.minutes);
        overview.trackedDays += total.minutes > 0;
    }
    overview.activities = makeSummaries(blocks);
    return overview;
}

}  // namespace plenda
