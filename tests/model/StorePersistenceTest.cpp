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

TEST_F(StorePersistence, CreationWithoutAFileStartsEmptyQuietAndPendingAndSavesCollapse) {
    MacActivityStore& s = makeStore();
    EXPECT_TRUE(s.blocks().empty());
    EXPECT_EQ(s.syncMessage(), "mac.sync.pending");
    EXPECT_FALSE(s.isSyncing());
    EXPECT_TRUE(files.folders.contains("/home/user/.local/share/Plenda"));
    EXPECT_EQ(s.blocksFilePath(), blocksPath);
    EXPECT_EQ(scheduler.pendingTasks(), 0u) << "creation starts no timer";
    EXPECT_TRUE(output.str().empty());
    EXPECT_TRUE(files.files.empty());

    // Saves collapse into one write after the last call, unless saved now or destroyed.
    for (int i = 0; i < 3; ++i) {
        store->scheduleSave();
        scheduler.advance(0.3);
    }
    EXPECT_EQ(files.writeCount, 0);
    scheduler.advance(0.44);
    EXPECT_EQ(files.writeCount, 0) << "0.74 s after the third call";
    scheduler.advance(0.02);
    EXPECT_EQ(files.writeCount, 1);

    store->scheduleSave();
    EXPECT_TRUE(store->hasPendingSave());
    EXPECT_TRUE(store->saveNow());
    EXPECT_FALSE(store->hasPendingSave());
    store->scheduleSave();
    store.reset();
    scheduler.advance(10);
    EXPECT_EQ(files.writeCount, 2);
}

TEST_F(StorePersistence, LoadingPrefersTheFileMovesFallbackBlocksOnceWrittenAndKeepsABrokenFileBeside) {
    const auto blocks = twoBlocks();
    files.files[blocksPath] = fileOf({blocks[1], blocks[0]});
    defaults.setData(MacActivityStore::storageKey, Data{fileOf({blocks[0]})});
    makeStore();
    EXPECT_EQ(store->blocks(), (std::vector{blocks[1], blocks[0]})) << "in the file's order";
    EXPECT_TRUE(defaults.contains(MacActivityStore::storageKey));
    EXPECT_EQ(files.writeCount, 0);

    files.files.clear();
    defaults.setData(MacActivityStore::storageKey, Data{"[{\"id\":1}]"});
    makeStore();
    EXPECT_TRUE(store->blocks().empty());
    EXPECT_TRUE(defaults.contains(MacActivityStore::storageKey));

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

    // A file that cannot be decoded is copied beside before any save.
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

    // Without an application support folder there is no file, but the store works.
    files.supportDirectory.reset();
    makeStore();
    store->upsert(twoBlocks()[0]);
    EXPECT_FALSE(store->saveNow());
    EXPECT_EQ(store->blocks().size(), 1u);
}

// Another program rewrites the block file between two saves of the app.
struct OutsideWrite {
    const char* name;
    bool deleteHere;      // the app deletes Mail after its first save
    // What the other program writes: x, m = the app's Xcode and Mail, n = a new
    // block, X / T / O = Xcode edited later / as late / earlier than here; "" writes nothing,
    // "!" bytes that do not decode.
    const char* outside;
    const char* kept;     // the blocks then in the store and the file
    const char* dirty;    // those the merge marks for upload
    const char* copy;     // the kind of copy kept beside the file, if any
    const char* says;     // part of the line printed; "" for none
};

class OutsideWrites : public StorePersistence, public ::testing::WithParamInterface<OutsideWrite> {
protected:
    MacDayBlock x = makeBlock("Xcode", MacBlockCategory::work, at(2023, 1, 1, 9), at(2023, 1, 1, 10));
    MacDayBlock m = makeBlock("Mail", MacBlockCategory::work, at(2023, 1, 1, 11), at(2023, 1, 1, 12));
    MacDayBlock n = makeBlock("Notes", MacBlockCategory::work, at(2023, 1, 1, 13), at(2023, 1, 1, 14));
    MacDayBlock edited(double seconds) {
        MacDayBlock block = x;
        block.title = "Xcode beta";
        block.modifiedAt = *x.modifiedAt + seconds;
        return block;
    }
    std::vector<MacDayBlock> blocksOf(std::string_view names) {
        std::vector<MacDayBlock> blocks;
        for (char name : names) {
            blocks.push_back(name == 'x' ? x : name == 'm' ? m : name == 'n' ? n : edited(name == 'X' ? 60 : name == 'O' ? -60 : 0));
        }
        return blocks;
    }
};

TEST_P(OutsideWrites, AreMergedOrKeptBesideAndNeverDropped) {
    const OutsideWrite& c = GetParam();
    files.files[blocksPath] = fileOf({x, m});
    makeStore();
    ASSERT_TRUE(store->saveNow());
    if (c.deleteHere) store->deleteSummary("Mail", MacBlockCategory::work);
    const std::string outside = std::string_view(c.outside) == "!" ? "[{\"id\":" : fileOf(blocksOf(c.outside));
    if (*c.outside) files.writeFromOutside(blocksPath, outside);
    const int reads = files.readCount;
    store->scheduleSave();
    scheduler.advance(1);

    EXPECT_EQ(store->blocks(), blocksOf(c.kept));
    EXPECT_EQ(savedBlocks(), store->blocks());
    IdSet dirty;
    for (const MacDayBlock& block : blocksOf(c.dirty)) dirty.insert(block.id);
    EXPECT_EQ(dirtyIDs(), dirty);
    EXPECT_EQ(files.readCount, reads + (*c.outside ? 1 : 0)) << "the file is read again only when it changed";
    const std::string copy = std::string(blocksPath) + c.copy + "-20230101T000000Z";
    EXPECT_EQ(files.files.size(), *c.copy ? 2u : 1u);
    if (*c.copy) {
        EXPECT_EQ(files.files[copy], outside);
    }
    // No line at all unless something was merged or kept.
    const std::string_view says = *c.says ? c.says : "Plenda:";
    EXPECT_EQ(output.str().find(says) != std::string::npos, *c.says != 0) << output.str();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, OutsideWrites,
    ::testing::Values(
        OutsideWrite{"AddedThere", false, "xmn", "xmn", "n", "", "changed by another program; merged 1 block from it"},
        OutsideWrite{"EditedThereLater", false, "Xm", "Xm", "X", "", "merged 1 block from it"},
        OutsideWrite{"EditedThereEarlier", false, "Om", "xm", "", "", "merged 0 blocks from it"},
        OutsideWrite{"EditedThereAsLate", false, "Tm", "xm", "", "", "merged 0 blocks from it"},
        OutsideWrite{"DeletedHere", true, "xmn", "xn", "n", "", "merged 1 block from it"},
        OutsideWrite{"DeletedHereAndThere", true, "x", "x", "", "", "merged 0 blocks from it"},
        OutsideWrite{"RemovedThere", false, "x", "xm", "", ".outside", "it lacked 1 block kept here, so it was kept as"},
        OutsideWrite{"Undecodable", false, "!", "xm", "", ".unreadable", "kept it as"},
        OutsideWrite{"NoWrite", false, "", "xm", "", "", ""}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(CloudSyncSwitch, OnlyTheTextOneSwitchesSyncOff) {
    EXPECT_TRUE(cloudSyncDisabledBy("1"));
    for (const char* value : {static_cast<const char*>(nullptr), "true", "yes", "0", "", " 1", "1 ", "11"}) {
        EXPECT_FALSE(cloudSyncDisabledBy(value)) << (value ? value : "unset");
    }
}

// Loading splits blocks that span midnight, once per user.
class MidnightSplit : public StorePersistence {
protected:
    std::vector<MacDayBlock> splitOf(std::vector<MacDayBlock> blocks) {
        files.files[blocksPath] = fileOf(blocks);
        return makeStore().blocks();
    }
};

TEST_F(MidnightSplit, CutsAtMidnightKeepingTheIdForTheFirstPieceAndSortsByStart) {
    const MacDayBlock late = makeBlock("Late", MacBlockCategory::work, at(2023, 3, 9, 9), at(2023, 3, 9, 10));
    MacDayBlock block = makeBlock("Xcode", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2), 240);
    block.blockType = "imported";
    // One that ends right at midnight is rewritten but not cut.
    const MacDayBlock endsAtMidnight = makeBlock("Mail", MacBlockCategory::work, at(2023, 3, 8, 20), at(2023, 3, 9));
    const auto result = splitOf({late, block, endsAtMidnight});
    MacDayBlock rewritten = endsAtMidnight;
    rewritten.modifiedAt = scheduler.now();
    MacDayBlock first = block;
    first.endDate = at(2023, 3, 9);
    first.weight = 120;
    first.modifiedAt = scheduler.now();
    MacDayBlock second = first;
    second.id = result.at(2).id;
    second.createdAt = at(2023, 3, 9);
    second.startDate = at(2023, 3, 9);
    second.endDate = block.endDate;
    second.blockType = "tracked";
    EXPECT_NE(second.id, block.id);
    EXPECT_EQ(result, (std::vector{rewritten, first, second, late}));
    EXPECT_EQ(dirtyIDs(), (IdSet{rewritten.id, first.id, second.id}));
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
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_DOUBLE_EQ((*pieces[i].endDate - *pieces[i].startDate) / 3600, c.hours[i]) << i;
        EXPECT_NEAR(pieces[i].weight, 100 * c.hours[i] / totalHours, 1e-9) << i;
        if (i > 0) {
            EXPECT_EQ(pieces[i].startDate, pieces[i - 1].endDate);
        }
    }
    EXPECT_EQ(pieces.back().endDate, end);  // with the lengths above, the weights add up to the whole
}

INSTANTIATE_TEST_SUITE_P(
    Zones, SplitAcrossDays,
    ::testing::Values(
        DaySpanCase{"Europe/Berlin", {2023, 3, 1, 23}, {2023, 3, 3, 1}, {1, 24, 1}},
        DaySpanCase{"Europe/Berlin", {2023, 3, 25, 12}, {2023, 3, 27, 12}, {12, 23, 12}},
        DaySpanCase{"Europe/Berlin", {2023, 10, 28, 12}, {2023, 10, 30, 12}, {12, 25, 12}},
        DaySpanCase{"America/New_York", {2023, 3, 11, 22}, {2023, 3, 13, 1}, {2, 23, 1}},
        DaySpanCase{"America/New_York", {2023, 11, 4, 18}, {2023, 11, 6, 6}, {6, 25, 6}}));

TEST_F(MidnightSplit, BlocksWithoutASpanPassUntouchedAndItRunsOnlyOnce) {
    MacDayBlock noStart = makeBlock("A", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2));
    noStart.startDate.reset();
    MacDayBlock backwards = makeBlock("B", MacBlockCategory::work, at(2023, 3, 9, 2), at(2023, 3, 8, 22));
    MacDayBlock noEnd = makeBlock("C", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2));
    noEnd.endDate.reset();
    const std::vector<MacDayBlock> blocks{noStart, backwards, noEnd};
    EXPECT_EQ(splitOf(blocks), blocks);
    EXPECT_EQ(files.writeCount, 0);
    EXPECT_TRUE(dirtyIDs().empty());

    const MacDayBlock pulled = makeBlock("Pulled", MacBlockCategory::work, at(2023, 3, 8, 22), at(2023, 3, 9, 2));
    EXPECT_EQ(splitOf({pulled}), std::vector{pulled}) << "the next launch splits nothing";
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
