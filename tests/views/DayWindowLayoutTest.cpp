#include "fakes/StoreFixture.h"
#include "views/DayNavigation.h"
#include "views/DayWindowLayout.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

TEST(DayWindowLayout, HeightsClampAndFill) {
    struct Case { double content, treemap, list, drawnList; };
    const Case cases[] = {
        {560, 235.2, 232.8, 224.8},
        {1200, 400, 708, 700},
        {300, 180, 80, 72},  // both floors
        {400, 180, 128, 120},
    };
    for (const Case& c : cases) {
        const auto layout = dayWindowLayout(c.content);
        EXPECT_NEAR(layout.treemapHeight, c.treemap, 1e-9) << c.content;
        EXPECT_NEAR(layout.listHeight, c.list, 1e-9) << c.content;
        EXPECT_NEAR(layout.listRect(720).height, c.drawnList, 1e-9) << c.content;
    }
    const auto layout = dayWindowLayout(560);
    EXPECT_EQ(layout.treemapRect(720), (LayoutRect{24, 92, 672, 235.2}));
    EXPECT_NEAR(layout.listRect(720).y, 92 + 235.2 + 8, 1e-9);
}

class DayNavigationTest : public StoreFixture {};

// The day window's buttons cover the rest; these are the edges it never meets.
TEST_F(DayNavigationTest, PreviousDayComparesInstantsNotDays) {
    // 2023-03-13 is a Monday.
    const Date earliest = at(2023, 3, 13, 14);
    EXPECT_FALSE(canShowPreviousDay(earliest, earliest));
    EXPECT_TRUE(canShowPreviousDay(at(2023, 3, 13, 15), earliest));
}

}  // namespace
}  // namespace plenda
