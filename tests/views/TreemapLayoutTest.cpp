#include "views/TreemapLayout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace plenda {
namespace {

MacActivitySummary named(std::string id, double minutes) {
    MacActivitySummary summary;
    summary.id = std::move(id);
    summary.minutes = minutes;
    return summary;
}

TEST(SquarifiedLayout, MatchesWorkedRectangles) {
    struct Case {
        const char* name;
        std::vector<double> weights;
        LayoutRect bounds;
        std::vector<LayoutRect> expected;  // to two decimals
    };
    const Case cases[] = {
        {"none", {}, {0, 0, 100, 100}, {}},
        {"zeroTotal", {0, 0}, {0, 0, 100, 100}, {}},
        {"single", {7}, {3, 4, 50, 60}, {{3, 4, 50, 60}}},
        {"twoSquares", {1, 1}, {0, 0, 200, 100}, {{0, 0, 100, 100}, {100, 0, 100, 100}}},
        {"sevenItems", {6, 6, 4, 3, 2, 2, 1}, {0, 0, 600, 400},
         {{0, 0, 300, 200}, {0, 200, 300, 200}, {300, 0, 171.43, 233.33}, {471.43, 0, 128.57, 233.33},
          {300, 233.33, 120, 166.67}, {420, 233.33, 120, 166.67}, {540, 233.33, 60, 166.67}}},
        {"eightItemsWide", {120, 60, 30, 30, 15, 10, 5, 3}, {0, 0, 600, 250},
         {{0, 0, 263.74, 250}, {263.74, 0, 131.87, 250}, {395.6, 0, 102.2, 161.29}, {497.8, 0, 102.2, 161.29},
          {395.6, 161.29, 92.91, 88.71}, {488.51, 161.29, 61.94, 88.71}, {550.45, 161.29, 49.55, 55.44},
          {550.45, 216.73, 49.55, 33.27}}},
        // The seven items above reversed, moved by (10, 20); equal weights keep their input order.
        {"sevenReversedAndMoved", {1, 2, 2, 3, 4, 6, 6}, {10, 20, 600, 400},
         {{550, 253.33, 60, 166.67}, {310, 253.33, 120, 166.67}, {430, 253.33, 120, 166.67},
          {481.43, 20, 128.57, 233.33}, {310, 20, 171.43, 233.33}, {10, 20, 300, 200}, {10, 220, 300, 200}}},
        {"sliver", {50, 0.1}, {0, 0, 100, 100}, {{0, 0, 99.8, 100}, {99.8, 0, 0.2, 100}}},
        {"lastTwoShareARow", {1, 1}, {0, 0, 100, 100}, {{0, 0, 100, 50}, {0, 50, 100, 50}}},
        {"tallRowsAlongTop", {1, 1}, {0, 0, 100, 200}, {{0, 0, 100, 100}, {0, 100, 100, 100}}},
        {"zeroWidth", {2, 1}, {0, 0, 0, 100}, {{0, 0, 0, 0}, {0, 0, 0, 0}}},
        {"zeroHeightLone", {2}, {5, 5, 80, 0}, {{5, 5, 80, 0}}},
        // A zero weight makes every row holding it infinite: it ends up alone, last.
        {"zeroWeight", {3, 0, 1}, {0, 0, 400, 100}, {{0, 0, 300, 100}, {400, 0, 0, 100}, {300, 0, 100, 100}}}};
    const auto round2 = [](double v) { return std::round(v * 100) / 100; };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto rects = squarifiedLayout(c.weights, c.bounds);
        ASSERT_EQ(rects.size(), c.expected.size());
        for (std::size_t i = 0; i < rects.size(); ++i) {
            const LayoutRect r{round2(rects[i].x), round2(rects[i].y), round2(rects[i].width),
                               round2(rects[i].height)};
            EXPECT_EQ(r, c.expected[i]) << "item " << i << ": " << r.x << ", " << r.y << ", " << r.width << ", "
                                        << r.height;
        }
    }
}

TEST(TreemapTiles, FramesLeaveTheGapAndLabelsFollowTheLayoutRectangle) {
    const auto tiles = treemapTiles({named("a", 50), named("b", 0)}, 100, 100, 4);
    ASSERT_EQ(tiles.size(), 2u);
    EXPECT_EQ(tiles[0].summary.id, "a");
    EXPECT_NEAR(tiles[0].frame.width, 99.8 - 4, 0.005);
    EXPECT_DOUBLE_EQ(tiles[0].frame.height, 96);
    EXPECT_DOUBLE_EQ(tiles[1].frame.x, tiles[1].rect.x);
    EXPECT_DOUBLE_EQ(tiles[1].frame.width, 1) << "a sliver is raised to one point";
    EXPECT_NEAR(tiles[1].rect.width, 0.2, 0.005);

    const auto lone = treemapTiles({named("only", 3)}, 672, 235.2, 4);
    ASSERT_EQ(lone.size(), 1u);
    EXPECT_EQ(lone[0].frame, (LayoutRect{0, 0, 668, 231.2}));
}

TEST(TreemapTiles, LabelThresholdsAreStrict) {
    struct Case { double w, h; bool title, duration; };
    const Case cases[] = {{64, 100, false, false}, {65, 40, false, false}, {65, 41, true, false},
                          {84, 100, true, false},  {85, 60, true, false},  {85, 61, true, true}};
    for (const Case& c : cases) {
        EXPECT_EQ(tileShowsTitle(c.w, c.h), c.title) << c.w << "x" << c.h;
        EXPECT_EQ(tileShowsDuration(c.w, c.h), c.duration) << c.w << "x" << c.h;
    }
    // The tile judges by its layout rectangle, before the gap comes off.
    const auto tiles = treemapTiles({named("x", 1)}, 65, 41, 4);
    EXPECT_TRUE(tiles[0].showsTitle());
    EXPECT_FALSE(tiles[0].showsDuration());
}

}  // namespace
}  // namespace plenda
