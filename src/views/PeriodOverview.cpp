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
    std::vector<MacDayBlock> all;
    Date day = first;
    for (int i = 0;; ++i) {
        if (period == Period::day ? i == 1 : period == Period::week ? i == 7 : calendar.localTime(day).month != month) break;
        DayTotal total{dayRange(calendar, day), calendar.localTime(day)};
        for (MacDayBlock& block : store.blocksOnDay(day)) {
            total.minutes = addMinutes(total.minutes, block.weight);
            const auto category = std::size_t(block.category);
            total.byCategory[category] = addMinutes(total.byCategory[category], block.weight);
            all.push_back(std::move(block));
        }
        overview.minutes = addMinutes(overview.minutes, total.minutes);
        overview.trackedDays += total.minutes > 0;
        day = total.range.end;
        overview.days.push_back(total);
    }
    overview.range = {first, day};
    overview.activities = makeSummaries(all);
    return overview;
}

}  // namespace plenda
