#include "CloudStoreFixture.h"
#include "views/ActivitySummaries.h"
#include "model/MacDayBlockJson.h"
#include "tracking/CategoryRules.h"
#include "views/MacActivitySummary.h"

#include <gmock/gmock.h>

namespace plenda {
namespace {

class StoreSyncing : public CloudStoreFixture {};

TEST_F(StoreSyncing, FirstSyncUploadsEveryBlock) {
    makeStore();
    const MacDayBlock a = block("Xcode", 1), b = block("Mail", 2), c = block("Safari", 3);
    files.files[blocksPath] = *encodeBlocks({a, b, c});
    makeStore();
    sync();
    EXPECT_EQ(serverBlock(a.id), a);
    EXPECT_EQ(serverBlock(b.id), b);
    EXPECT_EQ(serverBlock(c.id), c);
    EXPECT_TRUE(dirtyIDs().empty());
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
    EXPECT_THAT(log.texts(), ::testing::Contains("Push: 3/3 saved, 0/0 deleted"));
}

struct MergeCase {
    const char* name;
    double localModified, remoteModified;  // seconds after the block's end; < -1e9: absent
    bool remoteWins;
};

class LastWriterWins : public StoreSyncing, public ::testing::WithParamInterface<MergeCase> {};

TEST_P(LastWriterWins, TheLaterChangeWinsAndTiesKeepTheLocalBlock) {
    makeStore();
    MacDayBlock local = block("Xcode", 1);
    local.modifiedAt = local.createdAt + GetParam().localModified;
    store->upsert(local);
    sync();
    MacDayBlock remote = local;
    remote.title = "Xcode · plenda";
    remote.modifiedAt = local.createdAt + GetParam().remoteModified;
    if (GetParam().remoteModified < -1e9) {
        remote.modifiedAt.reset();
        remote.createdAt = local.createdAt + 1;  // createdAt stands in and is later
    }
    remoteSave(remote);
    sync();
    EXPECT_EQ(localBlock(local.id)->title, GetParam().remoteWins ? remote.title : local.title);
    EXPECT_EQ(serverBlock(local.id)->title, GetParam().remoteWins ? remote.title : "Xcode · plenda")
        << "a merge uploads nothing by itself";
}

INSTANTIATE_TEST_SUITE_P(Cases, LastWriterWins,
                         ::testing::Values(MergeCase{"remoteLater", 0, 1, true}, MergeCase{"tie", 5, 5, false},
                                           MergeCase{"remoteEarlier", 5, 4, false},
                                           MergeCase{"remoteUndatedButCreatedLater", 0, -2e9, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(StoreSyncing, RemoteRecategorisationTeachesTheOverride) {
    makeStore();
    MacDayBlock local = block("Slack", 1, MacBlockCategory::work);
    store->upsert(local);
    sync();
    MacDayBlock remote = local;
    remote.category = MacBlockCategory::social;
    remote.modifiedAt = *local.modifiedAt + 60;
    remoteSave(remote);
    sync();
    EXPECT_EQ(categoryOverride(defaults, "slack"), MacBlockCategory::social);
    EXPECT_EQ(localBlock(local.id)->category, MacBlockCategory::social);
}

TEST_F(StoreSyncing, RemoteDeletionsSpareDirtyBlocks) {
    makeStore();
    const MacDayBlock kept = block("Kept", 1), removed = block("Removed", 2);
    store->upsert(kept);
    store->upsert(removed);
    sync();
    remoteDelete(kept.id);
    remoteDelete(removed.id);
    // Edited here before the deletion arrived: the edit survives and is uploaded again.
    storeSync().markBlocksDirty({kept});
    sync();
    EXPECT_TRUE(localBlock(kept.id));
    EXPECT_FALSE(localBlock(removed.id));
    EXPECT_EQ(serverBlock(kept.id), kept);
    scheduler.advance(1);
    EXPECT_EQ(decodeBlocks(files.files[blocksPath])->size(), 1u) << "the merge is saved";
}

TEST_F(StoreSyncing, LocalDeletionWinsOverARemoteEditNotYetPulled) {
    makeStore();
    const MacDayBlock b = block("Notes", 1);
    store->upsert(b);
    sync();
    MacDayBlock edited = b;
    edited.modifiedAt = *b.modifiedAt + 60;
    remoteSave(edited);
    cloud.setAccountStatus(CloudAccountStatus::couldNotDetermine);  // the delete's upload fails
    MacActivitySummary summary;
    summary.title = "Notes";
    summary.category = b.category;
    deleteSummary(*store, summary);
    scheduler.runUntilIdle();
    ASSERT_FALSE(localBlock(b.id));
    cloud.setAccountStatus(std::nullopt);
    sync();
    EXPECT_FALSE(localBlock(b.id));
    EXPECT_FALSE(serverBlock(b.id));
}

TEST_F(StoreSyncing, FailuresShowInTheStatus) {
    makeStore();
    store->upsert(block("Mail", 1));
    scheduler.runUntilIdle();
    const auto before = store->blocks();

    cloud.failNextRequests(1);
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.unavailable");
    EXPECT_EQ(store->blocks(), before);
    EXPECT_THAT(output.str(),
                ::testing::HasSubstr("\u2601\uFE0F [SYNC] Sync failed: The network connection was lost\n"));

    cloud.rejectRecords({before[0].id.string()});
    storeSync().markBlocksDirty(before);
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.incomplete");

    cloud.rejectRecords({});
    cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the push after the pull
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.incomplete");
    EXPECT_THAT(output.str(), ::testing::HasSubstr("Push failed: The network connection was lost"));
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
}

TEST_F(StoreSyncing, UpsertReportsWhetherItsUploadLeftAnythingPending) {
    makeStore();
    cloud.failNextRequests(1);
    store->upsert(block("Mail", 1));
    scheduler.runUntilIdle();
    EXPECT_EQ(store->syncMessage(), "mac.sync.local");
    store->upsert(block("Notes", 2));
    scheduler.runUntilIdle();
    EXPECT_EQ(store->syncMessage(), "mac.sync.local") << "an upload sends only its own block";
    sync();
    store->upsert(block("Maps", 3));
    scheduler.runUntilIdle();
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
}

TEST_F(StoreSyncing, SyncWhileSyncingChangesNothing) {
    makeStore();
    cloud.hangNextRequests(1);
    store->syncNow();
    scheduler.runUntilIdle();
    ASSERT_TRUE(store->isSyncing());
    bool second = false;
    store->syncNow([&] { second = true; });
    scheduler.runUntilIdle();
    EXPECT_TRUE(second);
    EXPECT_EQ(store->syncMessage(), "mac.sync.syncing");
    EXPECT_EQ(cloud.hungRequests(), 1u);
    EXPECT_EQ(cloud.requests().size(), 1u) << "the second call sent nothing";
}

TEST_F(StoreSyncing, DisabledSyncOnlySaysSo) {
    cloudSyncDisabled = true;
    makeStore();
    store->upsert(block("Mail", 1));
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.testmode");
    EXPECT_TRUE(cloud.requests().empty());
    EXPECT_TRUE(dirtyIDs().empty());
}

TEST_F(StoreSyncing, StaleDirtyIdsArePrunedByAFullSync) {
    makeStore();
    sync();
    const Uuid ghost = Uuid::random();
    storeSync().state().markDirty({ghost});
    store->pushPending({}, false);
    scheduler.runUntilIdle();
    EXPECT_TRUE(dirtyIDs().contains(ghost)) << "only a full sync prunes";
    sync();
    EXPECT_TRUE(dirtyIDs().empty());
}

TEST_F(StoreSyncing, AStalledUploadCannotOverwriteANewerVersion) {
    makeStore();
    const Date start = day + 3600;
    store->recordSession("Mail", MacBlockCategory::work, start, start + 600, std::nullopt);
    scheduler.runUntilIdle();
    const Uuid id = store->blocks().front().id;

    cloud.hangNextRequests(1);  // the upload of the second version stalls
    scheduler.advance(10);
    store->recordSession("Mail", MacBlockCategory::work, start + 700, start + 900, std::nullopt);
    scheduler.runUntilIdle();
    scheduler.advance(10);
    store->recordSession("Mail", MacBlockCategory::work, start + 1000, start + 1100, std::nullopt);
    scheduler.runUntilIdle();
    const MacDayBlock newest = store->blocks().front();
    EXPECT_NE(serverBlock(id), newest) << "the third version waits behind the stalled second";
    EXPECT_TRUE(dirtyIDs().contains(id));

    cloud.releaseHungRequests();
    scheduler.runUntilIdle();
    EXPECT_EQ(serverBlock(id), newest) << "versions reach the server in the order they were sent";
    EXPECT_TRUE(dirtyIDs().empty());
}

TEST_F(StoreSyncing, PendingMeansDirtyOrDeleted) {
    makeStore();
    MacCloudSync& sync = storeSync();
    EXPECT_FALSE(sync.hasPendingChanges());
    sync.markDeleted({block("Mail", 9).id});
    EXPECT_TRUE(sync.hasPendingChanges());
    sync.state().clearPendingDeletes(pendingDeleteIDs());
    const MacDayBlock dirty = block("Mail", 10);
    sync.markBlocksDirty({dirty});
    EXPECT_TRUE(sync.hasPendingChanges());
    sync.state().clearDirty({dirty.id});
    EXPECT_FALSE(sync.hasPendingChanges());
}

}  // namespace
}  // namespace plenda
