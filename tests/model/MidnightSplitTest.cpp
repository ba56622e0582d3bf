#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"

namespace plenda {
namespace {

class MidnightSplit : public StoreFixture {
protected:
    std::vector<MacDayBlock> splitOf(std::vector<MacDayBlock> blocks) {
        files.files[blocksPath] = *encodeBlocks(blocks);
        return makeStore().blocks();
    }
};

TEST_F(MidnightSplit, CutsAtMidnightKeepingTheIdForTheFirstPieceAndSortsByStart) {
    const MacDayBlock late = makeBlock("Late", MacBlockCategory::work, at(2023, 3, 9, 9), at(2023, 3, 9, 10));
    MacDayBlock block = makeBlock("Xcode", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2), 240);
    block.blockType = "imported";
    const auto result = splitOf({late, block});
    ASSERT_EQ(result.size(), 3u);
    MacDayBlock first = block;
    first.endDate = at(2023, 3, 9);
    first.weight = 120;
    first.modifiedAt = scheduler.now();
    EXPECT_EQ(result[0], first);
    MacDayBlock second = first;
    second.id = result[1].id;
    second.createdAt = at(2023, 3, 9);
    second.startDate = at(2023, 3, 9);
    second.endDate = block.endDate;
    second.blockType = "tracked";
    EXPECT_NE(second.id, block.id);
    EXPECT_EQ(result[1], second);
    EXPECT_EQ(result[2], late);
    EXPECT_EQ(dirtyIDs(), (IdSet{first.id, second.id}));
    EXPECT_EQ(*decodeBlocks(files.files.at(blocksPath)), result) << "saved at once";
    EXPECT_TRUE(defaults.boolValue("didSplitMidnightSpanningBlocks"));
}

struct DaySpanCase {
    const char* zone;
    int from[4];  // y, m, d, h
    int to[4];
    std::vector<double> hours;
};

class SplitAcrossDays : public MidnightSplit, public ::testing::WithParamInterface<DaySpanCase> {};

TEST_P(SplitAcrossDays, PiecesFollowCalendarDaysIncludingShortAndLongOnes) {
    const DaySpanCase& c = GetParam();
    useZone(c.zone);
    const Date start = at(c.from[0], c.from[1], c.from[2], c.from[3]);
    const Date end = at(c.to[0], c.to[1], c.to[2], c.to[3]);
    const double totalHours = (end - start) / 3600;
    const auto pieces = splitOf({makeBlock("Long", MacBlockCategory::sleep, start, end, 100)});
    ASSERT_EQ(pieces.size(), c.hours.size());
    double weights = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_DOUBLE_EQ((*pieces[i].endDate - *pieces[i].startDate) / 3600, c.hours[i]) << i;
        EXPECT_NEAR(pieces[i].weight, 100 * c.hours[i] / totalHours, 1e-9) << i;
        if (i > 0) {
            EXPECT_EQ(pieces[i].startDate, pieces[i - 1].endDate);
            EXPECT_EQ(calendar.startOfDay(*pieces[i].startDate), *pieces[i].startDate);
        }
        weights += pieces[i].weight;
    }
    EXPECT_NEAR(weights, 100, 1e-9);
    EXPECT_EQ(pieces.back().endDate, end);
}

INSTANTIATE_TEST_SUITE_P(
    Zones, SplitAcrossDays,
    ::testing::Values(
        DaySpanCase{"Europe/Berlin", {2023, 3, 1, 23}, {2023, 3, 3, 1}, {1, 24, 1}},
        DaySpanCase{"Europe/Berlin", {2023, 3, 25, 12}, {2023, 3, 27, 12}, {12, 23, 12}},
        DaySpanCase{"Europe/Berlin", {2023, 10, 28, 12}, {2023, 10, 30, 12}, {12, 25, 12}},
        DaySpanCase{"America/New_York", {2023, 3, 11, 22}, {2023, 3, 13, 1}, {2, 23, 1}},
        DaySpanCase{"America/New_York", {2023, 11, 4, 18}, {2023, 11, 6, 6}, {6, 25, 6}}));

TEST_F(MidnightSplit, BlockEndingExactlyAtMidnightIsRewrittenButNotCut) {
    const MacDayBlock block = makeBlock("Mail", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 0));
    const auto pieces = splitOf({block});
    ASSERT_EQ(pieces.size(), 1u);
    MacDayBlock expected = block;
    expected.modifiedAt = scheduler.now();
    EXPECT_EQ(pieces[0], expected);
    EXPECT_EQ(dirtyIDs(), IdSet{block.id});
}

TEST_F(MidnightSplit, BlocksWithoutASpanPassUntouchedAndNothingIsSaved) {
    MacDayBlock noStart = makeBlock("A", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2));
    noStart.startDate.reset();
    MacDayBlock backwards = makeBlock("B", MacBlockCategory::work, at(2023, 3, 9, 2), at(2023, 3, 8, 22));
    MacDayBlock noEnd = makeBlock("C", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2));
    noEnd.endDate.reset();
    const std::vector<MacDayBlock> blocks{noStart, backwards, noEnd};
    EXPECT_EQ(splitOf(blocks), blocks);
    EXPECT_EQ(files.writeCount, 0);
    EXPECT_TRUE(dirtyIDs().empty());
    EXPECT_TRUE(defaults.boolValue("didSplitMidnightSpanningBlocks"));
}

TEST_F(MidnightSplit, RunsOnlyOncePerUser) {
    defaults.setBool("didSplitMidnightSpanningBlocks", true);
    const MacDayBlock block = makeBlock("Pulled", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2));
    EXPECT_EQ(splitOf({block}), std::vector{block});
}

// The split on load, a recording and the day edits, all without a cloud.
TEST_F(MidnightSplit, WithSyncOffNothingIsMarkedForTheCloud) {
    using C = MacBlockCategory;
    cloudSyncDisabled = true;
    scheduler.advanceTo(at(2023, 3, 9, 12));
    EXPECT_EQ(splitOf({makeBlock("Xcode", C::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2))}).size(), 2u);
    store->recordSession("Mail", C::work, at(2023, 3, 9, 8), at(2023, 3, 9, 9), std::nullopt);
    EXPECT_EQ(store->syncMessage(), "mac.sync.testmode");
    store->changeCategory("Mail", C::work, C::chores);
    EXPECT_EQ(store->blocks().back().category, C::chores);
    store->deleteSummary("Mail", C::chores);
    EXPECT_EQ(store->blocks().size(), 2u);
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.dirtyIDs"));
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.pendingDeleteIDs"));
}

}  // namespace
}  // namespace plenda
