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

TEST_F(MidnightSplit, CutsAtMidnightKeepingTheIdForTheFirstPiece) {
    MacDayBlock block = makeBlock("Xcode", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2), 240);
    block.blockType = "imported";
    const auto pieces = splitOf({block});
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[0].id, block.id);
    EXPECT_EQ(pieces[0].startDate, at(2023, 3, 8, 22));
    EXPECT_EQ(pieces[0].endDate, at(2023, 3, 9, 0));
    EXPECT_DOUBLE_EQ(pieces[0].weight, 120);
    EXPECT_EQ(pieces[0].createdAt, block.createdAt);
    EXPECT_EQ(pieces[0].blockType, "imported");
    EXPECT_EQ(pieces[0].note, block.note);

    EXPECT_NE(pieces[1].id, block.id);
    EXPECT_EQ(pieces[1].createdAt, at(2023, 3, 9, 0));
    EXPECT_EQ(pieces[1].startDate, at(2023, 3, 9, 0));
    EXPECT_EQ(pieces[1].endDate, at(2023, 3, 9, 2));
    EXPECT_DOUBLE_EQ(pieces[1].weight, 120);
    EXPECT_EQ(pieces[1].blockType, "tracked");
    EXPECT_EQ(pieces[1].title, "Xcode");
    EXPECT_EQ(pieces[1].note, block.note);
    for (const auto& piece : pieces) EXPECT_EQ(piece.modifiedAt, scheduler.now());

    EXPECT_EQ(dirtyIDs(), (IdSet{pieces[0].id, pieces[1].id}));
    EXPECT_EQ(*decodeBlocks(files.files.at(blocksPath)), pieces) << "saved at once";
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

TEST_F(MidnightSplit, ResultIsSortedByStartWhenSomethingWasCut) {
    const MacDayBlock late = makeBlock("Late", MacBlockCategory::work, at(2023, 3, 9, 9), at(2023, 3, 9, 10));
    const MacDayBlock night = makeBlock("Night", MacBlockCategory::sleep, at(2023, 3, 8, 23), at(2023, 3, 9, 7));
    const auto blocks = splitOf({late, night});
    ASSERT_EQ(blocks.size(), 3u);
    EXPECT_EQ(blocks[0].title, "Night");
    EXPECT_EQ(blocks[1].title, "Night");
    EXPECT_EQ(blocks[2].title, "Late");
}

TEST_F(MidnightSplit, WithSyncOffNothingIsMarked) {
    cloudSyncDisabled = true;
    splitOf({makeBlock("Xcode", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2))});
    EXPECT_EQ(store->blocks().size(), 2u);
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.dirtyIDs"));
}

}  // namespace
}  // namespace plenda
