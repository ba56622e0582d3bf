// Blocks no real session makes, as they may arrive in a damaged file or from
// the cloud: the store must load them whole and quickly, and never turn a
// finite number into an infinite one.
#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"

#include <cmath>

namespace plenda {
namespace {

class HostileValues : public StoreFixture {};

TEST_F(HostileValues, TheMidnightSplitBoundsItsWorkPerBlockAndKeepsEveryBlock) {
    struct Case {
        const char* what;
        Date start, end;
        double weight;
        std::size_t pieces;
    };
    const Date evening = at(2023, 3, 8, 22);
    const Case cases[] = {
        {"the whole range of doubles", Date{-1e308}, Date{1e308}, 60, 1},
        {"ninety-five years", evening, evening + 95 * 365.25 * 86400, 60, 1},
        {"a weight near the largest double", evening, evening + 4 * 3600, 1.7e308, 2},
        {"a long weekend still splits", evening, evening + 3 * 86400, 4320, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        MacDayBlock block = makeBlock("Odd", MacBlockCategory::work, c.start, c.end, c.weight);
        files.files[blocksPath] = *encodeBlocks({block});
        defaults.remove(MacActivityStore::didSplitKey);
        const auto& blocks = makeStore().blocks();
        ASSERT_EQ(blocks.size(), c.pieces);
        double weights = 0;
        for (const MacDayBlock& piece : blocks) {
            EXPECT_TRUE(std::isfinite(piece.weight)) << piece.weight;
            weights += piece.weight / c.pieces;
        }
        EXPECT_NEAR(weights * c.pieces / c.weight, 1.0, 1e-9);
        EXPECT_EQ(blocks.front().startDate, c.start);
        EXPECT_EQ(blocks.back().endDate, c.end);
        EXPECT_TRUE(decodeBlocks(files.files.at(blocksPath))) << "the saved file still decodes";
    }
}

TEST_F(HostileValues, AFileThatCannotBeReadIsLeftAloneAndJoinedOnceItCanBe) {
    const MacDayBlock earlier = makeBlock("Earlier", MacBlockCategory::work, at(2023, 1, 1, 9), at(2023, 1, 1, 10));
    const std::string bytes = *encodeBlocks({earlier});
    files.files[blocksPath] = bytes;
    files.unreadable.insert(blocksPath);  // an I/O error, or no memory to read it
    scheduler.advanceTo(at(2023, 1, 1, 12));
    makeStore();
    EXPECT_TRUE(store->blocks().empty());
    EXPECT_NE(output.str().find("the block file could not be read (Permission denied)"), std::string::npos);

    store->recordSession("Later", MacBlockCategory::work, at(2023, 1, 1, 11), at(2023, 1, 1, 11, 30), "note");
    scheduler.advance(1);
    EXPECT_EQ(files.files, (std::map<std::string, std::string>{{blocksPath, bytes}})) << "nothing moved or written";

    files.unreadable.clear();
    store->recordSession("Latest", MacBlockCategory::work, at(2023, 1, 1, 11, 40), at(2023, 1, 1, 11, 50), "note");
    scheduler.advance(1);
    const auto saved = decodeBlocks(files.files.at(blocksPath));
    ASSERT_TRUE(saved);
    ASSERT_EQ(saved->size(), 3u);
    EXPECT_EQ(saved->front(), earlier);
    EXPECT_EQ(store->blocks(), *saved);

    // The same for another program's write that cannot be read yet, whose block then goes up.
    const MacDayBlock outside = makeBlock("Outside", MacBlockCategory::work, at(2023, 1, 1, 8), at(2023, 1, 1, 9));
    const std::string rewritten = *encodeBlocks({outside, earlier, saved->at(1), saved->at(2)});
    files.writeFromOutside(blocksPath, rewritten);
    files.unreadable.insert(blocksPath);
    EXPECT_FALSE(store->saveNow());
    EXPECT_EQ(files.files.at(blocksPath), rewritten);
    files.unreadable.clear();
    EXPECT_TRUE(store->saveNow());
    EXPECT_EQ(store->blocks().front(), outside);
    EXPECT_EQ(*decodeBlocks(files.files.at(blocksPath)), store->blocks());
    EXPECT_TRUE(dirtyIDs().contains(outside.id));
    EXPECT_NE(output.str().find("merged 1 block from it\n"), std::string::npos) << output.str();
}

}  // namespace
}  // namespace plenda
