#include "fakes/CapturedSystemLog.h"
#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"
#include "tracking/CategoryRules.h"

#include <gmock/gmock.h>

#include <cmath>
#include <set>

namespace plenda {
namespace {

// A store on virtual time that syncs with the SQLite stand-in through a fault
// injector, with helpers to act as another device straight on the server.
class StoreSyncing : public StoreFixture {
protected:
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.clock = &scheduler}};
    CloudFaultInjector cloud{server};
    CapturedSystemLog log;
    const Date day = at(2023, 3, 1, 9);

    void SetUp() override {
        cloudDatabase = &cloud;
        systemLog = &log;
        scheduler.advanceTo(day + 8 * 3600);
        makeStore();
    }
    void sync() {
        bool finished = false;
        store->syncNow([&] { finished = true; });
        scheduler.runUntilIdle();
        EXPECT_TRUE(finished && !store->isSyncing());
    }
    MacDayBlock block(const std::string& title, double hour, MacBlockCategory category = MacBlockCategory::work) {
        return makeBlock(title, category, day + hour * 3600, day + hour * 3600 + 1200);
    }
    // A block already synced.
    MacDayBlock uploaded(const std::string& title, double hour) {
        const MacDayBlock b = block(title, hour);
        store->upsert(b);
        sync();
        return b;
    }
    static MacDayBlock changed(MacDayBlock b, std::string title, Date at) {
        b.title = std::move(title);
        b.modifiedAt = at;
        return b;
    }
    void save(const MacDayBlock& b) {
        store->upsert(b);
        scheduler.runUntilIdle();
    }
    // Changed here while the cloud is out of reach: the change stays pending.
    void saveOffline(const MacDayBlock& b) {
        cloud.failNextRequests(100);
        save(b);
        cloud.failNextRequests(0);
    }
    // Changes made by another device, straight on the server.
    void remote(CloudRecord record) {
        server.modifyRecords({std::move(record)}, {}, CloudSavePolicy::allKeys, false, [](auto) {});
    }
    static CloudRecord record(std::string name, std::map<std::string, CloudFieldValue> fields) {
        return CloudRecord{dayBlockRecordType, {std::move(name), dayBlocksZoneID()}, std::move(fields), {}, {}};
    }
    static CloudRecord blockRecord(const MacDayBlock& b) {
        return makeRecord(CloudRecordEnvelope{b.id, *encodeBlock(b), b.lastModified()});
    }
    void remoteDelete(const Uuid& id) {
        server.modifyRecords({}, {CloudRecordID{id.string(), dayBlocksZoneID()}}, CloudSavePolicy::allKeys, false,
                             [](auto) {});
    }
    std::optional<MacDayBlock> serverBlock(const Uuid& id) {
        const auto records = server.records(dayBlocksZoneID());
        const auto found = records.find(id.string());
        if (found == records.end()) return std::nullopt;
        return decodeBlock(std::get<Data>(found->second.fields.at("payload")).bytes);
    }
    std::optional<MacDayBlock> localBlock(const Uuid& id) const { return store->block(id); }
    // No block twice, and the file on disk decodes to what the store holds.
    void expectSoundStore() {
        std::set<Uuid> ids;
        for (const auto& b : store->blocks()) EXPECT_TRUE(ids.insert(b.id).second) << "duplicate " << b.id.string();
        scheduler.advance(MacActivityStore::saveDelay + 1);
        const auto saved = decodeBlocks(files.files[blocksPath]);
        ASSERT_TRUE(saved) << "the block file decodes";
        EXPECT_EQ(*saved, store->blocks());
    }
};

// Disabled, sync only says so; the first real sync uploads every block, and
// only a full sync prunes dirty ids whose blocks are gone.
TEST_F(StoreSyncing, FirstSyncUploadsEveryBlockUnlessDisabledAndPrunesStaleDirtyIds) {
    const std::vector<MacDayBlock> blocks{block("Xcode", 1), block("Mail", 2), block("Safari", 3)};
    files.files[blocksPath] = *encodeBlocks(blocks);
    cloudSyncDisabled = true;
    makeStore();
    store->upsert(block("Maps", 4));
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.testmode");
    EXPECT_TRUE(cloud.requests().empty());
    EXPECT_TRUE(dirtyIDs().empty());
    store->saveNow();

    cloudSyncDisabled = false;
    makeStore();
    sync();
    for (const auto& b : store->blocks()) EXPECT_EQ(serverBlock(b.id), b);
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
    EXPECT_THAT(log.texts(), ::testing::Contains("Push: 4/4 saved, 0/0 deleted"));

    const Uuid ghost = Uuid::random();
    storeSync().state().markDirty({ghost});
    store->pushPending({}, false);
    scheduler.runUntilIdle();
    EXPECT_TRUE(dirtyIDs().contains(ghost)) << "only a full sync prunes";
    sync();
    EXPECT_TRUE(dirtyIDs().empty());
}

// Marks made within a second are written together, once; a sync that finds
// nothing to do writes nothing. With no cloud nothing is marked, yet the
// first sync with one sends every block.
TEST_F(StoreSyncing, BookkeepingIsWrittenOnlyWhenItChangedAndNothingIsMarkedWithoutACloud) {
    uploaded("Xcode", 1);
    sync();  // the token moves past this device's own upload
    scheduler.advance(CloudSyncState::writeDelay);
    const int before = defaults.writes();
    const std::string confirmedPath = "/home/user/.local/share/Plenda/cloud-confirmed-ids";
    const auto confirmedBefore = files.versions[confirmedPath];
    for (int tick = 0; tick < 3; ++tick) sync();
    scheduler.advance(CloudSyncState::writeDelay);
    EXPECT_EQ(defaults.writes(), before) << "idle syncs";
    save(block("Mail", 2));
    save(block("Maps", 3));
    EXPECT_EQ(defaults.writes(), before) << "within the second";
    scheduler.advance(CloudSyncState::writeDelay);
    EXPECT_EQ(defaults.writes(), before + 1) << "the dirty ids, once";
    EXPECT_EQ(files.versions[confirmedPath], confirmedBefore + 1) << "the confirmed ids, once, in their own file";

    storeSync().state().markDirty({Uuid::random()});
    cloudDatabase = nullptr;
    makeStore();
    EXPECT_TRUE(dirtyIDs().empty()) << "marks for a cloud this run lacks";
    save(block("Notes", 4));
    EXPECT_TRUE(dirtyIDs().empty());
    store->saveNow();
    cloudDatabase = &cloud;
    makeStore();
    sync();
    ASSERT_EQ(store->blocks().size(), 4u);
    for (const auto& b : store->blocks()) EXPECT_EQ(serverBlock(b.id), b);
}

// Another device recategorises a block; the newer version wins, and a won
// recategorisation teaches this device the override.
TEST_F(StoreSyncing, TheLaterChangeWinsTiesKeepTheLocalBlockAndAWonRecategorisationIsLearnt) {
    struct Case {
        const char* name;
        double localModified, remoteModified;  // seconds after the block's start; NaN: absent
        bool remoteWins;
    };
    double hour = 0;
    bool learnt = false;
    for (const Case& c : {Case{"tie", 5, 5, false}, Case{"remoteEarlier", 5, 4, false}, Case{"remoteLater", 0, 1, true},
                          Case{"remoteUndatedButCreatedLater", 0, std::nan(""), true}}) {
        SCOPED_TRACE(c.name);
        MacDayBlock local = block("Slack", ++hour);
        local.modifiedAt = local.createdAt + c.localModified;
        store->upsert(local);
        sync();
        MacDayBlock remoteBlock = changed(local, local.title, local.createdAt + c.remoteModified);
        remoteBlock.category = MacBlockCategory::social;
        if (std::isnan(c.remoteModified)) {
            remoteBlock.modifiedAt.reset();
            remoteBlock.createdAt = local.createdAt + 1;  // createdAt stands in and is later
        }
        remote(blockRecord(remoteBlock));
        sync();
        learnt = learnt || c.remoteWins;
        EXPECT_EQ(localBlock(local.id), c.remoteWins ? remoteBlock : local);
        // An older server version is replaced by the newer one from here.
        const bool localNewer = c.remoteModified < c.localModified;
        EXPECT_EQ(serverBlock(local.id), localNewer ? local : remoteBlock);
        EXPECT_EQ(categoryOverride(defaults, "slack"), learnt ? std::optional(MacBlockCategory::social) : std::nullopt);
    }
}

TEST_F(StoreSyncing, LocalDeletionWinsOverARemoteEditNotYetPulled) {
    const MacDayBlock b = uploaded("Notes", 1);
    remote(blockRecord(changed(b, b.title, *b.modifiedAt + 60)));
    cloud.failNextRequests(1);  // the delete's upload
    store->deleteSummary(b.title, b.category);
    scheduler.runUntilIdle();
    EXPECT_TRUE(storeSync().hasPendingChanges()) << "a deletion not yet sent is pending";
    sync();
    EXPECT_FALSE(localBlock(b.id));
    EXPECT_FALSE(serverBlock(b.id));
    EXPECT_FALSE(storeSync().hasPendingChanges());
}

TEST_F(StoreSyncing, TheStatusSaysWhatIsLeftUndoneAndASyncDuringASyncSendsNothing) {
    cloud.failNextRequests(1);
    save(block("Mail", 1));
    EXPECT_EQ(store->syncMessage(), "mac.sync.local");
    save(block("Notes", 2));
    EXPECT_EQ(store->syncMessage(), "mac.sync.local") << "an upload sends only its own block";
    const auto before = store->blocks();

    cloud.failNextRequests(1);
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.unavailable");
    EXPECT_EQ(store->blocks(), before);
    EXPECT_THAT(output.str(),
                ::testing::HasSubstr("\u2601\uFE0F [SYNC] Sync failed: The network connection was lost\n"));

    cloud.rejectRecords({before[0].id.string()});
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.incomplete");
    EXPECT_THAT(log.texts(), ::testing::Contains("Save rejected for " + before[0].id.string() + ": Record rejected"));
    EXPECT_FALSE(serverBlock(before[0].id));
    EXPECT_EQ(serverBlock(before[1].id), before[1]);

    cloud.rejectRecords({});
    cloud.failNextRequests(1, CloudFaultInjector::networkFailure(), 1);  // the push after the pull
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.incomplete");
    EXPECT_THAT(output.str(), ::testing::HasSubstr("Push failed: The network connection was lost"));
    sync();
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
    save(block("Maps", 3));
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");

    // A sync asked for while one is under way sends nothing.
    cloud.hangNextRequests(1);
    store->syncNow();
    scheduler.runUntilIdle();
    ASSERT_TRUE(store->isSyncing());
    const std::size_t sent = cloud.requests().size();
    bool second = false;
    store->syncNow([&] { second = true; });
    scheduler.runUntilIdle();
    EXPECT_TRUE(second);
    EXPECT_EQ(store->syncMessage(), "mac.sync.syncing");
    EXPECT_EQ(cloud.requests().size(), sent) << "the second call sent nothing";
}

// A server that answers nonsense: records of the wrong shape, payloads that
// are not blocks or claim to be another block, pages that repeat themselves
// and tokens that go backwards. The store keeps every local change, takes
// in only well-formed blocks, and its file stays readable.
using HostileServer = StoreSyncing;

TEST_F(HostileServer, MalformedRecordsAreSkippedAndLocalChangesSurvive) {
    server.setPageSize(2);
    const MacDayBlock synced = uploaded("Mail", 1);
    const MacDayBlock edited = changed(synced, "Mail (edited here)", scheduler.now());
    saveOffline(edited);

    const MacDayBlock wellFormed = block("Safari", 2), asText = block("Notes", 3), namedBadly = block("Terminal", 4),
                      datedAsText = block("Xcode", 5);
    // A newer "Mail" filed under someone else's name.
    const MacDayBlock impostor = changed(synced, "Mail (impostor)", scheduler.now() + 3600);
    const auto bytes = [](const MacDayBlock& b) { return Data{*encodeBlock(b)}; };
    remote(record("not-a-uuid", {{payloadField, bytes(namedBadly)}}));
    remote(record(asText.id.string(), {{payloadField, *encodeBlock(asText)}}));  // text, not bytes
    remote(record(Uuid::random().string(), {{payloadField, Data{"[1,2,3]"}}}));
    remote(record(Uuid::random().string(), {{payloadField, Data{"{\"id\":\"x\"}"}}}));
    remote(record(Uuid::random().string(), {{payloadField, 42.0}, {modifiedAtField, std::string("yesterday")}}));
    remote(record(Uuid::random().string(), {{modifiedAtField, Date(1)}}));
    remote(record(Uuid::random().string(), {{payloadField, bytes(impostor)}}));
    remote(record(datedAsText.id.string(), {{payloadField, bytes(datedAsText)}, {modifiedAtField, std::string("now")}}));
    remote(blockRecord(wellFormed));
    cloud.repeatChanges(true);

    sync();

    EXPECT_EQ(localBlock(synced.id), edited) << "neither the impostor nor anything else replaced the local edit";
    EXPECT_EQ(serverBlock(synced.id), edited) << "the local edit went up";
    EXPECT_EQ(localBlock(wellFormed.id), wellFormed);
    EXPECT_EQ(localBlock(datedAsText.id), datedAsText) << "a date of the wrong type falls back, the block is kept";
    EXPECT_EQ(store->blocks().size(), 3u) << "nothing else, not even a text payload or a name that is no UUID";
    EXPECT_TRUE(dirtyIDs().empty());
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
    expectSoundStore();
}

TEST_F(HostileServer, TokensGoingBackwardsNeverUndoALocalChange) {
    server.setPageSize(2);
    std::vector<MacDayBlock> blocks;
    for (int i = 0; i < 5; ++i) blocks.push_back(uploaded("Block " + std::to_string(i), i));
    const auto oldToken = defaults.data(storeSync().state().changeTokenKey());
    ASSERT_TRUE(oldToken);

    // Another device changes two blocks; this one edits a third.
    const MacDayBlock remoteEdit = changed(blocks[0], "Changed elsewhere", scheduler.now());
    const MacDayBlock remoteEdit2 = changed(blocks[1], "Also changed elsewhere", scheduler.now());
    for (const auto& edit : {remoteEdit, remoteEdit2}) remote(blockRecord(edit));
    scheduler.advance(60);
    const MacDayBlock localEdit = changed(blocks[2], "Changed here", scheduler.now());
    save(localEdit);
    sync();

    // The stored token goes back to before all that, and the pages keep
    // answering with the token they were asked with for a while.
    defaults.setData(storeSync().state().changeTokenKey(), *oldToken);
    cloud.rewindTokens(3);
    cloud.repeatChanges(true);
    scheduler.advance(60);
    const MacDayBlock laterEdit = changed(remoteEdit2, "Changed here after that", scheduler.now());
    save(laterEdit);
    sync();
    sync();

    EXPECT_EQ(localBlock(remoteEdit.id), remoteEdit);
    EXPECT_EQ(localBlock(localEdit.id), localEdit);
    EXPECT_EQ(localBlock(laterEdit.id), laterEdit) << "an older version replayed by the server does not win";
    EXPECT_EQ(serverBlock(laterEdit.id), laterEdit);
    EXPECT_EQ(serverBlock(localEdit.id), localEdit);
    EXPECT_EQ(store->blocks().size(), 5u);
    EXPECT_TRUE(dirtyIDs().empty());
    expectSoundStore();
}

TEST_F(HostileServer, RemoteDeletionsEvenRepeatedSpareBlocksChangedHere) {
    server.setPageSize(2);
    const MacDayBlock kept = uploaded("Kept", 1), removed = uploaded("Removed", 2);
    remoteDelete(kept.id);
    remoteDelete(removed.id);
    // Changed here before the deletion arrived, and not sent yet: the change survives and goes up again.
    const MacDayBlock edited = changed(kept, "Kept (edited)", scheduler.now() + 1);
    saveOffline(edited);
    cloud.repeatChanges(true);
    sync();
    EXPECT_EQ(localBlock(kept.id), edited);
    EXPECT_FALSE(localBlock(removed.id));
    EXPECT_EQ(serverBlock(kept.id), edited) << "the next push recreated it";
    expectSoundStore();
}

// A full refetch shows what the server holds. A block missing there was
// deleted elsewhere when the server had confirmed it in this same zone; when
// it never got there, or the zone was deleted and made anew, it goes up.
TEST_F(StoreSyncing, AFullRefetchTellsABlockDeletedElsewhereFromOneNotOnTheServer) {
    for (const bool zoneMadeAnew : {false, true}) {
        SCOPED_TRACE(zoneMadeAnew ? "zone made anew elsewhere" : "token expired");
        const double hour = zoneMadeAnew ? 5 : 1;
        const MacDayBlock confirmed = uploaded("Confirmed", hour);
        const MacDayBlock offline = block("Offline", hour + 1);
        saveOffline(offline);
        if (zoneMadeAnew) {
            server.deleteZone(dayBlocksZoneID(), true);
            server.saveZone(dayBlocksZoneID(), [](auto) {});
        } else {
            remoteDelete(confirmed.id);
            server.compactTombstones(dayBlocksZoneID());
            // The block removed here must reach the file before the token is kept.
            files.writeFailure = "No space left on device";
        }
        sync();
        EXPECT_EQ(defaults.object(storeSync().state().changeTokenKey()).has_value(), zoneMadeAnew);
        files.writeFailure.reset();
        EXPECT_THAT(log.texts(), ::testing::Contains("Change token expired; refetching in full"));
        EXPECT_EQ(localBlock(confirmed.id).has_value(), zoneMadeAnew);
        EXPECT_EQ(serverBlock(confirmed.id).has_value(), zoneMadeAnew);
        EXPECT_EQ(serverBlock(offline.id), offline);
        EXPECT_FALSE(storeSync().hasPendingChanges());
    }
}

TEST_F(StoreSyncing, PulledBlocksThatNeverReachedTheFileArePulledAgain) {
    sync();  // makes the zone
    server.setPageSize(1);
    for (int hour = 1; hour <= 3; ++hour) remote(blockRecord(block("Remote", hour)));
    files.writeFailure = "No space left on device";
    sync();
    EXPECT_EQ(store->blocks().size(), 3u) << "merged in memory";

    // Quit (or crash) now, and start again with room on the disk.
    files.writeFailure.reset();
    files.files.clear();
    makeStore();
    sync();
    EXPECT_EQ(store->blocks().size(), 3u);
    expectSoundStore();
}

TEST_F(StoreSyncing, ABlockSavedAgainAfterItsDeletionOnAnEarlierPageStays) {
    const MacDayBlock kept = uploaded("Kept", 1);
    uploaded("Other", 2);
    server.setPageSize(1);
    // Another device deletes it; this pull sees the deletion on its first
    // page, and before the next page is asked for the block is saved again.
    remoteDelete(kept.id);
    remote(blockRecord(block("Filler", 3)));
    cloud.hangNextRequests(1, 1);  // the fetch after the first page
    store->syncNow();
    scheduler.runUntilIdle();
    ASSERT_EQ(cloud.hungRequests(), 1u);
    const MacDayBlock resaved = changed(kept, "Kept, edited", scheduler.now());
    remote(blockRecord(resaved));
    cloud.releaseHungRequests();
    scheduler.runUntilIdle();
    EXPECT_EQ(localBlock(kept.id), resaved) << "the server holds it, so must this device";
}

}  // namespace
}  // namespace plenda
