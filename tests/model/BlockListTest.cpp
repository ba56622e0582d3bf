#include "fakes/StoreFixture.h"
#include "model/BlockList.h"

namespace plenda {
namespace {

MacDayBlock spanning(double from, double to) {
    return makeBlock("B", MacBlockCategory::work, Date(from), Date(to));
}

std::vector<double> startsOf(const BlockList& list, double from, double to) {
    std::vector<double> starts;
    for (std::size_t i : list.startingWithin(Date(from), Date(to))) starts.push_back(list[i].effectiveStart().seconds);
    return starts;
}

TEST(BlockList, IndexFollowsEveryKindOfChange) {
    BlockList list;
    list.replace({spanning(10, 20), spanning(30, 40), spanning(50, 60)});
    list.append(spanning(5, 8));
    EXPECT_EQ(startsOf(list, 0, 100), (std::vector<double>{10, 30, 50, 5}));

    EXPECT_EQ(list.eraseIf([](const MacDayBlock& b) { return b.effectiveStart() == Date(30); }), 1u);
    EXPECT_EQ(startsOf(list, 0, 100), (std::vector<double>{10, 50, 5}));
    EXPECT_EQ(startsOf(list, 10, 50), (std::vector<double>{10})) << "the end of the range is open";

    list.update(1, [](MacDayBlock& b) {
        b.startDate.reset();
        b.createdAt = Date(70);
        b.endDate = Date(90);
    });
    EXPECT_EQ(startsOf(list, 60, 100), (std::vector<double>{70}));
    EXPECT_EQ(list.endingWithin(Date(90), Date(90)), (std::vector<std::size_t>{1})) << "closed at both ends";
    EXPECT_EQ(list.earliestStart(), Date(5));

    list.replace({});
    EXPECT_FALSE(list.earliestStart());
    EXPECT_TRUE(list.startingWithin(Date(-1e9), Date(1e9)).empty());
}

}  // namespace
}  // namespace plenda
