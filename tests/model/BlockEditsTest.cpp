#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"
#include "tracking/CategoryRules.h"

namespace plenda {
namespace {

using C = MacBlockCategory;

class BlockEdits : public StoreFixture {
protected:
    void SetUp() override {
        scheduler.advanceTo(at(2024, 3, 5, 18));
        makeStore();
    }
    MacDayBlock tracked(Date start, double minutes, double weight, std::string title = "Xcode") {
        const MacDayBlock block = makeBlock(std::move(title), C::work, start, start + minutes * 60, weight);
        store->upsert(block);
        scheduler.runUntilIdle();
        return block;
    }
    // Blocks as they stand, without the times of their changes.
    std::map<Uuid, MacDayBlock> standing() const {
        std::map<Uuid, MacDayBlock> all;
        for (MacDayBlock block : store->blocks()) {
            block.modifiedAt.reset();
            all.emplace(block.id, block);
        }
        return all;
    }
};

// What the tracker cannot see is added by hand; nothing crosses midnight or
// ends before it starts.
TEST_F(BlockEdits, AddedBlocksAreManualAndWeighTheirSpan) {
    const auto run = store->addManualBlock("Run", C::body, at(2024, 3, 5, 7), at(2024, 3, 5, 7, 45), "park");
    ASSERT_TRUE(run);
    EXPECT_EQ(run->blockType, "manual");
    EXPECT_EQ(run->weight, 45);
    EXPECT_EQ(run->note, "park");
    EXPECT_EQ(run->modifiedAt, scheduler.now());
    EXPECT_TRUE(dirtyIDs().contains(run->id)) << "marked for upload like every change";
    scheduler.advance(1);
    EXPECT_NE(files.files.at(blocksPath).find("\"manual\""), std::string::npos) << "and saved";

    const std::vector<std::tuple<const char*, Date, Date>> refused{
        {"  ", at(2024, 3, 5, 7), at(2024, 3, 5, 8)},
        {"Sleep", at(2024, 3, 5, 23), at(2024, 3, 6, 7)},
        {"Sleep", at(2024, 3, 5, 23), at(2024, 3, 6, 0)},
        {"Lunch", at(2024, 3, 5, 13), at(2024, 3, 5, 13)},
        {"Lunch", at(2024, 3, 5, 13), at(2024, 3, 5, 12)}};
    for (const auto& [title, start, end] : refused) EXPECT_FALSE(store->addManualBlock(title, C::meals, start, end)) << title;
    EXPECT_EQ(store->blockCount(), 1u);
}

TEST_F(BlockEdits, EditsKeepTheirDayAndWeighAsTheyShould) {
    const MacDayBlock manual = *store->addManualBlock("Lunch", C::meals, at(2024, 3, 5, 12), at(2024, 3, 5, 13));
    const MacDayBlock block = tracked(at(2024, 3, 5, 9), 60, 40);  // 40 minutes of use in an hour
    struct Case {
        const char* name;
        Uuid id;
        MacActivityStore::BlockEdit edit;
        bool done;
        double weight;  // after
    };
    const std::vector<Case> cases{
        {"a manual block weighs its new span", manual.id, {.end = at(2024, 3, 5, 13, 30)}, true, 90},
        {"a tracked block scales", block.id, {.start = at(2024, 3, 5, 8, 30)}, true, 60},
        {"title and category alone", block.id, {.title = "Xcode · plenda", .category = C::mind}, true, 60},
        {"not past midnight", block.id, {.end = at(2024, 3, 6, 0, 10)}, false, 60},
        {"not before its start", block.id, {.end = at(2024, 3, 5, 8)}, false, 60},
        {"not without a title", block.id, {.title = ""}, false, 60},
        {"no such block", Uuid::random(), {.title = "x"}, false, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(store->editBlock(c.id, c.edit), c.done) << c.name;
        if (const auto now = store->block(c.id)) {
            EXPECT_DOUBLE_EQ(now->weight, c.weight) << c.name;
        }
    }
    const MacDayBlock edited = *store->block(block.id);
    EXPECT_EQ(edited.title, "Xcode · plenda");
    EXPECT_EQ(edited.category, C::mind);
    EXPECT_EQ(edited.modifiedAt, scheduler.now());

    scheduler.advance(60);
    ASSERT_TRUE(store->splitBlock(block.id, at(2024, 3, 5, 9)));  // 08:30-10:00, weighing 60
    const auto blocks = store->blocksOnDay(at(2024, 3, 5));
    const auto first = std::ranges::find(blocks, block.id, &MacDayBlock::id);
    const auto second = std::ranges::find_if(blocks, [&](const MacDayBlock& b) { return b.startDate == at(2024, 3, 5, 9); });
    ASSERT_TRUE(first != blocks.end() && second != blocks.end());
    EXPECT_EQ(first->endDate, at(2024, 3, 5, 9));
    EXPECT_DOUBLE_EQ(first->weight, 20) << "the weight shared as the spans, 30 and 60 minutes";
    EXPECT_DOUBLE_EQ(second->weight, 40);
    EXPECT_EQ(second->blockType, "tracked");
    EXPECT_EQ(second->createdAt, at(2024, 3, 5, 9));
    EXPECT_TRUE(dirtyIDs().contains(first->id) && dirtyIDs().contains(second->id));
    for (const Date outside : {at(2024, 3, 5, 8, 30), at(2024, 3, 5, 9, 30), at(2024, 3, 5, 11)}) {
        EXPECT_FALSE(store->splitBlock(block.id, outside)) << "a split falls inside the block";
    }
}

// Every kind of edit is taken back and done again, each time as a new edit:
// saved, marked for upload (or deletion), newer than what it replaces.
TEST_F(BlockEdits, UndoAndRedoEveryKindOfEdit) {
    const MacDayBlock mail = tracked(at(2024, 3, 5, 10), 30, 30, "Mail");
    tracked(at(2024, 3, 5, 9), 60, 60);
    const std::vector<std::pair<const char*, std::function<void()>>> edits{
        {"recategorise", [&] { store->changeCategory("Xcode", C::work, C::mind); }},
        {"delete", [&] { store->deleteSummary("Xcode", C::mind); }},  // as the redo left it
        {"add", [&] { store->addManualBlock("Run", C::body, at(2024, 3, 5, 7), at(2024, 3, 5, 8)); }},
        {"edit", [&] { store->editBlock(mail.id, {.title = "Mail · inbox", .end = at(2024, 3, 5, 10, 45)}); }},
        {"split", [&] { store->splitBlock(mail.id, at(2024, 3, 5, 10, 10)); }},
    };
    for (const auto& [name, edit] : edits) {
        SCOPED_TRACE(name);
        const auto before = standing();
        scheduler.advance(10);
        edit();
        const auto after = standing();
        ASSERT_NE(after, before);
        ASSERT_TRUE(store->canUndo());
        scheduler.advance(10);
        store->undo();
        EXPECT_EQ(standing(), before);
        for (const MacDayBlock& block : store->blocks()) {
            if (!before.contains(block.id)) continue;
            if (after.contains(block.id) && after.at(block.id) == before.at(block.id)) continue;
            EXPECT_EQ(block.modifiedAt, scheduler.now()) << "newer than every version it replaces";
            EXPECT_TRUE(dirtyIDs().contains(block.id));
        }
        for (const auto& [id, block] : after) {
            if (!before.contains(id)) {
                EXPECT_TRUE(pendingDeleteIDs().contains(id)) << "an undone addition goes";
            }
        }
        ASSERT_TRUE(store->canRedo());
        scheduler.advance(10);
        store->redo();
        EXPECT_EQ(standing(), after);
        scheduler.advance(1);
        EXPECT_EQ(decodeBlocks(files.files.at(blocksPath))->size(), store->blockCount()) << "saved";
    }
    store->undo();
    store->changeCategory("Mail · inbox", C::work, C::social);
    EXPECT_FALSE(store->canRedo()) << "a new edit ends what could be done again";
    EXPECT_EQ(categoryOverride(defaults, "Mail · inbox"), C::social);
    store->undo();
    EXPECT_EQ(categoryOverride(defaults, "Mail · inbox"), C::work) << "later sessions are taught back";
}

// What changed after an edit is kept when the edit is undone: a session
// merged into an added block stays, and so does the block.
TEST_F(BlockEdits, UndoKeepsWhatChangedSince) {
    const auto added = store->addManualBlock("Xcode", C::work, at(2024, 3, 5, 9), at(2024, 3, 5, 10));
    ASSERT_TRUE(added);
    store->recordSession("Xcode", C::work, at(2024, 3, 5, 10, 1), at(2024, 3, 5, 10, 30), std::nullopt);
    ASSERT_EQ(store->block(added->id)->endDate, at(2024, 3, 5, 10, 30)) << "the session went into the added block";
    store->undo();
    ASSERT_TRUE(store->block(added->id)) << "the block stays";
    EXPECT_EQ(store->block(added->id)->endDate, at(2024, 3, 5, 10, 30)) << "and the session in it";
}

}  // namespace
}  // namespace plenda
