#include "fakes/StoreFixture.h"
#include "platform/IcuCalendar.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace plenda {
namespace {

// Start of day, day length and adding days follow the zone, on days of 23 and 25 hours too.
TEST(CalendarDays, StartOfDayAndAddingDaysFollowTheZone) {
    const struct {
        const char* zone;
        int year, month, day;
        double hours;  // length of that calendar day
    } cases[] = {{"Europe/Berlin", 2023, 3, 8, 24},
                 {"Europe/Berlin", 2023, 3, 26, 23},
                 {"Europe/Berlin", 2023, 10, 29, 25},
                 {"America/New_York", 2023, 3, 12, 23},
                 {"America/New_York", 2023, 11, 5, 25},
                 {"Asia/Kolkata", 2023, 6, 1, 24},
                 // Midnight was skipped here: the day began at 01:00.
                 {"America/Sao_Paulo", 2018, 11, 4, 23}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.zone) + " " + std::to_string(c.month) + "-" + std::to_string(c.day));
        const IcuCalendar calendar(c.zone);
        const Date noon = localDate(c.zone, c.year, c.month, c.day, 12);
        EXPECT_EQ(calendar.startOfDay(noon), localDate(c.zone, c.year, c.month, c.day));
        const DayRange range = dayRange(calendar, noon);
        EXPECT_DOUBLE_EQ((range.end - range.start) / 3600, c.hours);
        EXPECT_TRUE(calendar.isSameDay(noon, range.end - 0.001));
        EXPECT_FALSE(calendar.isSameDay(noon, range.end));
        // A day later keeps the wall-clock time even when the day is 23 or 25 hours long.
        EXPECT_EQ(calendar.addingDays(1, noon), localDate(c.zone, c.year, c.month, c.day + 1, 12));
        EXPECT_EQ(calendar.addingDays(-1, noon + 0.25), localDate(c.zone, c.year, c.month, c.day - 1, 12) + 0.25);
        const LocalTime local = calendar.localTime(noon + 90.5);
        EXPECT_EQ(local.day, c.day);
        EXPECT_EQ(local.hour, 12);
        EXPECT_EQ(local.minute, 1);
        EXPECT_DOUBLE_EQ(local.second, 30.5);
    }
}

TEST(CalendarZones, TheUsersZoneIsReadAtEachUse) {
    const IcuCalendar calendar;
    const Date instant = localDate("UTC", 2023, 3, 8, 23, 30);
    const char* saved = std::getenv("TZ");
    setenv("TZ", "UTC", 1);
    EXPECT_TRUE(calendar.isSameDay(instant, localDate("UTC", 2023, 3, 8, 1)));
    setenv("TZ", "Asia/Tokyo", 1);
    EXPECT_FALSE(calendar.isSameDay(instant, localDate("UTC", 2023, 3, 8, 1)));
    if (saved) setenv("TZ", saved, 1); else unsetenv("TZ");
}

}  // namespace
}  // namespace plenda
