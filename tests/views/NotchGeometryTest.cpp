#include "views/NotchGeometry.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

// A 1512 x 982 built-in display with a 200 x 32 notch at x = 656.
ScreenInfo notched(double x = 0) {
    return ScreenInfo{Frame{x, 0, 1512, 982}, Frame{x, 950, 656, 32}, Frame{x + 856, 950, 656, 32}};
}
ScreenInfo plain(double x) { return ScreenInfo{Frame{x, 0, 1920, 1080}, std::nullopt, std::nullopt}; }

// The built-in display's frames are checked through the notch panel's controller;
// here a panel on a second, taller screen hangs from that screen's top.
TEST(NotchGeometry, TakesTheFirstScreenWithBothAreas) {
    ScreenInfo tall{Frame{1512, -200, 1512, 1200}, Frame{1512, 968, 656, 32}, Frame{2368, 968, 656, 32}};
    ScreenInfo leftOnly = notched(-1512);
    leftOnly.auxiliaryTopRightArea.reset();  // one area is not a notch
    const auto second = findNotch({leftOnly, tall});
    ASSERT_TRUE(second);
    EXPECT_EQ(second->screenIndex, 1u);
    EXPECT_EQ(second->notch, (Frame{2168, 968, 200, 32}));
    EXPECT_EQ(notchPanelFrame(*second, 480, 186), (Frame{2028, 814, 480, 186}));
    const std::pair<std::vector<ScreenInfo>, std::optional<std::size_t>> cases[] = {
        {{}, std::nullopt},
        {{plain(0), plain(1920)}, std::nullopt},
        {{plain(0), plain(1920), notched(3840)}, 2}};
    for (const auto& [screens, notchedIndex] : cases) {
        const auto geometry = findNotch(screens);
        EXPECT_EQ(geometry ? std::optional(geometry->screenIndex) : std::nullopt, notchedIndex) << screens.size();
    }
}

TEST(NotchShape, OutlineOfTheExpandedCard) {
    using K = OutlineStep::Kind;
    const auto steps = notchShapeOutline({0, 0, 480, 186}, 200, 32, 20);
    const std::vector<OutlineStep> expected = {
        {K::move, {140, 0}, {}},      {K::line, {340, 0}, {}},       {K::line, {340, 18}, {}},
        {K::quad, {354, 32}, {340, 32}}, {K::line, {460, 32}, {}},    {K::quad, {480, 52}, {480, 32}},
        {K::line, {480, 166}, {}},    {K::quad, {460, 186}, {480, 186}}, {K::line, {20, 186}, {}},
        {K::quad, {0, 166}, {0, 186}}, {K::line, {0, 52}, {}},        {K::quad, {20, 32}, {0, 32}},
        {K::line, {126, 32}, {}},     {K::quad, {140, 18}, {140, 32}}, {K::close, {}, {}},
    };
    EXPECT_EQ(steps, expected);
}

TEST(DayBar, SharesTheWidthLessGapsWithAMinimum) {
    const std::pair<std::vector<double>, std::vector<double>> cases[] = {
        {{30, 10}, {331.5, 110.5}},
        {{600, 1}, {441.26, 3}},  // the tiny one is raised
        {{0, 0}, {3, 3}},         // nothing tracked
        {{}, {}},
        {{5}, {444}}};
    for (const auto& [minutes, expected] : cases) {
        const auto widths = dayBarWidths(minutes, 444);
        ASSERT_EQ(widths.size(), expected.size());
        for (std::size_t i = 0; i < widths.size(); ++i) EXPECT_NEAR(widths[i], expected[i], 0.005) << i;
    }
}

}  // namespace
}  // namespace plenda

namespace plenda {
namespace {

// The chips' titles give way so the row never runs past the card's edge.
TEST(ChipTitles, FitTheRowShortTitlesFirst) {
    struct Case {
        std::vector<double> natural;
        double fixed, available;
        std::vector<double> expected;
    };
    for (const Case& c : {Case{{50, 60, 70}, 100, 400, {50, 60, 70}},       // room for all
                          Case{{40, 300, 30}, 100, 300, {40, 130, 30}},     // the long one takes the rest
                          Case{{300, 400, 500}, 100, 400, {100, 100, 100}},  // all long: equal shares
                          Case{{80, 90}, 500, 400, {0, 0}}}) {               // no room at all
        const auto widths = fitChipTitles(c.natural, c.fixed, c.available);
        EXPECT_EQ(widths, c.expected);
        double used = c.fixed;
        for (double w : widths) used += w;
        EXPECT_LE(used, std::max(c.available, c.fixed));
    }
}

}  // namespace
}  // namespace plenda
