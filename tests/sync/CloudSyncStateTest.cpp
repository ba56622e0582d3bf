#include "fakes/MemoryDefaults.h"
#include "fakes/MemoryFiles.h"
#include "platform/OpaqueChangeToken.h"
#include "sync/CloudSyncState.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace plenda {
namespace {

const Uuid a = *Uuid::parse("00000000-0000-4000-8000-00000000000A");
const Uuid b = *Uuid::parse("00000000-0000-4000-8000-00000000000B");

// The stored keys are spelled out: they outlive any one version of the app.
class SyncState : public ::testing::Test {
protected:
    MemoryDefaults defaults;
    CloudSyncState state{defaults};
    IdSet dirty() const { return state.readIDs("cloudSync.dayBlocks.dirtyIDs"); }
    IdSet pending() const { return state.readIDs("cloudSync.dayBlocks.pendingDeleteIDs"); }
};

TEST_F(SyncState, MarkingMovesIdsBetweenTheSetsAndClearingTouchesOnlyItsOwn) {
    state.markDeleted({a});
    state.markDirty({a, b, a});
    EXPECT_EQ(dirty(), (IdSet{a, b}));
    EXPECT_TRUE(pending().empty());
    state.markDeleted({b});
    EXPECT_EQ(pending(), IdSet{b});
    EXPECT_EQ(defaults.stringArray("cloudSync.dayBlocks.dirtyIDs"),
              std::vector<std::string>{"00000000-0000-4000-8000-00000000000A"});
    state.clearDirty({b});
    state.clearPendingDeletes({a, b});
    EXPECT_TRUE(pending().empty());
    EXPECT_EQ(dirty(), IdSet{a});
    state.clearDirty({a});
    EXPECT_EQ(defaults.stringArray("cloudSync.dayBlocks.dirtyIDs"), std::vector<std::string>{})
        << "an empty set is stored as an empty array";
}

TEST_F(SyncState, StoredIdsAreReadAllOrNothingWithBadTextsSkipped) {
    const std::vector<std::tuple<const char*, DefaultsValue, IdSet>> cases{
        {"validLowerCase", DefaultsValue::Array{"00000000-0000-4000-8000-00000000000a"}, IdSet{a}},
        {"numberAmongTexts", DefaultsValue::Array{a.string(), 5.0}, IdSet{}},
        {"badTextSkipped", DefaultsValue::Array{a.string(), "nope", b.string()}, IdSet{a, b}},
        {"notAnArray", DefaultsValue(a.string()), IdSet{}},
        {"dictionary", DefaultsValue::Dictionary{{"x", a.string()}}, IdSet{}}};
    for (const auto& [name, stored, expected] : cases) {
        SCOPED_TRACE(name);
        defaults.set("cloudSync.dayBlocks.dirtyIDs", stored);
        EXPECT_EQ(CloudSyncState(defaults).readIDs("cloudSync.dayBlocks.dirtyIDs"), expected);
    }
}

TEST_F(SyncState, ChangeTokenRoundTripsAndNoneRemovesIt) {
    EXPECT_FALSE(state.loadChangeToken());
    state.saveChangeToken(std::make_shared<OpaqueChangeToken>("token-1"));
    const auto loaded = std::dynamic_pointer_cast<const OpaqueChangeToken>(state.loadChangeToken());
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->bytes(), "token-1");
    state.saveChangeToken(nullptr);
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.zoneChangeToken"));
    defaults.set("cloudSync.dayBlocks.zoneChangeToken", "not data");
    EXPECT_FALSE(state.loadChangeToken());
}

TEST_F(SyncState, DeletionsKeepTheNewestVersionDeletedAndOnlyTheNewestDeletions) {
    state.rememberDeletions({{a, Date(20)}, {b, Date(5)}});
    state.rememberDeletions({{a, Date(10)}});
    EXPECT_EQ(state.deletedVersions().at(a), Date(20)) << "an older copy deleted again keeps the newer version";
    std::vector<std::pair<Uuid, Date>> many;
    for (std::size_t i = 0; i < CloudSyncState::deletedVersionLimit; ++i) many.emplace_back(Uuid::random(), Date(100));
    state.rememberDeletions(many);
    const auto kept = state.deletedVersions();
    EXPECT_EQ(kept.size(), CloudSyncState::deletedVersionLimit);
    EXPECT_FALSE(kept.contains(b)) << "the oldest go first";
    EXPECT_FALSE(kept.contains(a));
    EXPECT_TRUE(kept.contains(many.front().first));
}

// The confirmed ids live in a file of their own, moved there from the
// settings where an earlier version kept them; a file not of their form is
// never written over.
TEST_F(SyncState, ConfirmedIdsLiveInTheirOwnFile) {
    MemoryFiles files;
    const std::string path = "/data/Plenda/cloud-confirmed-ids";
    const auto confirmed = [&] {
        return *CloudSyncState(defaults, "cloudSync.dayBlocks", nullptr, nullptr,
                               CloudSyncState::ConfirmedFile{files, path}).confirmedIDs();
    };
    defaults.set("cloudSync.dayBlocks.confirmedIDs", DefaultsValue::Array{a.string(), "nope", b.string()});
    EXPECT_EQ(confirmed(), (IdSet{a, b}));
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.confirmedIDs")) << "moved to the file";
    EXPECT_EQ(files.files.at(path).size(), CloudSyncState::confirmedFileHeader.size() + 2 * 16);
    {
        CloudSyncState state(defaults, "cloudSync.dayBlocks", nullptr, nullptr, CloudSyncState::ConfirmedFile{files, path});
        state.confirm({Uuid::random()}, {a});
        state.markDirty({b});
    }
    EXPECT_EQ(confirmed().size(), 2u);
    EXPECT_FALSE(std::ranges::binary_search(confirmed(), a));
    EXPECT_EQ(defaults.stringArray("cloudSync.dayBlocks.dirtyIDs")->size(), 1u) << "the other sets stay settings";

    for (const std::string bad : {"Plenda confirmed ids 1\nshort", "something else", ""}) {
        files.writeFromOutside(path, bad);
        {
            CloudSyncState state(defaults, "cloudSync.dayBlocks", nullptr, nullptr,
                                 CloudSyncState::ConfirmedFile{files, path});
            EXPECT_TRUE(state.confirmedIDs()->empty());
            state.confirm({a}, {});
        }
        EXPECT_EQ(files.files.at(path), bad) << "a file that does not read as ids is left as it is";
    }
}

}  // namespace
}  // namespace plenda
