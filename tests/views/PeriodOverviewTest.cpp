#include "fakes/StoreFixture.h"
#include "views/PeriodOverview.h"

namespace plenda {
namespace {

using C = MacBlockCategory;

class Periods : public StoreFixture {
protected:
    void SetUp() override {
        scheduler.advanceTo(at(2024, 6, 1, 12));
        makeStore();
    }
    void add(const char* title, C category, Date start, double minutes) {
        store->upsert(makeBlock(title, category, start, start + minutes * 60));
    }
    static std::string date(const LocalTime& t) {
        char text[16];
        std::snprintf(text, sizeof text, "%04d-%02d-%02d", t.year, t.month, t.day);
        return text;
    }
};

// Where a week starts depends on where the user lives; a month starts on its
// first; across daylight saving, the year's end and February's last day.
TEST_F(Periods, PeriodsStartAndMoveByTheCalendar) {
    const IcuCalendar us("Europe/Berlin", "en_US"), de("Europe/Berlin", "de_DE");
    struct Case {
        const Calendar& calendar;
        Period period;
        Date within;
        const char* first;
        int steps;
        const char* moved;  // the day `steps` periods on
    };
    const std::vector<Case> cases{
        {us, Period::week, at(2023, 3, 15, 18), "2023-03-12", 1, "2023-03-22"},
        {de, Period::week, at(2023, 3, 15, 18), "2023-03-13", -1, "2023-03-08"},
        {de, Period::week, at(2023, 3, 26, 23, 30), "2023-03-20", 1, "2023-04-02"},  // a 23-hour Sunday
        {de, Period::week, at(2021, 1, 1, 9), "2020-12-28", -1, "2020-12-25"},
        {de, Period::month, at(2024, 1, 31, 9), "2024-01-01", 1, "2024-02-29"},
        {de, Period::month, at(2024, 3, 31, 9), "2024-03-01", -1, "2024-02-29"},
        {de, Period::month, at(2023, 12, 15), "2023-12-01", 1, "2024-01-15"},
        {de, Period::month, at(2023, 10, 29, 2, 30), "2023-10-01", -13, "2022-09-29"},
        {de, Period::day, at(2023, 10, 29, 23), "2023-10-29", 1, "2023-10-30"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(date(c.calendar.localTime(c.within)) + " period " + std::to_string(int(c.period)));
        const Date first = startOfPeriod(c.calendar, c.period, c.within);
        EXPECT_EQ(date(c.calendar.localTime(first)), c.first);
        EXPECT_EQ(c.calendar.startOfDay(first), first) << "the day's first moment";
        const auto moved = movingByPeriods(c.calendar, c.period, c.steps, c.within);
        ASSERT_TRUE(moved);
        EXPECT_EQ(date(c.calendar.localTime(*moved)), c.moved);
    }
}

// A week folds its days as a day folds its blocks: one query per day, the
// totals by category, and each activity once with its sessions and span over
// the week; a block after midnight belongs to the day it starts on.
TEST_F(Periods, AWeekAcrossDaylightSavingAndAMonthAcrossTheYearsEnd) {
    const IcuCalendar de("Europe/Berlin", "de_DE");
    add("Xcode", C::work, at(2023, 3, 20, 9), 60);
    add("Xcode", C::work, at(2023, 3, 26, 23, 30), 90);  // the 23-hour day, into Monday
    add("Run", C::body, at(2023, 3, 26, 8), 30);
    add("Before", C::work, at(2023, 3, 19, 23, 59), 5);
    add("After", C::work, at(2023, 3, 27, 0, 0), 5);
    const PeriodOverview week = periodOverview(*store, de, Period::week, at(2023, 3, 22));
    ASSERT_EQ(week.days.size(), 7u);
    EXPECT_EQ(date(week.days.front().date), "2023-03-20");
    EXPECT_EQ(week.days.back().range.end - week.days.back().range.start, 23 * 3600.0);
    EXPECT_EQ(week.range.end, at(2023, 3, 27));
    EXPECT_EQ(week.days[0].minutes, 60);
    EXPECT_EQ(week.days[6].minutes, 120);
    EXPECT_EQ(week.days[6].byCategory[std::size_t(C::body)], 30);
    EXPECT_EQ(week.minutes, 180);
    EXPECT_EQ(week.trackedDays, 2);
    EXPECT_EQ(week.averagePerTrackedDay(), 90);
    ASSERT_EQ(week.activities.size(), 2u);
    EXPECT_EQ(week.activities[0].title, "Xcode");
    EXPECT_EQ(week.activities[0].sessions, 2);
    EXPECT_EQ(week.activities[0].firstStart, at(2023, 3, 20, 9));
    EXPECT_EQ(week.activities[0].lastEnd, at(2023, 3, 27, 1));

    add("Party", C::social, at(2023, 12, 31, 23), 120);
    add("Sleep", C::sleep, at(2024, 1, 1, 1), 480);
    const PeriodOverview december = periodOverview(*store, de, Period::month, at(2023, 12, 15));
    ASSERT_EQ(december.days.size(), 31u);
    EXPECT_EQ(december.days[30].minutes, 120);
    EXPECT_EQ(december.minutes, 120) << "January's first night is January's";
    const PeriodOverview february = periodOverview(*store, de, Period::month, at(2024, 2, 10));
    EXPECT_EQ(february.days.size(), 29u);
    EXPECT_EQ(february.trackedDays, 0);
    EXPECT_EQ(february.averagePerTrackedDay(), 0);
}

}  // namespace
}  // namespace plenda
