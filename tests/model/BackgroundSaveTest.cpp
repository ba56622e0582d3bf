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

TEST(BlockFileText, JoinsToExactlyWhatEncodingTheWholeListGivesThroughEveryKindOfChange) {
    auto blocks = oddBlocks(1300);
    FileBlockList list;
    const auto same = [&](const char* step) {
        EXPECT_EQ(list.snapshot().join(), encodeBlocks(list.all())) << step;
    };
    same("empty");
    list.replaceFromFile(blocks, *encodeBlocks(blocks));
    EXPECT_EQ(list.all(), blocks);
    same("taken from the file");
    // A file's own spacing stays in its pieces; blanks between them go.
    const auto spaced = [](const std::vector<MacDayBlock>& some) {
        std::vector<std::string> pieces;
        for (const MacDayBlock& block : some) pieces.push_back("{ " + encodeBlock(block)->substr(1));
        return pieces;
    };
    auto two = spaced({blocks[0], blocks[1]});
    list.replaceFromFile({blocks[0], blocks[1]}, " [\n" + two[0] + " ,\n\t" + two[1] + " ]\n");
    EXPECT_EQ(list.snapshot().join(), "[" + two[0] + "," + two[1] + "]");
    // A title that looks like the end of one block and the start of the next
    // cuts the text once too often: then every block is encoded.
    auto tricky = oddBlocks(3);
    tricky[1].title = "x}, {\"id\":1}, {";
    const auto pieces = spaced(tricky);
    list.replaceFromFile(tricky, "[" + pieces[0] + "," + pieces[1] + "," + pieces[2] + "]");
    same("a title with a false cut");
    list.replaceFromFile(blocks, "[" + *encodeBlock(blocks[5]) + "]");
    same("a text that does not fit");

    const auto before = list.snapshot();
    const std::string beforeBytes = *before.join();
    list.update(700, [](MacDayBlock& block) { block.title = "Changed"; });
    list.append(oddBlocks(9).back());
    same("one changed, one added");
    EXPECT_EQ(*before.join(), beforeBytes) << "a snapshot never changes";
    list.eraseIf([](const MacDayBlock& block) { return block.title == "Xcode"; });
    same("erased across chunks");

    auto next = list.all();
    next.erase(next.begin() + 3);
    std::swap(next[10], next[1000]);
    next[600].weight = 42;
    next.insert(next.begin() + 20, oddBlocks(2)[1]);
    list.replace(next);
    same("replaced: moved, changed, inserted");
    list.replace({});
    same("replaced by nothing");

    list.append(oddBlocks(1)[0]);
    list.update(0, [](MacDayBlock& block) { block.weight = std::numeric_limits<double>::infinity(); });
    EXPECT_FALSE(list.snapshot().join()) << "a block JSON cannot hold makes the whole text fail";
    list.update(0, [](MacDayBlock& block) { block.weight = 1; });
    same("and it is written again once it can be");
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
