// A server that answers nonsense: records of the wrong shape, payloads that
// are not blocks or claim to be another block, pages that repeat themselves
// and tokens that go backwards. The store keeps every local change, takes
// in only well-formed blocks, and its file stays readable.
#include "CloudStoreFixture.h"
#include "model/MacDayBlockJson.h"
#include "platform/OpaqueChangeToken.h"

#include <gmock/gmock.h>

#include <set>

namespace plenda {
namespace {

class HostileServer : public CloudStoreFixture {
protected:
    void SetUp() override {
        CloudStoreFixture::SetUp();
        server.setPageSize(2);
    }
    void remote(CloudRecord record) {
        server.modifyRecords({std::move(record)}, {}, CloudSavePolicy::allKeys, false, [](auto) {});
    }
    static CloudRecord record(std::string name, std::map<std::string, CloudFieldValue> fields) {
        return CloudRecord{dayBlockRecordType, {std::move(name), dayBlocksZoneID()}, std::move(fields), {}};
    }
    static CloudRecord blockRecord(const MacDayBlock& b) {
        return makeRecord(CloudRecordEnvelope{b.id, *encodeBlock(b), b.lastModified()});
    }
    void expectSoundStore() {
        std::set<Uuid> ids;
        for (const auto& b : store->blocks()) EXPECT_TRUE(ids.insert(b.id).second) << "duplicate " << b.id.string();
        scheduler.advance(MacActivityStore::saveDelay + 1);
        const auto saved = decodeBlocks(files.files[blocksPath]);
        ASSERT_TRUE(saved) << "the block file decodes";
        EXPECT_EQ(*saved, store->blocks());
    }
};

TEST_F(HostileServer, MalformedRecordsAreSkippedAndLocalChangesSurvive) {
    makeStore();
    const MacDayBlock synced = block("Mail", 1);
    store->upsert(synced);
    sync();
    ASSERT_EQ(serverBlock(synced.id), synced);

    // An edit here that has not gone up yet.
    MacDayBlock edited = synced;
    edited.title = "Mail (edited here)";
    edited.modifiedAt = scheduler.now();
    cloud.failNextRequests(100);
    store->upsert(edited);
    scheduler.runUntilIdle();
    cloud.failNextRequests(0);

    const MacDayBlock wellFormed = block("Safari", 2);
    MacDayBlock impostor = synced;  // a newer "Mail" filed under someone else's name
    impostor.title = "Mail (impostor)";
    impostor.modifiedAt = scheduler.now() + 3600;
    const MacDayBlock asText = block("Notes", 3);
    const MacDayBlock namedBadly = block("Terminal", 4);
    MacDayBlock datedAsText = block("Xcode", 5);
    remote(record("not-a-uuid", {{payloadField, Data{*encodeBlock(namedBadly)}}}));
    remote(record(asText.id.string(), {{payloadField, *encodeBlock(asText)}}));  // text, not bytes
    remote(record(Uuid::random().string(), {{payloadField, Data{"[1,2,3]"}}}));
    remote(record(Uuid::random().string(), {{payloadField, Data{"{\"id\":\"x\"}"}}}));
    remote(record(Uuid::random().string(), {{payloadField, 42.0}, {modifiedAtField, std::string("yesterday")}}));
    remote(record(Uuid::random().string(), {{modifiedAtField, Date(1)}}));
    remote(record(Uuid::random().string(), {{payloadField, Data{*encodeBlock(impostor)}}}));
    remote(record(datedAsText.id.string(),
                  {{payloadField, Data{*encodeBlock(datedAsText)}}, {modifiedAtField, std::string("now")}}));
    remote(blockRecord(wellFormed));
    cloud.repeatChanges(true);

    sync();

    EXPECT_EQ(localBlock(synced.id), edited) << "neither the impostor nor anything else replaced the local edit";
    EXPECT_EQ(serverBlock(synced.id), edited) << "the local edit went up";
    EXPECT_EQ(localBlock(wellFormed.id), wellFormed);
    EXPECT_EQ(localBlock(datedAsText.id), datedAsText) << "a date of the wrong type falls back, the block is kept";
    EXPECT_FALSE(localBlock(asText.id)) << "a payload that is text, not bytes, is no block";
    EXPECT_FALSE(localBlock(namedBadly.id)) << "a record whose name is not a UUID is no block";
    EXPECT_EQ(store->blocks().size(), 3u);
    EXPECT_TRUE(dirtyIDs().empty());
    EXPECT_EQ(store->syncMessage(), "mac.sync.synced");
    expectSoundStore();
}

TEST_F(HostileServer, TokensGoingBackwardsNeverUndoALocalChange) {
    makeStore();
    std::vector<MacDayBlock> blocks;
    for (int i = 0; i < 5; ++i) {
        blocks.push_back(block("Block " + std::to_string(i), i));
        store->upsert(blocks.back());
    }
    sync();
    const auto oldToken = defaults.data(storeSync().state().changeTokenKey());
    ASSERT_TRUE(oldToken);

    // Another device changes two blocks; this one edits a third and deletes a fourth.
    MacDayBlock remoteEdit = blocks[0];
    remoteEdit.title = "Changed elsewhere";
    remoteEdit.modifiedAt = scheduler.now();
    remote(blockRecord(remoteEdit));
    MacDayBlock remoteEdit2 = blocks[1];
    remoteEdit2.title = "Also changed elsewhere";
    remoteEdit2.modifiedAt = scheduler.now();
    remote(blockRecord(remoteEdit2));
    scheduler.advance(60);
    MacDayBlock localEdit = blocks[2];
    localEdit.title = "Changed here";
    localEdit.modifiedAt = scheduler.now();
    store->upsert(localEdit);
    scheduler.runUntilIdle();
    sync();
    ASSERT_EQ(localBlock(remoteEdit.id), remoteEdit);

    // The stored token goes back to before all that, and the pages keep
    // answering with the token they were asked with for a while.
    defaults.setData(storeSync().state().changeTokenKey(), *oldToken);
    cloud.rewindTokens(3);
    cloud.repeatChanges(true);
    scheduler.advance(60);
    MacDayBlock laterEdit = remoteEdit2;
    laterEdit.title = "Changed here after that";
    laterEdit.modifiedAt = scheduler.now();
    store->upsert(laterEdit);
    scheduler.runUntilIdle();
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

TEST_F(HostileServer, ARepeatedDeletionOfAnUnsentBlockLeavesIt) {
    makeStore();
    const MacDayBlock kept = block("Xcode", 1);
    store->upsert(kept);
    sync();
    // Gone elsewhere, while here it changed and could not go up yet.
    server.modifyRecords({}, {CloudRecordID{kept.id.string(), dayBlocksZoneID()}}, CloudSavePolicy::allKeys, false,
                         [](auto) {});
    MacDayBlock edited = kept;
    edited.title = "Xcode (edited)";
    edited.modifiedAt = scheduler.now() + 1;
    cloud.failNextRequests(100);
    store->upsert(edited);
    scheduler.runUntilIdle();
    cloud.failNextRequests(0);
    cloud.repeatChanges(true);
    sync();
    EXPECT_EQ(localBlock(kept.id), edited);
    EXPECT_EQ(serverBlock(kept.id), edited) << "the next push recreated it";
    expectSoundStore();
}

}  // namespace
}  // namespace plenda
