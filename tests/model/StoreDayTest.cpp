#include "fakes/StoreFixture.h"
#include "model/BlockList.h"
#include "model/MacDayBlockJson.h"
#include "tracking/CategoryRules.h"
#include "views/ActivitySummaries.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <ranges>

namespace plenda {
namespace {

using C = MacBlockCategory;

// What a scan of every block finds: positions whose start lies in [from, to)
// or whose end lies in [from, to].
std::vector<std::size_t> scan(const std::vector<MacDayBlock>& blocks, bool ends, double from, double to) {
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const double t = ends ? blocks[i].effectiveEnd().seconds : blocks[i].effectiveStart().seconds;
        if (t >= from && (ends ? t <= to : t < to)) found.push_back(i);
    }
    return found;
}

// Random changes of every kind on few times and ids (so ties, duplicate ids,
// NaN dates and empty ranges are common), mirrored on a plain vector; after
// each the list's order and every index query must match a scan of it.
TEST(BlockList, IndexesMatchAScanAfterRandomChanges) {
    std::mt19937 random(11);
    const auto time = [&] { const int t = int(random() % 13); return t == 12 ? std::nan("") : t * 5.0; };
    const auto id = [&] { return Uuid(std::array<std::uint8_t, 16>{std::uint8_t(random() % 16)}); };
    const auto change = [&](MacDayBlock& b) {
        b.createdAt = Date(time());
        b.startDate = random() % 4 ? std::optional(Date(time())) : std::nullopt;
        b.endDate = random() % 4 ? std::optional(Date(time())) : std::nullopt;
        if (random() % 3 == 0) b.id = id();
        // Thousands of texts, most soon unused: the list drops those it no longer needs.
        b.title = std::to_string(random() % 5000);
        b.note = random() % 2 ? std::optional(b.title + " note") : std::nullopt;
    };
    const std::vector<std::pair<double, double>> ranges = {
        {0, 60}, {10, 10}, {10, 15}, {25, 5}, {-INFINITY, INFINITY}, {std::nan(""), 60}, {30, 55}};
    BlockList list;
    std::vector<MacDayBlock> model;
    for (int step = 0; step < 4000; ++step) {
        MacDayBlock fresh = makeBlock("B", C::work, Date(0), Date(0));
        change(fresh);
        fresh.id = id();
        const std::size_t at = model.empty() ? 0 : random() % model.size();
        switch (random() % 9) {
            case 0: {
                const Uuid gone = id();
                EXPECT_EQ(list.eraseId(gone), std::erase_if(model, [&](const auto& b) { return b.id == gone; }));
                break;
            }
            case 1: {
                const double start = time();
                const auto startsThen = [&](const auto& b) { return b.effectiveStart().seconds == start; };
                EXPECT_EQ(list.eraseIf(startsThen), std::erase_if(model, startsThen));
                break;
            }
            case 2:
                if (random() % 20 == 0) list.replace(model = {fresh, fresh, makeBlock("C", C::mind, Date(5), Date(9))});
                if (random() % 4 == 0) {
                    const std::vector<MacDayBlock> many{fresh, makeBlock("D", C::body, Date(time()), Date(time()))};
                    list.appendAll(many);
                    model.insert(model.end(), many.begin(), many.end());
                }
                break;
            case 3: case 4:
                if (!model.empty()) {
                    list.update(at, change);
                    model[at] = list[at];
                }
                break;
            default:
                list.append(fresh);
                model.push_back(fresh);
        }
        ASSERT_TRUE(std::ranges::equal(list.all(), model, [](const MacDayBlock& a, const MacDayBlock& b) {
            return a.id == b.id && a.title == b.title && a.note == b.note && a.blockType == b.blockType;
        })) << step;
        for (auto [from, to] : ranges) {
            auto starts = scan(model, false, from, to);
            ASSERT_EQ(list.startingWithin(Date(from), Date(to)), starts) << step << " " << from;
            std::ranges::stable_sort(starts, {}, [&](std::size_t i) { return model[i].effectiveStart().seconds; });
            ASSERT_EQ(list.startingWithin(Date(from), Date(to), BlockList::Order::start), starts) << step << " by start";
            ASSERT_EQ(list.endingWithin(Date(from), Date(to)), scan(model, true, from, to)) << step << " " << from;
        }
        if (const auto all = scan(model, false, -INFINITY, INFINITY); !all.empty()) {
            const auto start = [&](std::size_t i) { return model[i].effectiveStart(); };
            ASSERT_EQ(list.earliestStart(), std::ranges::min(all | std::views::transform(start))) << step;
        }
    }
}

class DayQueries : public StoreFixture {
protected:
    void SetUp() override {
        scheduler.advanceTo(at(2023, 3, 8, 12));
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

TEST_F(DayQueries, BlocksAndTotalsBelongToTheDayTheyStartOn) {
    int changes = 0;
    const Subscription subscription = store->observe([&] { ++changes; });
    EXPECT_EQ(store->todayMinutes(), 0);
    EXPECT_EQ(store->selectedDayMinutes(), 0);
    EXPECT_FALSE(store->earliestBlockDate());
    const auto morning = add("Mail", C::work, at(2023, 3, 7, 9), at(2023, 3, 7, 10));
    const auto afternoon = add("Xcode", C::work, at(2023, 3, 7, 14), at(2023, 3, 7, 15));
    const auto night = add("Film", C::entertainment, at(2023, 3, 7, 23, 30), at(2023, 3, 8, 0, 30));
    add("Other day", C::work, at(2023, 3, 6, 23, 59), at(2023, 3, 7, 0, 10));
    add("Today", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 8, 45));
    // Without a start a block counts from its creation.
    MacDayBlock noStart = makeBlock("Notes", C::mind, at(2023, 3, 7, 9), at(2023, 3, 7, 10));
    noStart.startDate.reset();
    noStart.createdAt = at(2023, 3, 6, 23);
    store->upsert(noStart);

    EXPECT_EQ(store->blocksOnDay(at(2023, 3, 7, 12)), (std::vector{night, afternoon, morning}));
    EXPECT_EQ(store->blocksOnDay(at(2023, 3, 6, 12)).size(), 2u);
    EXPECT_EQ(store->blocksOnDay(at(2023, 3, 8, 0, 15)).size(), 1u);
    EXPECT_DOUBLE_EQ(store->todayMinutes(), 45);
    store->shiftSelectedDate(-1);
    EXPECT_DOUBLE_EQ(store->selectedDayMinutes(), 180);
    EXPECT_DOUBLE_EQ(store->todayMinutes(), 45);
    EXPECT_EQ(store->earliestBlockDate(), at(2023, 3, 6, 23));

    MacDayBlock renamed = morning;
    renamed.title = "Mail again";
    store->upsert(renamed);
    EXPECT_EQ(store->blocks().size(), 6u) << "the same id replaces";
    EXPECT_EQ(store->blocks().back(), renamed) << "and goes to the end";
    EXPECT_EQ(changes, 8) << "observers hear every upsert and the day shift";
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

TEST_F(DayQueries, RecategorisingTouchesOnlyTheSelectedDayAndTeachesAnOverride) {
    const auto today = add("YouTube", C::entertainment, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const auto otherCategory = add("YouTube", C::mind, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    const auto yesterday = add("YouTube", C::entertainment, at(2023, 3, 7, 8), at(2023, 3, 7, 9));
    storeSync().state().writeDirtyIDs({});
    scheduler.advance(60);  // the setup's save has run: only the edit can save again

    store->changeCategory("YouTube", C::entertainment, C::work);
    EXPECT_EQ(store->blocks()[0].category, C::work);
    EXPECT_EQ(store->blocks()[0].modifiedAt, scheduler.now());
    EXPECT_EQ(store->blocks()[1], otherCategory);
    EXPECT_EQ(store->blocks()[2], yesterday);
    EXPECT_EQ(categoryOverride(defaults, "youtube"), C::work);
    EXPECT_EQ(dirtyIDs(), IdSet{today.id});
    EXPECT_EQ(savedAfterDebounce(), store->blocks());
}

TEST_F(DayQueries, EditsMatchingNoBlockChangeNothingDeletingMovesIdsFromDirtyToPendingDelete) {
    const auto a = add("Mail", C::work, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    const auto b = add("Mail", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 9, 30));
    const auto otherDay = add("Mail", C::work, at(2023, 3, 7, 8), at(2023, 3, 7, 9));
    const auto otherCategory = add("Mail", C::social, at(2023, 3, 8, 8), at(2023, 3, 8, 9));
    scheduler.advance(1);  // the setup's save has run: only the edit can save again
    const auto before = store->blocks();
    const int writes = defaults.writes();
    store->changeCategory("Mail", C::work, C::work);
    changeCategory(*store, MacActivitySummary{"__other", "Mail", C::work, 0, 0, {}, {}, true}, C::mind);
    EXPECT_EQ(defaults.writes(), writes) << "same category, or the aggregate of small activities";
    store->changeCategory("Figma", C::work, C::mind);
    EXPECT_EQ(categoryOverride(defaults, "Figma"), C::mind) << "learnt even without a block to change";
    store->deleteSummary("Other", C::chores);
    store->deleteSummary("Mail", C::mind);
    EXPECT_EQ(store->blocks(), before);
    EXPECT_TRUE(pendingDeleteIDs().empty());
    EXPECT_FALSE(store->hasPendingSave());

    store->deleteSummary("Mail", C::work);
    EXPECT_EQ(store->blocks(), (std::vector{otherDay, otherCategory}));
    EXPECT_EQ(pendingDeleteIDs(), (IdSet{a.id, b.id}));
    EXPECT_EQ(dirtyIDs(), (IdSet{otherDay.id, otherCategory.id}));
    EXPECT_EQ(savedAfterDebounce(), store->blocks());
}

// Sessions after an Xcode/work block of 9:00-10:00.
struct MergeCase {
    const char* name;
    const char* title;
    C category;
    int startMinute, startSecond;  // after 10:00
    int endMinute;                 // after 10:00
    double storedGap;              // 0: not stored
    bool merges;
};

class MergeRule : public DayQueries, public ::testing::WithParamInterface<MergeCase> {};

TEST_P(MergeRule, ExtendsTheLatestBlockOfTheActivityWithinTheGap) {
    const MergeCase& c = GetParam();
    if (c.storedGap != 0) defaults.setDouble("sessionMergeGapSeconds", c.storedGap);
    const MacDayBlock block = add("Xcode", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10));
    storeSync().state().writeDirtyIDs({});
    scheduler.advance(1);  // saves the block
    const Date start = at(2023, 3, 8, 10, c.startMinute, c.startSecond);
    const Date end = at(2023, 3, 8, 10, c.endMinute);
    store->recordSession(c.title, c.category, start, end, "Logged automatically on Mac");

    if (c.merges) {
        MacDayBlock merged = block;
        merged.endDate = end;
        merged.weight = 60 + (end - start) / 60;
        merged.modifiedAt = scheduler.now();
        EXPECT_EQ(store->blocks(), std::vector{merged});
        EXPECT_EQ(dirtyIDs(), IdSet{block.id});
    } else {
        ASSERT_EQ(store->blocks().size(), 2u);
        EXPECT_EQ(store->blocks()[0], block);
        const MacDayBlock added = store->blocks()[1];
        EXPECT_EQ(added, (MacDayBlock{added.id, c.title, c.category, (end - start) / 60, "Logged automatically on Mac",
                                      start, start, end, "tracked", scheduler.now()}));
        EXPECT_EQ(dirtyIDs(), IdSet{added.id});
    }
    scheduler.advance(1);
    EXPECT_EQ(*decodeBlocks(files.files.at(blocksPath)), store->blocks());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MergeRule,
    ::testing::Values(MergeCase{"twoMinutesLater", "Xcode", C::work, 2, 0, 30, 0, true},
                      MergeCase{"gapOf181Seconds", "Xcode", C::work, 3, 1, 30, 0, false},
                      MergeCase{"gapOfExactly180", "Xcode", C::work, 3, 0, 30, 0, true},
                      MergeCase{"otherCategory", "Xcode", C::mind, 2, 0, 30, 0, false},
                      MergeCase{"otherTitle", "Xcode · api", C::work, 2, 0, 30, 0, false},
                      MergeCase{"titleCaseMatters", "xcode", C::work, 2, 0, 30, 0, false},
                      MergeCase{"storedGap60With90", "Xcode", C::work, 1, 30, 30, 60, false},
                      MergeCase{"storedGap300With240", "Xcode", C::work, 4, 0, 30, 300, true},
                      MergeCase{"zeroStoredGapMeans180", "Xcode", C::work, 3, 0, 30, -5, true},
                      MergeCase{"startsRightAtTheEnd", "Xcode", C::work, 0, 0, 30, 0, true},
                      MergeCase{"blockEndsAfterTheStart", "Xcode", C::work, -1, 0, 30, 0, false}),
    [](const auto& info) { return std::string(info.param.name); });

// The sessions that fall outside the merge rule, each under its own title.
TEST_F(DayQueries, EdgesOfTheMergeRuleAndANewBlockWaitingForTheCloud) {
    store->recordSession("Safari", C::mind, at(2023, 3, 8, 10), at(2023, 3, 8, 10, 30), std::nullopt);
    EXPECT_EQ(store->syncMessage(), "mac.sync.pending");
    // Never across midnight.
    add("Film", C::work, at(2023, 3, 8, 23), at(2023, 3, 8, 23, 59));
    store->recordSession("Film", C::work, at(2023, 3, 9, 0, 1), at(2023, 3, 9, 0, 30), std::nullopt);
    EXPECT_EQ(store->blocks().size(), 3u);

    // A backwards session adds no weight and the later of the two ends stays.
    const MacDayBlock xcode = add("Xcode", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10));
    store->recordSession("Xcode", C::work, at(2023, 3, 8, 10, 2), at(2023, 3, 8, 9, 30), std::nullopt);
    ASSERT_EQ(store->blocks().size(), 4u);
    EXPECT_DOUBLE_EQ(store->blocks()[3].weight, 60);
    EXPECT_EQ(store->blocks()[3].endDate, xcode.endDate);
    store->recordSession("Notes", C::mind, at(2023, 3, 8, 11), at(2023, 3, 8, 10), std::nullopt);
    ASSERT_EQ(store->blocks().size(), 5u);
    EXPECT_EQ(store->blocks()[4].weight, 0);
    EXPECT_EQ(store->blocks()[4].endDate, at(2023, 3, 8, 10));

    // On a tie the earlier block in the list is extended.
    add("Mail", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10));
    const MacDayBlock second = add("Mail", C::work, at(2023, 3, 8, 9, 30), at(2023, 3, 8, 10));
    store->recordSession("Mail", C::work, at(2023, 3, 8, 10, 1), at(2023, 3, 8, 10, 11), std::nullopt);
    EXPECT_EQ(store->blocks()[5].endDate, at(2023, 3, 8, 10, 11));
    EXPECT_EQ(store->blocks()[6], second);

    // The latest candidate has no end: the session makes a new block.
    add("Code", C::work, at(2023, 3, 8, 9), at(2023, 3, 8, 10));
    MacDayBlock synced = makeBlock("Code", C::work, at(2023, 3, 8, 10, 1), at(2023, 3, 8, 10, 1));
    synced.endDate.reset();
    store->upsert(synced);
    store->recordSession("Code", C::work, at(2023, 3, 8, 10, 2), at(2023, 3, 8, 10, 30), std::nullopt);
    EXPECT_EQ(store->blocks().size(), 10u);

    scheduler.runUntilIdle();
    EXPECT_EQ(store->syncMessage(), "mac.sync.local") << "the blocks are still waiting for the cloud";
}

}  // namespace
}  // namespace plenda
