#include "fakes/StoreFixture.h"
#include "model/MacDayBlockJson.h"
#include "tracking/CategoryRules.h"
#include "views/ActivitySummaries.h"

namespace plenda {
namespace {

using C = MacBlockCategory;

class DayQueries : public StoreFixture {
protected:
    void SetUp() override {
        scheduler.advanceTo(at(2023, 3, 8, 10));
        makeStore();
    }
    MacDayBlock add(const char* title, C category, Date start, Date end) {
        MacDayBlock block = makeBlock(title, category, start, end);
        store->upsert(block);
        return block;
    }
    // What the debounced save wrote, once it has run.
    std::vector<MacDayBlock> savedAfterDebounce() {
        scheduler.advance(0.8);
        return *decodeBlocks(files.files.at(blocksPath));
    }
};

TEST_F(DayQueries, BlocksBelongToTheDayTheyStartOnLatestFirst) {
    const auto morning = add("Mail", C::work, at(2023, 3, 7, 9), at(2023, 3, 7, 10));
    const auto afternoon = add("Xcode", C::work, at(2023, 3, 7, 14), at(2023, 3, 7, 15));
    const auto night = add("Film", C::entertainment, at(2023, 3, 7, 23, 30), at(2023, 3, 8, 0, 30));
    add("Other day", C::work, at(2023, 3, 6, 23, 59), at(2023, 3, 7, 0, 10));
    // Without a start a block counts from its creation.
    MacDayBlock noStart = makeBlock("Notes", C::mind, at(2023, 3, 7, 9), at(2023, 3, 7, 10));
    noStart.startDate.reset();
    noStart.createdAt = at(2023, 3, 6, 23);
    store->upsert(noStart);

    EXPECT_EQ(store->blocksOnDay(at(2023, 3, 7, 12)), (std::vector{night, afternoon, morning}));
    EXPECT_EQ(store->blocksOnDay(at(2023, 3, 6, 12)).size(), 2u);
    EXPECT_TRUE(store->blocksOnDay(at(2023, 3, 8, 0, 15)).empty());
}

TEST_F(DayQueries, TotalsAddWeightsOfTheDay) {
    EXPECT_EQ(store->todayMinutes(), 0);
    EXPECT_EQ(store->selectedDayMinutes(), 0);
    EXPECT_FALSE(store->earliestBlockDate());
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 8, 45));
    add("Xcode", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    add("Yesterday", C::work, at(2023, 3, 7, 9), at(2023, 3, 7, 9, 20));
    EXPECT_DOUBLE_EQ(store->todayMinutes(), 75);
    store->shiftSelectedDate(-1);
    EXPECT_DOUBLE_EQ(store->selectedDayMinutes(), 20);
    EXPECT_DOUBLE_EQ(store->todayMinutes(), 75);
    EXPECT_EQ(store->earliestBlockDate(), at(2023, 3, 7, 9));
}

struct ShiftCase {
    const char* name;
    int selectedDay, selectedHour;  // in March 2023, Berlin
    int nowDay;                     // at 10:00
    int days;
    int expectedDay, expectedHour;  // expectedDay 0: now
};

class ShiftSelectedDate : public StoreFixture, public ::testing::WithParamInterface<ShiftCase> {};

TEST_P(ShiftSelectedDate, MovesByCalendarDaysButNeverPastNow) {
    const ShiftCase& c = GetParam();
    scheduler.advanceTo(at(2023, 3, c.selectedDay, c.selectedHour));
    makeStore();  // selects the moment of creation
    scheduler.advanceTo(at(2023, 3, c.nowDay, 10));
    store->shiftSelectedDate(c.days);
    const Date expected = c.expectedDay == 0 ? scheduler.now() : at(2023, 3, c.expectedDay, c.expectedHour);
    EXPECT_EQ(store->selectedDate(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShiftSelectedDate,
    ::testing::Values(ShiftCase{"forwardFromYesterdayAfternoonStopsAtNow", 7, 15, 8, 1, 0, 0},
                      ShiftCase{"backFromYesterday", 7, 15, 8, -1, 6, 15},
                      ShiftCase{"forwardFromToday", 8, 9, 8, 1, 0, 0},
                      ShiftCase{"forwardFromYesterdayMorning", 7, 9, 8, 1, 8, 9},
                      ShiftCase{"backAWeek", 8, 9, 8, -7, 1, 9},
                      // Berlin moves to summer time on the 26th: that day has 23 hours.
                      ShiftCase{"overTheClockChangeKeepsTheTimeOfDay", 25, 15, 31, 1, 26, 15}),
    [](const auto& info) { return std::string(info.param.name); });

class DayEdits : public DayQueries {};

TEST_F(DayEdits, RecategorisingTouchesOnlyTheSelectedDayAndTeachesAnOverride) {
    const auto today = add("YouTube", C::entertainment, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const auto otherCategory = add("YouTube", C::mind, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    const auto yesterday = add("YouTube", C::entertainment, at(2023, 3, 7, 8), at(2023, 3, 7, 9));
    storeSync().state().writeDirtyIDs({});
    scheduler.advance(60);

    store->changeCategory("YouTube", C::entertainment, C::work);
    EXPECT_EQ(store->blocks()[0].category, C::work);
    EXPECT_EQ(store->blocks()[0].modifiedAt, scheduler.now());
    EXPECT_EQ(store->blocks()[1], otherCategory);
    EXPECT_EQ(store->blocks()[2], yesterday);
    EXPECT_EQ(categoryOverride(defaults, "youtube"), C::work);
    EXPECT_EQ(dirtyIDs(), IdSet{today.id});
    EXPECT_EQ(savedAfterDebounce(), store->blocks());
}

TEST_F(DayEdits, EditsMatchingNoBlockChangeNoBlock) {
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    scheduler.advance(1);
    const int writes = defaults.writes();
    store->changeCategory("Mail", C::work, C::work);
    changeCategory(*store, MacActivitySummary{"__other", "Mail", C::work, 0, 0, {}, {}, true}, C::mind);
    EXPECT_EQ(defaults.writes(), writes) << "same category, or the aggregate of small activities";

    store->changeCategory("Figma", C::work, C::mind);
    EXPECT_EQ(categoryOverride(defaults, "Figma"), C::mind) << "learnt even without a block to change";
    store->deleteSummary("Other", C::chores);
    store->deleteSummary("Mail", C::mind);
    EXPECT_EQ(store->blocks().size(), 1u);
    EXPECT_EQ(store->blocks()[0].category, C::work);
    EXPECT_TRUE(pendingDeleteIDs().empty());
    EXPECT_FALSE(store->hasPendingSave());
}

TEST_F(DayEdits, DeletingMovesIdsFromDirtyToPendingDelete) {
    const auto a = add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const auto b = add("Mail", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    const auto otherDay = add("Mail", C::work, at(2023, 3, 7, 8), at(2023, 3, 7, 9));
    const auto otherCategory = add("Mail", C::mind, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    scheduler.advance(1);

    store->deleteSummary("Mail", C::work);
    EXPECT_EQ(store->blocks(), (std::vector{otherDay, otherCategory}));
    EXPECT_EQ(pendingDeleteIDs(), (IdSet{a.id, b.id}));
    EXPECT_EQ(dirtyIDs(), (IdSet{otherDay.id, otherCategory.id}));
    EXPECT_EQ(savedAfterDebounce(), store->blocks());
}

TEST_F(DayEdits, ObserversHearEveryChange) {
    int changes = 0;
    const Subscription subscription = store->observe([&] { ++changes; });
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    store->shiftSelectedDate(-1);
    store->shiftSelectedDate(1);
    store->changeCategory("Mail", C::work, C::chores);
    store->deleteSummary("Mail", C::chores);
    EXPECT_EQ(changes, 5);
}

}  // namespace
}  // namespace plenda
