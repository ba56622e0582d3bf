#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"

#include <limits>

namespace plenda {
namespace {

// Blocks with every kind of value the text must carry exactly.
std::vector<MacDayBlock> oddBlocks(std::size_t count) {
    const char* titles[] = {"Xcode", "Übersicht · café", "quote \" back \\ slash", "tab\tnew\nline\x01",
                            "bad \xff utf-8", "[]{}", "", "😀 emoji"};
    const double numbers[] = {0.0, -0.0, 1e-320, 1.7e308, 123456789.123456789, -5e-7, 3.0, 0.1};
    std::vector<MacDayBlock> blocks;
    for (std::size_t i = 0; i < count; ++i) {
        MacDayBlock block = makeBlock(titles[i % 8], MacBlockCategory::work, Date(numbers[i % 7]), Date(700000000.0 + i));
        block.weight = numbers[(i + 3) % 8];
        if (i % 3 == 0) block.note.reset();
        if (i % 5 == 0) block.startDate.reset();
        if (i % 4 == 0) block.modifiedAt.reset();
        blocks.push_back(std::move(block));
    }
    return blocks;
}

// The store's way with its file: read it in pieces, then write each snapshot
// over the file as last read or written.
class FileText {
public:
    MemoryFiles files;
    const std::string path = "/data/blocks.json";
    FileBlockList list;
    std::optional<FileStamp> stamp;

    void read(const std::string& text) {
        files.writeFromOutside(path, text);
        stamp = files.stamp(path);
        std::size_t at = 0;
        list.readInPieces([&](char* into, std::size_t room) {
            const std::size_t n = text.copy(into, room, at);
            at += n;
            return n;
        }, text.size());
    }
    BlockFileText::Written write(const BlockFileText::Snapshot& snapshot) {
        auto written = snapshot.write(files, path, stamp);
        if (!written.failure && !written.outsideWrite) {
            EXPECT_EQ(written.stamp, files.stamp(path)) << "the new file's stamp, known before it replaced the old";
            stamp = written.stamp;
            list.written(written.ranges);
        }
        if (written.failure) list.forgetFile();  // as the store does
        return written;
    }
    const std::string& text() { return files.files[path]; }
};

TEST(BlockFileText, WritesExactlyWhatEncodingTheWholeListGivesThroughEveryKindOfChange) {
    // Past a megabyte, so copies and writes go in several parts; as a file
    // gives them back (-0 reads as 0).
    const auto blocks = *decodeBlocks(*encodeBlocks(oddBlocks(6000)));
    FileText file;
    const auto same = [&](const char* step) {
        const auto written = file.write(file.list.snapshot());
        EXPECT_FALSE(written.failure || written.outsideWrite) << step;
        EXPECT_TRUE(file.text() == encodeBlocks(file.list.all())) << step;
    };
    same("empty");
    file.read(*encodeBlocks(blocks));
    EXPECT_TRUE(file.list.all() == blocks);
    same("read from the file");

    const auto before = file.list.snapshot();
    const std::string beforeBytes = file.text();
    file.list.update(700, [](MacDayBlock& block) { block.title = "Changed"; });
    file.list.append(oddBlocks(9).back());
    file.list.eraseId(blocks[5000].id);
    file.list.eraseIf([](const BlockList::Stored& block) { return block.title() == "Xcode"; });
    same("changed, added, erased across runs");
    same("and written again from the new file");
    file.files.writeFromOutside(file.path, beforeBytes);
    file.stamp = file.files.stamp(file.path);
    file.write(before);
    EXPECT_TRUE(file.text() == beforeBytes) << "a snapshot never changes";

    file.list.replace({});
    same("replaced by nothing");
    file.list.append(oddBlocks(1)[0]);
    file.list.update(0, [](MacDayBlock& block) { block.weight = std::numeric_limits<double>::infinity(); });
    const std::string kept = file.text();
    EXPECT_TRUE(file.write(file.list.snapshot()).failure) << "a block JSON cannot hold makes the whole text fail";
    EXPECT_EQ(file.text(), kept);
    file.list.update(0, [](MacDayBlock& block) { block.weight = 1; });
    same("and it is written again once it can be");
}

TEST(BlockFileText, UnchangedRunsAreCopiedFromTheFileAsTheyStandThere) {
    const auto blocks = oddBlocks(1200);
    std::string spaced = "[";
    for (const MacDayBlock& block : blocks) spaced += (spaced.size() > 1 ? " ,\n " : "") + *encodeBlock(block);
    FileText file;
    file.read(spaced + "]");
    file.list.update(1100, [](MacDayBlock& block) { block.weight = 7; });
    file.write(file.list.snapshot());
    EXPECT_EQ(decodeBlocks(file.text())->at(1100).weight, 7);
    EXPECT_NE(file.text().find(" ,\n "), std::string::npos) << "the unchanged runs keep the file's own spacing";
    EXPECT_EQ(file.text().find(" ,\n ", file.text().size() - 3 * 1024), std::string::npos)
        << "the changed run is encoded afresh";

    // A title that looks like the end of one block and the start of the
    // next cuts the text once too often: no run is taken as it stands.
    auto tricky = oddBlocks(3);
    tricky[1].title = "x}, {\"id\":1}, {";
    file.read("[" + *encodeBlock(tricky[0]) + " ,  " + *encodeBlock(tricky[1]) + "," + *encodeBlock(tricky[2]) + "]");
    file.write(file.list.snapshot());
    EXPECT_EQ(file.text(), encodeBlocks(file.list.all()));

    // The same file, but it cannot be opened: the write fails (no endless
    // retries as if another program had written), and the next encodes anew.
    file.read(*encodeBlocks(blocks));
    file.files.unreadable.insert(file.path);
    file.list.update(3, [](MacDayBlock& block) { block.weight = 9; });
    const auto refused = file.write(file.list.snapshot());
    EXPECT_TRUE(refused.failure && !refused.outsideWrite);
    EXPECT_FALSE(file.write(file.list.snapshot()).failure);
    EXPECT_EQ(decodeBlocks(file.text())->at(3).weight, 9);
    file.files.unreadable.clear();

    // Written over in place since it was read: nothing is copied from it.
    file.read(*encodeBlocks(blocks));
    const auto snapshot = file.list.snapshot();
    file.files.writeFromOutside(file.path, "[]");
    EXPECT_TRUE(file.write(snapshot).outsideWrite);
    EXPECT_EQ(file.text(), "[]");
}

// The writer's tasks wait until the test lets them run, so a write can be
// under way while the main thread goes on.
class HeldWriter final : public Scheduler {
public:
    explicit HeldWriter(VirtualScheduler& inner) : inner_(inner) {}
    void post(Task task) override { inner_.post(std::move(task)); }
    TaskHandle after(double seconds, Task task) override { return inner_.after(seconds, std::move(task)); }
    TaskHandle repeating(double i, double t, Task task) override { return inner_.repeating(i, t, std::move(task)); }
    void runOnWorker(Task task) override { inner_.runOnWorker(std::move(task)); }
    void runOnWriter(Task task) override { held.push_back(std::move(task)); }
    void release() {
        auto task = std::move(held.front());
        held.erase(held.begin());
        task();
        inner_.runUntilIdle();
    }
    std::vector<Task> held;

private:
    VirtualScheduler& inner_;
};

class BackgroundSave : public StoreFixture {
protected:
    HeldWriter writer{scheduler};
    void SetUp() override {
        cloudSyncDisabled = true;
        store = std::make_unique<MacActivityStore>(MacActivityStore::Dependencies{
            scheduler, writer, calendar, defaults, files, strings, true, &Uuid::random, output});
    }
    void record(const std::string& title) {
        const Date start = scheduler.now();
        store->recordSession(title, MacBlockCategory::work, start, start + 60, std::nullopt);
        scheduler.advance(1);
    }
    std::vector<std::string> savedTitles() {
        std::vector<std::string> titles;
        const auto saved = decodeBlocks(files.files.at(blocksPath));
        for (const MacDayBlock& block : *saved) titles.push_back(block.title);
        return titles;
    }
    using Titles = std::vector<std::string>;
};

TEST_F(BackgroundSave, OneWriteAtATimeFromItsSnapshotAndTheNewestLast) {
    record("A");
    ASSERT_EQ(writer.held.size(), 1u);
    EXPECT_EQ(files.writeCount, 0) << "the debounce only hands the write over";
    record("B");
    record("C");
    EXPECT_EQ(writer.held.size(), 1u) << "no second write while one is under way";
    EXPECT_TRUE(store->hasPendingSave());
    writer.release();
    EXPECT_EQ(savedTitles(), Titles{"A"}) << "what the snapshot held, not what came after";
    ASSERT_EQ(writer.held.size(), 1u) << "the changes since follow at once";
    writer.release();
    EXPECT_EQ(savedTitles(), (Titles{"A", "B", "C"}));
    EXPECT_FALSE(store->hasPendingSave());
    EXPECT_EQ(files.writeCount, 2);
    EXPECT_TRUE(output.str().empty()) << "its own writes are not taken for another program's";
}

TEST_F(BackgroundSave, SaveNowWritesAtOnceAndAWriteNotYetStartedIsDropped) {
    record("A");
    record("B");
    EXPECT_TRUE(store->saveNow());
    EXPECT_EQ(savedTitles(), (Titles{"A", "B"}));
    EXPECT_FALSE(store->hasPendingSave());
    writer.release();
    EXPECT_EQ(files.writeCount, 1) << "the dropped write does nothing when its turn comes";
    EXPECT_TRUE(writer.held.empty());
}

// What a pull's change token waits for: the write that holds its blocks,
// made on the writer like any other.
TEST_F(BackgroundSave, SaveThenTellsWhenTheWriteHoldingTheChangesHasLanded) {
    std::vector<bool> told;
    const auto tell = [&](bool written) { told.push_back(written); };
    store->saveThen(tell);
    EXPECT_TRUE(told.empty()) << "the write is the writer's";
    writer.release();
    EXPECT_EQ(told, std::vector<bool>{true});
    record("A");  // its debounced write is under way
    record("B");
    store->saveThen(tell);
    writer.release();
    EXPECT_EQ(told.size(), 1u) << "the write under way may have begun before B";
    EXPECT_EQ(savedTitles(), Titles{"A"});
    writer.release();
    EXPECT_EQ(told, (std::vector<bool>{true, true}));
    EXPECT_EQ(savedTitles(), (Titles{"A", "B"}));

    files.writeFailure = "No space left on device";
    store->saveThen(tell);
    record("C");
    EXPECT_TRUE(store->saveNow() == false && told.back() == false && told.size() == 3u)
        << "a write taken over by saveNow tells its result";
    files.writeFailure.reset();
    files.unreadable.insert(blocksPath);
    files.writeFromOutside(blocksPath, "[]");
    store->saveThen(tell);
    EXPECT_EQ(told, (std::vector<bool>{true, true, false, false})) << "a file that cannot be read is never written";
}

TEST_F(BackgroundSave, AnotherProgramsWriteJustBeforeTheWriteIsMergedNotOverwritten) {
    record("A");
    writer.release();
    record("B");
    const MacDayBlock outside = makeBlock("Outside", MacBlockCategory::work, startOfTests - 3600, startOfTests);
    auto there = *decodeBlocks(files.files.at(blocksPath));
    there.push_back(outside);
    files.writeFromOutside(blocksPath, *encodeBlocks(there));
    writer.release();
    EXPECT_EQ(savedTitles(), (Titles{"A", "Outside"})) << "left as the other program wrote it";
    ASSERT_EQ(writer.held.size(), 1u);
    writer.release();
    EXPECT_EQ(savedTitles(), (Titles{"Outside", "A", "B"}));
    EXPECT_NE(output.str().find("merged 1 block"), std::string::npos) << output.str();
}

}  // namespace
}  // namespace plenda
