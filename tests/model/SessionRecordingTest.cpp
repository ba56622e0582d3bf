#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"

namespace plenda {
namespace {

using C = MacBlockCategory;

class SessionRecording : public StoreFixture {
protected:
    void SetUp() override {
        scheduler.advanceTo(at(2023, 3, 8, 12));
        makeStore();
    }
    // An existing "Xcode"/work block 9:00-10:00.
    MacDayBlock existing() {
        MacDayBlock block = makeBlock("Xcode", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10), 60);
        store->upsert(block);
        return block;
    }
};

struct MergeCase {
    const char* name;
    const char* title;
    C category;
    int startMinute, startSecond;  // after 10:00
    int endMinute;                 // after 10:00
    double storedGap;              // 0: not stored
    bool merges;
};

class MergeRule : public SessionRecording, public ::testing::WithParamInterface<MergeCase> {};

TEST_P(MergeRule, ExtendsTheLatestBlockOfTheActivityWithinTheGap) {
    const MergeCase& c = GetParam();
    if (c.storedGap != 0) defaults.setDouble("sessionMergeGapSeconds", c.storedGap);
    const MacDayBlock block = existing();
    storeSync().state().writeDirtyIDs({});
    scheduler.advance(1);  // saves the block
    const Date start = at(2023, 3, 8, 10, c.startMinute, c.startSecond);
    const Date end = at(2023, 3, 8, 10, c.endMinute);
    store->recordSession(c.title, c.category, start, end, "Logged automatically on Mac");

    if (c.merges) {
        MacDayBlock merged = block;
        merged.endDate = end;
        merged.weight = 60 + (end - start) / 60;
        merged.modifiedAt = scheduler.now();
        EXPECT_EQ(store->blocks(), std::vector{merged});
        EXPECT_EQ(dirtyIDs(), IdSet{block.id});
    } else {
        ASSERT_EQ(store->blocks().size(), 2u);
        EXPECT_EQ(store->blocks()[0], block);
    }
    scheduler.advance(1);
    EXPECT_EQ(*decodeBlocks(files.files.at(blocksPath)), store->blocks());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MergeRule,
    ::testing::Values(MergeCase{"twoMinutesLater", "Xcode", C::work, 2, 0, 30, 0, true},
                      MergeCase{"gapOf181Seconds", "Xcode", C::work, 3, 1, 30, 0, false},
                      MergeCase{"gapOfExactly180", "Xcode", C::work, 3, 0, 30, 0, true},
                      MergeCase{"otherCategory", "Xcode", C::mind, 2, 0, 30, 0, false},
                      MergeCase{"otherTitle", "Xcode · api", C::work, 2, 0, 30, 0, false},
                      MergeCase{"titleCaseMatters", "xcode", C::work, 2, 0, 30, 0, false},
                      MergeCase{"storedGap60With90", "Xcode", C::work, 1, 30, 30, 60, false},
                      MergeCase{"storedGap300With240", "Xcode", C::work, 4, 0, 30, 300, true},
                      MergeCase{"zeroStoredGapMeans180", "Xcode", C::work, 3, 0, 30, -5, true},
                      MergeCase{"startsRightAtTheEnd", "Xcode", C::work, 0, 0, 30, 0, true},
                      MergeCase{"blockEndsAfterTheStart", "Xcode", C::work, -1, 0, 30, 0, false}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(SessionRecording, NewBlockFieldsComeFromTheSession) {
    const Date start = at(2023, 3, 8, 10), end = at(2023, 3, 8, 10, 30);
    store->recordSession("Safari", C::mind, start, end, "Logged automatically on Mac");
    ASSERT_EQ(store->blocks().size(), 1u);
    const MacDayBlock& block = store->blocks()[0];
    EXPECT_EQ(block, (MacDayBlock{block.id, "Safari", C::mind, 30, "Logged automatically on Mac", start, start, end,
                                  "tracked", scheduler.now()}));
    EXPECT_EQ(dirtyIDs(), IdSet{block.id});
    EXPECT_EQ(store->syncMessage(), "mac.sync.pending");
    scheduler.runUntilIdle();
    EXPECT_EQ(store->syncMessage(), "mac.sync.local") << "the block is still waiting for the cloud";
}

TEST_F(SessionRecording, NeverMergesAcrossMidnight) {
    store->upsert(makeBlock("Xcode", C::work, at(2023, 3, 8, 23), at(2023, 3, 8, 23, 59)));
    store->recordSession("Xcode", C::work, at(2023, 3, 9, 0, 1), at(2023, 3, 9, 0, 30), std::nullopt);
    EXPECT_EQ(store->blocks().size(), 2u);
}

TEST_F(SessionRecording, BackwardsSessionAddsNoWeight) {
    const MacDayBlock block = existing();
    store->recordSession("Xcode", C::work, at(2023, 3, 8, 10, 2), at(2023, 3, 8, 9, 30), std::nullopt);
    ASSERT_EQ(store->blocks().size(), 1u);
    EXPECT_DOUBLE_EQ(store->blocks()[0].weight, 60);
    EXPECT_EQ(store->blocks()[0].endDate, block.endDate) << "the later of the two ends";

    store->recordSession("Notes", C::mind, at(2023, 3, 8, 11), at(2023, 3, 8, 10), std::nullopt);
    ASSERT_EQ(store->blocks().size(), 2u);
    EXPECT_EQ(store->blocks()[1].weight, 0);
    EXPECT_EQ(store->blocks()[1].endDate, at(2023, 3, 8, 10));
}

TEST_F(SessionRecording, OnATieTheEarlierBlockInTheListIsExtended) {
    const MacDayBlock first = makeBlock("Xcode", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10));
    const MacDayBlock second = makeBlock("Xcode", C::work, at(2023, 3, 8, 9, 30), at(2023, 3, 8, 10));
    store->upsert(first);
    store->upsert(second);
    store->recordSession("Xcode", C::work, at(2023, 3, 8, 10, 1), at(2023, 3, 8, 10, 11), std::nullopt);
    EXPECT_EQ(store->blocks()[0].endDate, at(2023, 3, 8, 10, 11));
    EXPECT_EQ(store->blocks()[1], second);
}

TEST_F(SessionRecording, LatestCandidateWithoutEndMakesANewBlock) {
    existing();
    MacDayBlock synced = makeBlock("Xcode", C::work, at(2023, 3, 8, 10, 1), at(2023, 3, 8, 10, 1));
    synced.endDate.reset();
    store->upsert(synced);
    store->recordSession("Xcode", C::work, at(2023, 3, 8, 10, 2), at(2023, 3, 8, 10, 30), std::nullopt);
    EXPECT_EQ(store->blocks().size(), 3u);
}

TEST_F(SessionRecording, UpsertReplacesTheBlockWithTheSameIdAtTheEnd) {
    MacDayBlock a = makeBlock("A", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10));
    const MacDayBlock b = makeBlock("B", C::work, at(2023, 3, 8, 10), at(2023, 3, 8, 11));
    store->upsert(a);
    store->upsert(b);
    a.title = "A2";
    store->upsert(a);
    EXPECT_EQ(store->blocks(), (std::vector{b, a}));
}

}  // namespace
}  // namespace plenda
