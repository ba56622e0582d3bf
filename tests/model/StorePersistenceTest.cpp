#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"

namespace plenda {
namespace {

class StorePersistence : public StoreFixture {
protected:
    std::vector<MacDayBlock> twoBlocks() {
        return {makeBlock("Xcode", MacBlockCategory::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10)),
                makeBlock("Mail", MacBlockCategory::work, at(2023, 3, 8, 11), at(2023, 3, 8, 12))};
    }
    std::string fileOf(const std::vector<MacDayBlock>& blocks) { return *encodeBlocks(blocks); }
    std::vector<MacDayBlock> savedBlocks() { return *decodeBlocks(files.files.at(blocksPath)); }
};

TEST_F(StorePersistence, CreationWithoutAFileStartsEmptyQuietAndPending) {
    MacActivityStore& s = makeStore();
    EXPECT_TRUE(s.blocks().empty());
    EXPECT_EQ(s.syncMessage(), "mac.sync.pending");
    EXPECT_EQ(s.selectedDate(), scheduler.now());
    EXPECT_FALSE(s.isSyncing());
    EXPECT_TRUE(files.folders.contains("/home/user/.local/share/Plenda"));
    EXPECT_EQ(s.blocksFilePath(), blocksPath);
    EXPECT_EQ(scheduler.pendingTasks(), 0u) << "creation starts no timer";
    EXPECT_TRUE(output.str().empty());
    EXPECT_TRUE(files.files.empty());
}

TEST_F(StorePersistence, LoadsTheFileInItsOrderAndLeavesTheFallbackAlone) {
    const auto blocks = twoBlocks();
    files.files[blocksPath] = fileOf({blocks[1], blocks[0]});
    defaults.setData(MacActivityStore::storageKey, Data{fileOf({blocks[0]})});
    makeStore();
    EXPECT_EQ(store->blocks(), (std::vector{blocks[1], blocks[0]}));
    EXPECT_TRUE(defaults.contains(MacActivityStore::storageKey));
    EXPECT_EQ(files.writeCount, 0);
}

TEST_F(StorePersistence, MovesBlocksFromTheFallbackKeyIntoTheFileOnceAWriteSucceeds) {
    const auto blocks = twoBlocks();
    defaults.setData(MacActivityStore::storageKey, Data{fileOf(blocks)});
    files.writeFailure = "No space left on device";
    makeStore();
    EXPECT_EQ(store->blocks(), blocks);
    EXPECT_TRUE(defaults.contains(MacActivityStore::storageKey));

    files.writeFailure.reset();
    makeStore();
    EXPECT_EQ(store->blocks(), blocks);
    EXPECT_EQ(savedBlocks(), blocks);
    EXPECT_FALSE(defaults.contains(MacActivityStore::storageKey));
}

TEST_F(StorePersistence, UndecodableFallbackLeavesAnEmptyStoreAndTheKey) {
    defaults.setData(MacActivityStore::storageKey, Data{"[{\"id\":1}]"});
    makeStore();
    EXPECT_TRUE(store->blocks().empty());
    EXPECT_TRUE(defaults.contains(MacActivityStore::storageKey));
}

TEST_F(StorePersistence, UndecodableFileIsKeptBesideBeforeAnySave) {
    const std::string broken = "[{\"id\":\"E621E1F8-C36C-495A-93FC-0C247A3E6E5F\",\"title\":\"Xcode\"";
    files.files[blocksPath] = broken;
    makeStore();
    EXPECT_TRUE(store->blocks().empty());
    EXPECT_EQ(files.files.at(blocksPath), broken) << "the file stays untouched until the next save";
    const std::string copy = std::string(blocksPath) + ".unreadable-20230101T000000Z";
    ASSERT_TRUE(files.files.contains(copy));
    EXPECT_EQ(files.files.at(copy), broken);
    EXPECT_NE(output.str().find(copy), std::string::npos) << output.str();

    store->recordSession("Mail", MacBlockCategory::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10), std::nullopt);
    store->saveNow();
    EXPECT_EQ(savedBlocks().size(), 1u);
    EXPECT_EQ(files.files.at(copy), broken);
}

TEST_F(StorePersistence, UnreadableFileIsMovedAside) {
    files.files[blocksPath] = fileOf(twoBlocks());
    files.unreadable.insert(blocksPath);
    makeStore();
    EXPECT_TRUE(store->blocks().empty());
    EXPECT_FALSE(files.files.contains(blocksPath));
    EXPECT_TRUE(files.files.contains(std::string(blocksPath) + ".unreadable-20230101T000000Z"));
    EXPECT_NE(output.str().find("Permission denied"), std::string::npos);
}

TEST_F(StorePersistence, ScheduledSavesCollapseIntoOneWriteAfterTheLast) {
    makeStore();
    for (int i = 0; i < 3; ++i) {
        store->scheduleSave();
        scheduler.advance(0.3);
    }
    EXPECT_EQ(files.writeCount, 0);
    scheduler.advance(0.44);
    EXPECT_EQ(files.writeCount, 0) << "0.74 s after the third call";
    scheduler.advance(0.02);
    EXPECT_EQ(files.writeCount, 1);
    scheduler.advance(10);
    EXPECT_EQ(files.writeCount, 1);
}

TEST_F(StorePersistence, SaveNowCancelsThePendingSave) {
    makeStore();
    store->scheduleSave();
    EXPECT_TRUE(store->hasPendingSave());
    EXPECT_TRUE(store->saveNow());
    EXPECT_FALSE(store->hasPendingSave());
    scheduler.advance(5);
    EXPECT_EQ(files.writeCount, 1);
}

TEST_F(StorePersistence, FailedWriteKeepsThePreviousFileAndTheNextSaveRetries) {
    cloudSyncDisabled = true;  // nothing else writes to the output
    makeStore();
    store->upsert(twoBlocks()[0]);
    ASSERT_TRUE(store->saveNow());
    const std::string before = files.files.at(blocksPath);

    files.writeFailure = "No space left on device";
    store->upsert(twoBlocks()[1]);
    scheduler.advance(1);  // the debounced save fails too
    EXPECT_FALSE(store->saveNow());
    EXPECT_FALSE(store->hasPendingSave());
    EXPECT_EQ(files.files.at(blocksPath), before);
    EXPECT_EQ(store->blocks().size(), 2u) << "the store keeps recording";
    EXPECT_EQ(output.str(), "") << "failed saves are silent";

    files.writeFailure.reset();
    EXPECT_TRUE(store->saveNow());
    EXPECT_EQ(savedBlocks(), store->blocks());
}

TEST_F(StorePersistence, NoApplicationSupportFolderMeansNoFileButAWorkingStore) {
    files.supportDirectory.reset();
    makeStore();
    store->upsert(twoBlocks()[0]);
    EXPECT_FALSE(store->saveNow());
    EXPECT_EQ(store->blocks().size(), 1u);
}

TEST_F(StorePersistence, DestroyedStoreDropsItsPendingSave) {
    makeStore();
    store->scheduleSave();
    store.reset();
    scheduler.advance(5);
    EXPECT_EQ(files.writeCount, 0);
}

TEST(CloudSyncSwitch, OnlyTheTextOneSwitchesSyncOff) {
    EXPECT_TRUE(cloudSyncDisabledBy("1"));
    for (const char* value : {static_cast<const char*>(nullptr), "true", "yes", "0", "", " 1", "1 ", "11"}) {
        EXPECT_FALSE(cloudSyncDisabledBy(value)) << (value ? value : "unset");
    }
}

}  // namespace
}  // namespace plenda
