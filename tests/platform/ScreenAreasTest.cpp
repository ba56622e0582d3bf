#include "platform/ScreenAreas.h"
#include "views/NotchGeometry.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

// A 1512 x 982 built-in display with a 200 x 32 housing 656 points from its
// left edge, placed at `origin`; the areas as the system might report them.
struct AreaCase {
    const char* name;
    Frame screen;
    Frame left, right;
    std::optional<Frame> notch;  // the housing found, in global coordinates
};

class ReportedAreas : public ::testing::TestWithParam<AreaCase> {};

TEST_P(ReportedAreas, PlaceTheHousingOnItsScreen) {
    ScreenInfo screen{GetParam().screen, std::nullopt, std::nullopt};
    setAuxiliaryTopAreas(screen, GetParam().left, GetParam().right);
    const auto found = findNotch({ScreenInfo{Frame{-3000, 0, 1000, 800}, std::nullopt, std::nullopt}, screen});
    ASSERT_EQ(found.has_value(), GetParam().notch.has_value());
    if (found) {
        EXPECT_EQ(found->screenIndex, 1u);
        EXPECT_EQ(found->notch, *GetParam().notch);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Screens, ReportedAreas,
    ::testing::Values(
        AreaCase{"AtTheOrigin", {0, 0, 1512, 982}, {0, 950, 656, 32}, {856, 950, 656, 32}, Frame{656, 950, 200, 32}},
        AreaCase{"RightOfTheMainScreenGlobal", {1920, 0, 1512, 982}, {1920, 950, 656, 32},
                 {2776, 950, 656, 32}, Frame{2576, 950, 200, 32}},
        AreaCase{"RightOfTheMainScreenRelative", {1920, 0, 1512, 982}, {0, 950, 656, 32},
                 {856, 950, 656, 32}, Frame{2576, 950, 200, 32}},
        AreaCase{"BelowAndLeftRelative", {-1512, -982, 1512, 982}, {0, 950, 656, 32}, {856, 950, 656, 32},
                 Frame{-856, -32, 200, 32}},
        AreaCase{"AboveGlobal", {100, 1080, 1512, 982}, {100, 2030, 656, 32}, {956, 2030, 656, 32},
                 Frame{756, 2030, 200, 32}},
        AreaCase{"FractionalSizes", {0, 0, 1512, 982}, {0, 949.75, 656.25, 32.25}, {855.75, 949.75, 656.25, 32.25},
                 Frame{656.25, 949.75, 199.5, 32.25}},
        AreaCase{"NoHousing", {0, 0, 1512, 982}, {0, 0, 0, 0}, {0, 0, 0, 0}, std::nullopt},
        AreaCase{"OnlyOneSide", {0, 0, 1512, 982}, {0, 950, 656, 32}, {0, 0, 0, 0}, std::nullopt},
        AreaCase{"ZeroWidth", {0, 0, 1512, 982}, {0, 950, 0, 32}, {856, 950, 656, 32}, std::nullopt},
        AreaCase{"NegativeHeight", {0, 0, 1512, 982}, {0, 950, 656, 32}, {856, 982, 656, -32}, std::nullopt},
        AreaCase{"OffTheScreenEitherWay", {1920, 0, 1512, 982}, {5000, 950, 656, 32}, {5856, 950, 656, 32},
                 std::nullopt}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace plenda
