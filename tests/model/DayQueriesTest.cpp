#include "fakes/StoreFixture.h"
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
    MacActivitySummary summary(const char* title, C category, bool aggregate = false) {
        return MacActivitySummary{std::string(rawValue(category)) + "|" + title, title, category, 0, 0, {}, {}, aggregate};
    }
};

TEST_F(DayQueries, BlocksBelongToTheDayTheyStartOnLatestFirst) {
    const auto morning = add("Mail", C::work, at(2023, 3, 7, 9), at(2023, 3, 7, 10));
    const auto afternoon = add("Xcode", C::work, at(2023, 3, 7, 14), at(2023, 3, 7, 15));
    const auto night = add("Film", C::entertainment, at(2023, 3, 7, 23, 30), at(2023, 3, 8, 0, 30));
    add("Other day", C::work, at(2023, 3, 6, 23, 59), at(2023, 3, 7, 0, 10));

    const auto day = store->blocksOnDay(at(2023, 3, 7, 12));
    ASSERT_EQ(day.size(), 3u);
    EXPECT_EQ(day[0], night);
    EXPECT_EQ(day[1], afternoon);
    EXPECT_EQ(day[2], morning);
    EXPECT_TRUE(store->blocksOnDay(at(2023, 3, 8, 0, 15)).empty());
}

TEST_F(DayQueries, BlockWithoutStartCountsFromItsCreation) {
    MacDayBlock block = makeBlock("Notes", C::mind, at(2023, 3, 7, 9), at(2023, 3, 7, 10));
    block.startDate.reset();
    block.createdAt = at(2023, 3, 6, 23);
    store->upsert(block);
    EXPECT_EQ(store->blocksOnDay(at(2023, 3, 6, 12)).size(), 1u);
    EXPECT_TRUE(store->blocksOnDay(at(2023, 3, 7, 12)).empty());
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
    int selectedDay, selectedHour;  // March 2023; today is the 8th, 10:00
    int days;
    int expectedDay, expectedHour;  // expectedDay 0: now
};

class ShiftSelectedDate : public StoreFixture, public ::testing::WithParamInterface<ShiftCase> {};

TEST_P(ShiftSelectedDate, MovesByCalendarDaysButNeverPastNow) {
    const ShiftCase& c = GetParam();
    scheduler.advanceTo(at(2023, 3, c.selectedDay, c.selectedHour));
    makeStore();  // selects the moment of creation
    scheduler.advanceTo(at(2023, 3, 8, 10));
    store->shiftSelectedDate(c.days);
    const Date expected = c.expectedDay == 0 ? scheduler.now() : at(2023, 3, c.expectedDay, c.expectedHour);
    EXPECT_EQ(store->selectedDate(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShiftSelectedDate,
    ::testing::Values(ShiftCase{"forwardFromYesterdayAfternoonStopsAtNow", 7, 15, 1, 0, 0},
                      ShiftCase{"backFromYesterday", 7, 15, -1, 6, 15},
                      ShiftCase{"forwardFromToday", 8, 9, 1, 0, 0},
                      ShiftCase{"forwardFromYesterdayMorning", 7, 9, 1, 8, 9},
                      ShiftCase{"backAWeek", 8, 9, -7, 1, 9}),
    [](const auto& info) { return std::string(info.param.name); });

class DaylightShift : public StoreFixture {};

// Berlin moves to summer time on 26 March 2023.
TEST_F(DaylightShift, KeepsTheTimeOfDay) {
    scheduler.advanceTo(at(2023, 3, 25, 15));
    makeStore();
    scheduler.advanceTo(at(2023, 4, 1, 10));
    store->shiftSelectedDate(1);
    EXPECT_EQ(store->selectedDate(), at(2023, 3, 26, 15));
    EXPECT_EQ(store->selectedDate() - at(2023, 3, 25, 15), 23 * 3600.0);
}

class DayEdits : public DayQueries {};

TEST_F(DayEdits, RecategorisingTouchesOnlyTheSelectedDayAndTeachesAnOverride) {
    const auto today = add("YouTube", C::entertainment, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const auto otherCategory = add("YouTube", C::mind, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    const auto yesterday = add("YouTube", C::entertainment, at(2023, 3, 7, 8), at(2023, 3, 7, 9));
    storeSync().state().writeDirtyIDs({});
    scheduler.advance(60);

    changeCategory(*store, summary("YouTube", C::entertainment), C::work);
    EXPECT_EQ(store->blocks()[0].category, C::work);
    EXPECT_EQ(store->blocks()[0].modifiedAt, scheduler.now());
    EXPECT_EQ(store->blocks()[1], otherCategory);
    EXPECT_EQ(store->blocks()[2], yesterday);
    EXPECT_EQ(categoryOverride(defaults, "youtube"), C::work);
    EXPECT_EQ(dirtyIDs(), IdSet{today.id});
}

TEST_F(DayEdits, OverrideIsStoredEvenWhenNoBlockChanges) {
    changeCategory(*store, summary("Figma", C::work), C::mind);
    EXPECT_EQ(categoryOverride(defaults, "Figma"), C::mind);
    EXPECT_FALSE(store->hasPendingSave());
}

TEST_F(DayEdits, SameCategoryOrAggregateChangesNothing) {
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const int writes = defaults.writes();
    changeCategory(*store, summary("Mail", C::work), C::work);
    changeCategory(*store, summary("Mail", C::work, true), C::mind);
    EXPECT_EQ(defaults.writes(), writes);
    EXPECT_EQ(store->blocks()[0].category, C::work);
}

TEST_F(DayEdits, DeletingMovesIdsFromDirtyToPendingDelete) {
    const auto a = add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const auto b = add("Mail", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    const auto otherDay = add("Mail", C::work, at(2023, 3, 7, 8), at(2023, 3, 7, 9));
    const auto otherCategory = add("Mail", C::mind, at(2023, 3, 8, 8), at(2023, 3, 8, 9));

    deleteSummary(*store, summary("Mail", C::work));
    EXPECT_EQ(store->blocks(), (std::vector{otherDay, otherCategory}));
    EXPECT_EQ(pendingDeleteIDs(), (IdSet{a.id, b.id}));
    EXPECT_EQ(dirtyIDs(), (IdSet{otherDay.id, otherCategory.id}));
    scheduler.advance(1);
    EXPECT_EQ(files.writeCount, 1);
}

TEST_F(DayEdits, DeletingANameWithoutBlocksDoesNothing) {
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    deleteSummary(*store, summary("Other", C::chores, true));
    EXPECT_EQ(store->blocks().size(), 1u);
    EXPECT_TRUE(pendingDeleteIDs().empty());
}

TEST_F(DayEdits, WithSyncOffEditsStayLocal) {
    cloudSyncDisabled = true;
    makeStore();
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    changeCategory(*store, summary("Mail", C::work), C::chores);
    deleteSummary(*store, summary("Mail", C::chores));
    EXPECT_TRUE(store->blocks().empty());
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.dirtyIDs"));
    EXPECT_FALSE(defaults.contains("cloudSync.dayBlocks.pendingDeleteIDs"));
}

TEST_F(DayEdits, ObserversHearEveryChange) {
    int changes = 0;
    const Subscription subscription = store->observe([&] { ++changes; });
    add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    store->shiftSelectedDate(-1);
    store->shiftSelectedDate(1);
    changeCategory(*store, summary("Mail", C::work), C::chores);
    deleteSummary(*store, summary("Mail", C::chores));
    EXPECT_EQ(changes, 5);
}

}  // namespace
}  // namespace plenda
