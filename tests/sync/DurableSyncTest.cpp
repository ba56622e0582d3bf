#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"
#include "platform/standin/CloudFaultInjector.h"
#include "platform/standin/SqliteCloudDatabase.h"

#include <gtest/gtest.h>

namespace plenda {
namespace {

// Pulls of several pages against the stand-in, one record a page.
class DurableSync : public StoreFixture {
protected:
    SqliteCloudDatabase server{SqliteCloudDatabase::Options{.pageSize = 1, .clock = &scheduler}};
    CloudFaultInjector cloud{server};
    const Date day = at(2023, 3, 1, 9);

    void SetUp() override {
        cloudDatabase = &cloud;
        scheduler.advanceTo(day + 8 * 3600);
        makeStore();
        sync();  // makes the zone
    }
    void sync() {
        store->syncNow();
        scheduler.runUntilIdle();
    }
    MacDayBlock remoteSave(const std::string& title, double hour) {
        const MacDayBlock b = makeBlock(title, MacBlockCategory::work, day + hour * 3600, day + hour * 3600 + 600);
        saveOnServer(b);
        return b;
    }
    void saveOnServer(const MacDayBlock& b) {
        server.modifyRecords({makeRecord(CloudRecordEnvelope{b.id, *encodeBlock(b), b.lastModified()})}, {},
                             CloudSavePolicy::allKeys, false, [](auto) {});
    }
    std::size_t blocksInFile() const {
        const auto found = files.files.find(blocksPath);
        return found == files.files.end() ? 0 : decodeBlocks(found->second)->size();
    }
};

TEST_F(DurableSync, PulledBlocksThatNeverReachedTheFileArePulledAgain) {
    for (int hour = 0; hour < 3; ++hour) remoteSave("Remote " + std::to_string(hour), hour);
    files.writeFailure = "No space left on device";
    sync();
    EXPECT_EQ(store->blocks().size(), 3u) << "merged in memory";
    EXPECT_EQ(blocksInFile(), 0u);

    // Quit (or crash) now, and start again with room on the disk.
    files.writeFailure.reset();
    makeStore();
    sync();
    EXPECT_EQ(store->blocks().size(), 3u);
    EXPECT_EQ(blocksInFile(), 3u);
}

TEST_F(DurableSync, ABlockSavedAgainAfterItsDeletionOnAnEarlierPageStays) {
    const MacDayBlock kept = remoteSave("Kept", 1);
    remoteSave("Other", 2);
    sync();
    ASSERT_EQ(store->blocks().size(), 2u);

    // Another device deletes it; this pull sees the deletion on its first
    // page, and before the next page is asked for the block is saved again.
    server.modifyRecords({}, {CloudRecordID{kept.id.string(), dayBlocksZoneID()}}, CloudSavePolicy::allKeys, false,
                         [](auto) {});
    remoteSave("Filler", 3);
    cloud.clearRequests();
    cloud.hangNextRequests(1, 1);  // the fetch after the first page
    store->syncNow();
    scheduler.runUntilIdle();
    ASSERT_EQ(cloud.hungRequests(), 1u);
    MacDayBlock resaved = kept;
    resaved.title = "Kept, edited";
    resaved.modifiedAt = scheduler.now();
    saveOnServer(resaved);
    cloud.releaseHungRequests();
    scheduler.runUntilIdle();

    const auto local = std::find_if(store->blocks().begin(), store->blocks().end(),
                                    [&](const MacDayBlock& b) { return b.id == kept.id; });
    ASSERT_NE(local, store->blocks().end()) << "the server holds it, so must this device";
    EXPECT_EQ(local->title, "Kept, edited");
}

TEST_F(DurableSync, ALocalVersionNewerThanTheServersGoesUpAgain) {
    MacDayBlock mine = makeBlock("Mine", MacBlockCategory::work, day, day + 600);
    mine.modifiedAt = day + 3600;
    store->upsert(mine);
    scheduler.runUntilIdle();
    // Another device pushes an older version over it without pulling first.
    MacDayBlock older = mine;
    older.title = "Older";
    older.modifiedAt = day + 60;
    saveOnServer(older);

    sync();
    const auto records = server.records(dayBlocksZoneID());
    ASSERT_TRUE(records.contains(mine.id.string()));
    EXPECT_EQ(decodeBlock(std::get<Data>(records.at(mine.id.string()).fields.at("payload")).bytes)->title, "Mine");
    EXPECT_EQ(store->blocks().front().title, "Mine");
}

}  // namespace
}  // namespace plenda
