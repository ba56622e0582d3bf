#include "fakes/MemoryDefaults.h"
#include "fakes/VirtualScheduler.h"
#include "platform/OpaqueChangeToken.h"
#include "sync/CloudSyncState.h"

#include <gtest/gtest.h>

#include <thread>

namespace plenda {
namespace {

const Uuid a = *Uuid::parse("00000000-0000-4000-8000-00000000000A");
const Uuid b = *Uuid::parse("00000000-0000-4000-8000-00000000000B");

class SyncState : public ::testing::Test {
protected:
    MemoryDefaults defaults;
    CloudSyncState state{defaults};
    IdSet dirty() const { return state.readIDs("cloudSync.dayBlocks.dirtyIDs"); }
    IdSet pending() const { return state.readIDs("cloudSync.dayBlocks.pendingDeleteIDs"); }
};

TEST_F(SyncState, KeysArePrefixAndSuffix) {
    EXPECT_EQ(state.dirtyKey(), "cloudSync.dayBlocks.dirtyIDs");
    EXPECT_EQ(state.pendingDeleteKey(), "cloudSync.dayBlocks.pendingDeleteIDs");
    EXPECT_EQ(state.changeTokenKey(), "cloudSync.dayBlocks.zoneChangeToken");
    EXPECT_EQ(state.zoneCreatedKey(), "cloudSync.dayBlocks.zoneCreated");
}

TEST_F(SyncState, MarkingMovesIdsBetweenTheSets) {
    state.markDeleted({a});
    state.markDirty({a, b, a});
    EXPECT_EQ(dirty(), (IdSet{a, b}));
    EXPECT_TRUE(pending().empty());
    state.markDeleted({b});
    EXPECT_EQ(dirty(), IdSet{a});
    EXPECT_EQ(pending(), IdSet{b});
    EXPECT_EQ(defaults.stringArray("cloudSync.dayBlocks.dirtyIDs"),
              std::vector<std::string>{"00000000-0000-4000-8000-00000000000A"});
}

TEST_F(SyncState, ClearingTouchesOnlyItsSetAndIgnoresAbsentIds) {
    state.markDirty({a});
    state.markDeleted({b});
    state.clearDirty({b});
    EXPECT_EQ(dirty(), IdSet{a});
    state.clearPendingDeletes({a, b});
    EXPECT_TRUE(pending().empty());
    EXPECT_EQ(dirty(), IdSet{a});
    state.clearDirty({a});
    EXPECT_EQ(defaults.stringArray("cloudSync.dayBlocks.dirtyIDs"), std::vector<std::string>{})
        << "an empty set is stored as an empty array";
}

struct StoredCase {
    const char* name;
    DefaultsValue stored;
    IdSet expected;
};

class StoredIds : public SyncState, public ::testing::WithParamInterface<StoredCase> {};

TEST_P(StoredIds, ReadAllOrNothingWithBadTextsSkipped) {
    defaults.set("cloudSync.dayBlocks.dirtyIDs", GetParam().stored);
    EXPECT_EQ(dirty(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Values, StoredIds,
    ::testing::Values(
        StoredCase{"validLowerCase", DefaultsValue::Array{"00000000-0000-4000-8000-00000000000a"}, IdSet{a}},
        StoredCase{"numberAmongTexts", DefaultsValue::Array{a.string(), 5.0}, IdSet{}},
        StoredCase{"badTextSkipped", DefaultsValue::Array{a.string(), "nope", b.string()}, IdSet{a, b}},
        StoredCase{"notAnArray", DefaultsValue(a.string()), IdSet{}},
        StoredCase{"dictionary", DefaultsValue::Dictionary{{"x", a.string()}}, IdSet{}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(SyncState, ChangeTokenRoundTripsAndNoneRemovesIt) {
    EXPECT_FALSE(state.loadChangeToken());
    state.saveChangeToken(std::make_shared<OpaqueChangeToken>("token-1"));
    const auto loaded = std::dynamic_pointer_cast<const OpaqueChangeToken>(state.loadChangeToken());
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->bytes(), "token-1");
    state.saveChangeToken(nullptr);
    EXPECT_FALSE(state.loadChangeToken());
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.zoneChangeToken"));
    defaults.set("cloudSync.dayBlocks.zoneChangeToken", "not data");
    EXPECT_FALSE(state.loadChangeToken());
}

TEST_F(SyncState, ConcurrentMarksAndClearsLoseNothing) {
    std::vector<Uuid> ids(200);
    for (auto& id : ids) id = Uuid::random();
    std::thread marker([&] {
        for (const Uuid& id : ids) state.markDirty({id});
    });
    std::thread clearer([&] {
        for (std::size_t i = 0; i < ids.size(); i += 2) state.clearDirty({Uuid::random()});
    });
    marker.join();
    clearer.join();
    EXPECT_EQ(dirty().size(), ids.size());
}

}  // namespace
}  // namespace plenda
