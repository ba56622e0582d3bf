#include "ui/DateTexts.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

TEST(DateTexts, LocaleAwareNamesDatesAndSpans) {
    const LocalTime monday{.year = 2026, .month = 11, .day = 16, .hour = 9, .minute = 5, .second = 0, .weekday = 2};
    const LocalTime later{.year = 2026, .month = 11, .day = 16, .hour = 22, .minute = 40, .second = 0, .weekday = 2};
    const QLocale us(QLocale::English, QLocale::UnitedStates);
    const QLocale german(QLocale::German, QLocale::Germany);

    EXPECT_EQ(fullWeekdayName(monday, us), "Monday");
    EXPECT_EQ(fullWeekdayName(monday, german), "Montag");
    EXPECT_EQ(abbreviatedDate(monday, us), "Nov 16, 2026");
    const QString germanDate = abbreviatedDate(monday, german);
    EXPECT_TRUE(germanDate.startsWith("16.")) << germanDate.toStdString();
    EXPECT_TRUE(germanDate.endsWith("2026")) << germanDate.toStdString();
    EXPECT_FALSE(germanDate.contains("Montag")) << germanDate.toStdString();
    EXPECT_FALSE(germanDate.contains("November")) << germanDate.toStdString();

    const QString span = timeSpan(monday, later, us);
    EXPECT_TRUE(span.startsWith("9:05")) << span.toStdString();
    EXPECT_TRUE(span.contains(QChar(0x2013)));
    EXPECT_FALSE(span.contains(QStringLiteral(" \u2013"))) << "no spaces around the dash";
    EXPECT_TRUE(span.endsWith("PM")) << span.toStdString();
    EXPECT_EQ(timeSpan(monday, later, german), QStringLiteral("09:05\u201322:40"));
    EXPECT_EQ(timeSpan(monday, later, QLocale::c()), QStringLiteral("09:05\u201322:40")) << "no seconds";
}

}  // namespace
}  // namespace plenda
